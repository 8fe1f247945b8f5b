#include "host/connectdialog.h"
#include "ui_connectdialog.h"

#include "measure/io/visa/visaio.h"
#include "measure/io/visa/visaresource.h"

#include <QPixmap>
#include <QPushButton>
#include <QSettings>
#include <QSignalBlocker>
#include <QToolButton>

namespace zelt::host {

namespace {

QString const kRecentKey = QStringLiteral("Connect/RecentResources");
QString const kExampleResource = QStringLiteral("TCPIP0::192.168.1.100::5025::SOCKET");

} // namespace

ConnectDialog::ConnectDialog(QList<zelt::widget::ModelInfo> const& families, QWidget* parent,
                             ResourceFinder finder)
    : QDialog(parent)
    , ui(new Ui::ConnectDialog)
    , m_families(families)
    , m_finder(finder ? std::move(finder) : ResourceFinder(&zelt::measure::io::visa::VisaIO::findResources))
{
    ui->setupUi(this);
    for (auto const& family : std::as_const(m_families))
        ui->cbbFamily->addItem(family.familyName);
    QStringList const recent = recentResources();
    ui->cbbResource->addItems(recent);
    m_recentCount = int(recent.size());
    refreshFound();
    // The newest recent resource, or an empty field showing the example.
    ui->cbbResource->setCurrentIndex(recent.isEmpty() ? -1 : 0);
    ui->cbbResource->setEditText(recent.value(0));
    ui->cbbResource->lineEdit()->setPlaceholderText(kExampleResource);
    ui->lblError->clear();

    connect(ui->cbbFamily, &QComboBox::currentIndexChanged, this, &ConnectDialog::fillModels);
    connect(ui->cbbModel, &QComboBox::currentIndexChanged, this, &ConnectDialog::updatePicture);
    connect(ui->checkSimulated, &QCheckBox::toggled, this, &ConnectDialog::updateSimulated);
    connect(ui->cbbResource, &QComboBox::editTextChanged, ui->lblError, &QLabel::clear);
    connect(ui->btnRefresh, &QToolButton::clicked, this, &ConnectDialog::refreshFound);
    fillModels();
    updateSimulated();
    ui->buttonBox->button(QDialogButtonBox::Ok)->setEnabled(!m_families.isEmpty());
}

ConnectDialog::~ConnectDialog()
{
    delete ui;
}

void ConnectDialog::select(QString const& model, bool simulated)
{
    for (int f = 0; f < m_families.size(); ++f) {
        int const row = m_families.at(f).indexOfModel(model);
        if (row >= 0) {
            ui->cbbFamily->setCurrentIndex(f);
            ui->cbbModel->setCurrentIndex(row);
            break;
        }
    }
    ui->checkSimulated->setChecked(simulated);
}

ConnectRequest ConnectDialog::request() const
{
    ConnectRequest request;
    request.family = ui->cbbFamily->currentText();
    request.model = ui->cbbModel->currentData().toString();
    request.simulated = ui->checkSimulated->isChecked();
    request.resource = request.simulated ? QString() : ui->cbbResource->currentText().trimmed();
    request.name = ui->editName->text().trimmed();
    if (request.name.isEmpty())
        request.name = request.model;
    return request;
}

QSharedPointer<zelt::widget::EquipmentInfo> ConnectDialog::equipmentInfo() const
{
    ConnectRequest const r = request();
    if (r.simulated || r.model.isEmpty())
        return {};
    return zelt::widget::EquipmentInfo::makeVisa(r.name, r.family, r.model, r.resource);
}

QStringList ConnectDialog::recentResources()
{
    return QSettings().value(kRecentKey).toStringList();
}

void ConnectDialog::accept()
{
    ConnectRequest const r = request();
    if (r.model.isEmpty())
        return;
    if (!r.simulated) {
        auto const parsed = zelt::measure::io::visa::VisaResource::parse(r.resource);
        if (!parsed.isValid()) {
            QString const why
                = r.resource.isEmpty() ? tr("Enter the instrument's VISA resource string.") : parsed.error;
            ui->lblError->setText(tr("Invalid resource string: %1").arg(why));
            ui->cbbResource->setFocus();
            return;
        }
        remember(r.resource);
    }
    QDialog::accept();
}

void ConnectDialog::fillModels()
{
    ui->cbbModel->clear();
    int const f = ui->cbbFamily->currentIndex();
    if (f < 0 || f >= m_families.size())
        return;
    for (auto const& view : m_families.at(f).viewInfos)
        ui->cbbModel->addItem(view.displayName, view.model);
    ui->cbbModel->setCurrentIndex(0);
    updatePicture();
}

void ConnectDialog::updatePicture()
{
    int const f = ui->cbbFamily->currentIndex();
    int const m = ui->cbbModel->currentIndex();
    ui->lblPicture->clear();
    if (f < 0 || f >= m_families.size() || m < 0 || m >= m_families.at(f).viewInfos.size())
        return;
    QPixmap const picture(m_families.at(f).viewInfos.at(m).imagePath);
    if (picture.isNull()) {
        ui->lblPicture->setText(tr("No picture"));
        return;
    }
    ui->lblPicture->setPixmap(
        picture.scaled(ui->lblPicture->minimumSize(), Qt::KeepAspectRatio, Qt::SmoothTransformation));
}

void ConnectDialog::updateSimulated()
{
    bool const simulated = ui->checkSimulated->isChecked();
    ui->cbbResource->setEnabled(!simulated);
    ui->btnRefresh->setEnabled(!simulated);
    ui->lblResource->setEnabled(!simulated);
    ui->lblError->clear();
}

void ConnectDialog::refreshFound()
{
    QComboBox* combo = ui->cbbResource;
    QString const typed = combo->currentText();
    QSignalBlocker const blocker(combo);
    while (combo->count() > m_recentCount)
        combo->removeItem(combo->count() - 1);

    QStringList const found = m_finder();
    if (!found.isEmpty() && m_recentCount > 0)
        combo->insertSeparator(m_recentCount);
    for (QString const& resource : found) {
        int const known = combo->findText(resource);
        if (known >= 0 && known < m_recentCount)
            continue; // already offered among the recent ones
        combo->addItem(resource);
        combo->setItemData(combo->count() - 1, tr("Found on this computer"), Qt::ToolTipRole);
    }
    combo->setEditText(typed);
}

void ConnectDialog::remember(QString const& resource)
{
    QStringList recent = recentResources();
    recent.removeAll(resource);
    recent.prepend(resource);
    while (recent.size() > kRecentResourceCount)
        recent.removeLast();
    QSettings().setValue(kRecentKey, recent);
}

} // namespace zelt::host
