#include "kvr9000window.h"
#include "ui_kvr9000window.h"

#include "dlgoption.h"
#include "ui_dlgoption.h"

#include "buttonitemdelegate.h"
#include "dmmhelper.h"
#include "measure/io/visa/visaequipinfo.h"
#include "measure/io/visa/visaio.h"
#include "mydmm.h"
#include "quicksettingdatamodel.h"
#include "util/statemonitor.h"
#include "widget/ccheckbox.h"
#include "widget/measure/powersupplylcd.h"
#include "widget/measure/valuewidget.h"
#include "widget/statelabel.h"
#include "widget/statewidgetbox.h"
#include "widget/widgethelper.h"

#include <QCloseEvent>
#include <QComboBox>
#include <QCoreApplication>
#include <QDataStream>
#include <QDateTime>
#include <QDebug>
#include <QDoubleSpinBox>
#include <QFontMetrics>
#include <QHeaderView>
#include <QMenu>
#include <QMessageBox>
#include <QSettings>
#include <QSlider>
#include <QSpinBox>
#include <QTimer>

#include <algorithm>

using zelt::util::numeric::Range;
using zelt::widget::StateLabel;
using zelt::widget::measure::PowerSupplyLCD;
using zelt::widget::measure::ValueWidget;

namespace {

constexpr char const* kTextContext = "KVR9000";
// The state in which the panel's widgets are lit.
constexpr zelt::widget::AbstractStateWidget::State kLit = 2;
constexpr char const* kOutputOnStyle = "background-color:rgb(0,255,0);border: 1px solid #808080;";

// The power-mode words in the order of kPowerModelText and kPowerModelSimplyText.
constexpr char const* kPowerModes[6]
    = {dmmhelper::kPowerModeNormal,    dmmhelper::kPowerModePARAMaster, dmmhelper::kPowerModePARASlave,
       dmmhelper::kPowerModeSERMaster, dmmhelper::kPowerModeSERSlave,   dmmhelper::kPowerModeExtV};

int powerModeIndex(QString const& mode)
{
    auto const* it = std::find_if(std::begin(kPowerModes), std::end(kPowerModes),
                                  [&mode](char const* word) { return mode == QLatin1String(word); });
    return it == std::end(kPowerModes) ? -1 : int(it - std::begin(kPowerModes));
}

QString translatedPowerModeText(QString const& mode)
{
    return QCoreApplication::translate(kTextContext, dmmhelper::getPowerModeText(mode).toUtf8().constData());
}

void selectByData(QComboBox* box, QString const& word)
{
    box->setCurrentIndex(box->findData(word, Qt::UserRole, Qt::MatchCaseSensitive));
}

} // namespace

KVR9000Window::KVR9000Window(QSharedPointer<zelt::widget::EquipmentInfo> const& equipment, QWidget* parent,
                             Qt::WindowFlags flags)
    : EquipmentWindow(equipment, parent, flags)
    , ui(new Ui_KVR9000Window)
{
    ui->setupUi(this);

    m_initialised = false;
    if (!initObject()) {
        QMessageBox::critical(this, QString(), tr("Run failed!"), QMessageBox::Ok);
        return;
    }
    loadSetting();
    initWidget();
    m_initialised = true;

    m_dmm->open();
    // The host hears of the window only once the constructor has returned.
    QTimer::singleShot(0, this, [this] { emit opened(this->equipment()); });
    if (m_sampleInterval > 0)
        m_sampleTimerId = startTimer(m_sampleInterval, Qt::CoarseTimer);
}

KVR9000Window::~KVR9000Window()
{
    delete ui;
    delete m_monitor;
}

bool KVR9000Window::parseRange(QString const& model, Range& voltage, Range& current, Range& power)
{
    double const minimum = getMinVoltage(model);
    dmmhelper::regExp.setPattern(QStringLiteral("^(?i)\\w*(\\d{3})-(\\d*)$"));
    QRegularExpressionMatch const match = dmmhelper::regExp.match(model);
    if (!match.hasMatch())
        return false;

    voltage = Range(minimum, match.captured(1).toDouble());
    current = Range(0, match.captured(2).toDouble());
    power = Range(0, voltage.maximum * current.maximum * 0.25);
    // The rated power of the family is at least 400 W, and the smaller units come in
    // 400, 800 and 1200 W; the comparison is strict on purpose.
    if (power.maximum < 400)
        power.maximum = 400;
    else if (power.maximum < 800)
        power.maximum = 800;
    else if (power.maximum < 1200)
        power.maximum = 1200;
    return true;
}

double KVR9000Window::getMinVoltage(QString const& model)
{
    dmmhelper::regExp.setPattern(QStringLiteral("^(?i)\\w*(\\d{3})-(\\d*)$"));
    QRegularExpressionMatch const match = dmmhelper::regExp.match(model);
    if (!match.hasMatch())
        return 0.1;
    QString const rated = match.captured(1);
    return rated == QLatin1String("160") || rated == QLatin1String("250") ? 0.5 : 0.1;
}

bool KVR9000Window::initObject()
{
    auto const info = equipment() ? equipment()->ioInfo.dynamicCast<zelt::measure::io::visa::VisaEquipInfo>()
                                  : QSharedPointer<zelt::measure::io::visa::VisaEquipInfo>();
    if (!info)
        return false;
    bool const parsed
        = parseRange(info->modelName, m_limits.voltageRange, m_limits.currentRange, m_limits.powerRange);
    if (parsed) {
        generateDMM();
        connect(m_dmm, &MyDMM::updateListout, this, &KVR9000Window::onDmmUpdateListout);
        m_monitor = new zelt::util::gadget::StateMonitor(std::function<void()>());
    }
    return parsed;
}

void KVR9000Window::generateDMM()
{
    QSharedPointer<zelt::measure::io::AbstractIO> const io = equipment()->ioInfo->io;
    if (auto visa = io.dynamicCast<zelt::measure::io::visa::VisaIO>())
        visa->setTimeout(2000);
    m_dmm = new MyDMM(m_limits, io, true, this);
    m_dmm->setInterval(0);

    connect(m_dmm, &MyDMM::updateData, this, &KVR9000Window::onDmmUpdateData);
    connect(m_dmm, &zelt::measure::MeasureInst::started, this, &KVR9000Window::onDmmOpened);
    connect(m_dmm, &zelt::measure::MeasureInst::stoped, this, &KVR9000Window::onDmmClosed);
    connect(m_dmm, &zelt::measure::MeasureInst::processError, this, &KVR9000Window::onDmmProcessError);
}

void KVR9000Window::initWidget()
{
    QHeaderView* header = ui->tv1->horizontalHeader();
    header->setDefaultAlignment(Qt::AlignHCenter | Qt::AlignVCenter);
    header->setSectionResizeMode(QHeaderView::Stretch);
    ui->tv1->setSelectionBehavior(QAbstractItemView::SelectRows);
    ui->tv1->installEventFilter(this);

    initDataRender();
    init_other_widget();
}

void KVR9000Window::initTableView()
{
    QHeaderView* header = ui->tv1->horizontalHeader();
    header->setDefaultAlignment(Qt::AlignHCenter | Qt::AlignVCenter);
    header->setSectionResizeMode(QHeaderView::Stretch);
    ui->tv1->setSelectionBehavior(QAbstractItemView::SelectRows);
    ui->tv1->installEventFilter(this);
}

void KVR9000Window::init_other_widget()
{
    QColor const enabledColor(255, 255, 0);

    changeControlWidgetEnalble(false);
    ui->splitterMain->setSizes({100, 2000});
    ui->splitterView->setSizes({500, 500});
    ui->actionPause->setCheckable(true);
    ui->actionStart->setCheckable(false);

    // Five annunciators and three readings; the group readouts are added below.
    m_lcd = new PowerSupplyLCD(5, 3, 0, 0, 0, nullptr, {});
    QFont headerFont = font();
    headerFont.setWeight(QFont::Weight(600));
    headerFont.setPointSize(9);
    int const headerWidth = QFontMetrics(headerFont).horizontalAdvance(QStringLiteral("AAAAAAAAAA"));
    for (int i = 0; i < m_lcd->headerWidgetCount(); ++i) {
        StateLabel* label = m_lcd->headerWidget(i);
        label->setMargin(2);
        label->label()->setFont(headerFont);
        label->setMinimumWidth(headerWidth);
        label->setMaximumWidth(headerWidth);
    }

    m_valueVoltage = m_lcd->measureWidget(0);
    m_valueCurrent = m_lcd->measureWidget(1);
    m_valuePower = m_lcd->measureWidget(2);
    m_valueVoltage->setValue(QStringLiteral("0.000"));
    m_valueVoltage->setUnit(QStringLiteral("V"));
    m_valueCurrent->setValue(QStringLiteral("0.000"));
    m_valueCurrent->setUnit(QStringLiteral("A"));
    m_valuePower->setValue(QStringLiteral("0.000"));
    m_valuePower->setUnit(QStringLiteral("W"));

    auto makeGroupReadout = [] {
        auto* readout = new ValueWidget(nullptr, {});
        readout->setUnit(QString());
        readout->hide();
        return readout;
    };
    m_groupPower = makeGroupReadout();
    m_groupCurrent = makeGroupReadout();
    m_groupVoltage = makeGroupReadout();
    m_lcd->measure()->insert(2, m_groupPower);
    m_lcd->measure()->insert(1, m_groupCurrent);
    m_lcd->measure()->insert(0, m_groupVoltage);

    // Odd positions hold this unit's readings, even ones the group's: the unit's are large.
    for (int i = 0; i < m_lcd->measureWidgetCount(); ++i) {
        ValueWidget* readout = m_lcd->measureWidget(i);
        readout->setMargin(0);
        readout->valueWidget()->setPointSize(i % 2 == 1 ? 20 : 12);
        readout->unitWidget()->setPointSize(12);
        readout->dispatchToWidgets(true);
        readout->setEnabledWindowColor(readout->color(kLit, false));
        readout->valueWidget()->setEnabledTextColor(enabledColor);
        readout->unitWidget()->setEnabledTextColor(enabledColor);
        readout->valueWidget()->setAlignment(Qt::AlignHCenter | Qt::AlignVCenter);
    }
    m_lcd->refreshLayout();
    ui->layLcd->addWidget(m_lcd, 0, 0);

    m_configWidgets = zelt::widget::WidgetHelper::getChildren(
        ui->pnlControl,
        {QString::fromLatin1(QAbstractSpinBox::staticMetaObject.className()),
         QString::fromLatin1(QComboBox::staticMetaObject.className()),
         QString::fromLatin1(QSlider::staticMetaObject.className())},
        true);

    blockSignalOfConfigWidget(true);
    for (char const* mode : kPowerModes)
        ui->cbbMode->addItem(translatedPowerModeText(QLatin1String(mode)), QString::fromLatin1(mode));
    ui->cbbMode->setCurrentIndex(0);
    ui->spinSlaveID->setRange(1, 2);
    ui->spinSlaveID->setButtonSymbols(QAbstractSpinBox::NoButtons);
    ui->cbbPowerOut->addItem(tr("OFF"), QStringLiteral("OFF"));
    ui->cbbPowerOut->addItem(tr("Keep"), QStringLiteral("KEEP"));
    ui->cbbPowerOut->setCurrentIndex(0);
    for (QSpinBox* delay : {ui->spinOVPDelay, ui->spinOCPDelay}) {
        delay->setRange(10, 10000);
        delay->setSingleStep(10);
        delay->setSuffix(QStringLiteral("ms"));
    }
    ui->cbbEload->addItem(tr("OFF"), QStringLiteral("OFF"));
    ui->cbbEload->addItem(tr("ON"), QStringLiteral("ON"));
    ui->cbbEload->setCurrentIndex(0);

    m_lblPowerMode = m_lcd->headerWidget(0);
    m_lblSRMode = m_lcd->headerWidget(1);
    m_lblCVCC = m_lcd->headerWidget(2);
    m_lblOVP = m_lcd->headerWidget(3);
    m_lblOCP = m_lcd->headerWidget(4);
    m_lblPowerMode->setText(translatedPowerModeText(QLatin1String(dmmhelper::kPowerModeNormal)));
    m_lblSRMode->setText(tr("VHS"));
    m_lblCVCC->setText(tr("CV"));
    m_lblOVP->setText(tr("OVP"));
    m_lblOCP->setText(tr("OCP"));

    ui->cbbSRMode->addItem(tr("CV HighSpeed"), QLatin1String(dmmhelper::kSlewRateModeVHS));
    ui->cbbSRMode->addItem(tr("CC HighSpeed"), QLatin1String(dmmhelper::kSlewRateModeIHS));
    ui->cbbSRMode->addItem(tr("CV SlewRate"), QLatin1String(dmmhelper::kSlewRateModeVSR));
    ui->cbbSRMode->addItem(tr("CC SlewRate"), QLatin1String(dmmhelper::kSlewRateModeISR));
    for (QDoubleSpinBox* rate :
         {ui->spinVSRRising, ui->spinVSRFalling, ui->spinISRRising, ui->spinISRFalling}) {
        rate->setDecimals(3);
        rate->setRange(0.01, 840);
    }
    ui->spinInternalRES->setDecimals(3);
    ui->spinInternalRES->setRange(0, 1);
    ui->spinBrightness->setDecimals(0);
    ui->spinBrightness->setRange(20, 100);
    blockSignalOfConfigWidget(false);

    m_quickSettingModel = new QuickSettingDataModel(m_quickSettings, this);
    // A view does not own its delegates: the window does.
    auto* buttons = new ButtonItemDelegate({tr("Execute")}, this);
    connect(buttons, &ButtonItemDelegate::clicked, this, &KVR9000Window::onQuickSettingButtonClicked,
            Qt::DirectConnection);
    ui->tvQuickSetting->verticalHeader()->hide();
    ui->tvQuickSetting->horizontalHeader()->setSectionResizeMode(QHeaderView::Stretch);
    ui->tvQuickSetting->setSelectionBehavior(QAbstractItemView::SelectItems);
    ui->tvQuickSetting->setSelectionMode(QAbstractItemView::SingleSelection);
    ui->tvQuickSetting->setItemDelegateForColumn(3, buttons);
    ui->tvQuickSetting->setModel(m_quickSettingModel);
    ui->tvQuickSetting->installEventFilter(this);

    auto settle = [this] {
        disableAndMonitorControlWidget(2);
    };
    connect(ui->checkPowerDown, &zelt::widget::CCheckbox::toggled, this, [this, settle](bool on) {
        m_dmm->cmdSetPowerDown(on);
        settle();
    });
    connect(ui->checkBeeper, &zelt::widget::CCheckbox::toggled, this, [this, settle](bool on) {
        m_dmm->cmdSetBeeper(on);
        settle();
    });
    connect(ui->cbOVP, &zelt::widget::CCheckbox::toggled, this, [this, settle](bool on) {
        m_dmm->cmdOVP(on);
        settle();
    });
    connect(ui->cbOCP, &zelt::widget::CCheckbox::toggled, this, [this, settle](bool on) {
        m_dmm->cmdOCP(on);
        settle();
    });
    connect(ui->cbbMode, qOverload<int>(&QComboBox::currentIndexChanged), this, [this, settle](int index) {
        m_dmm->cmdPowerMode(ui->cbbMode->itemData(index).toString());
        settle();
    });
    connect(ui->spinSlaveID, &QSpinBox::editingFinished, this, [this, settle] {
        m_dmm->cmdPowerID(ui->spinSlaveID->value());
        settle();
    });
    connect(ui->cbbPowerOut, qOverload<int>(&QComboBox::currentIndexChanged), this,
            [this, settle](int index) {
                m_dmm->cmdPowerPowerOut(ui->cbbPowerOut->itemData(index).toString());
                settle();
            });
    connect(ui->spinOVPDelay, &QSpinBox::editingFinished, this, [this, settle] {
        m_dmm->cmdPowerOVPDelay(ui->spinOVPDelay->value());
        settle();
    });
    connect(ui->spinOCPDelay, &QSpinBox::editingFinished, this, [this, settle] {
        m_dmm->cmdPowerOCPDelay(ui->spinOCPDelay->value());
        settle();
    });
    connect(ui->cbbEload, qOverload<int>(&QComboBox::currentIndexChanged), this, [this, settle](int index) {
        m_dmm->cmdPowerEload(ui->cbbEload->itemData(index).toString());
        settle();
    });

    ui->actionTest->setVisible(false);
    QMdiSubWindow::setWidget(ui->widget);
}

void KVR9000Window::initDataRender()
{
    // The record's render is made here: its table model is shown in tv1, and its chart
    // takes the place of plot1 in splitterView.
}

void KVR9000Window::loadSetting()
{
    QSettings settings;
    settings.beginGroup(equipment()->ioInfo.dynamicCast<zelt::measure::io::visa::VisaEquipInfo>()->modelName);
    m_sampleInfinitely = settings.value(QStringLiteral("SampleInfinitely"), true).toBool();
    m_samplePoints = settings.value(QStringLiteral("SamplePoints"), 9999).toInt();
    m_sampleInterval = settings.value(QStringLiteral("SampleInterval"), 0).toInt();
    QByteArray array = settings.value(QStringLiteral("QuickSettings")).toByteArray();
    m_quickSettings = array.isEmpty() ? QList<QSharedPointer<DPData>>() : arrayToDpDatas(array);
    settings.endGroup();
}

void KVR9000Window::saveSetting()
{
    QSettings settings;
    settings.beginGroup(equipment()->ioInfo.dynamicCast<zelt::measure::io::visa::VisaEquipInfo>()->modelName);
    settings.setValue(QStringLiteral("SampleInfinitely"), m_sampleInfinitely);
    settings.setValue(QStringLiteral("SamplePoints"), m_samplePoints);
    settings.setValue(QStringLiteral("SampleInterval"), m_sampleInterval);
    settings.setValue(QStringLiteral("QuickSettings"), dpDatasToArray(m_quickSettings));
    settings.endGroup();
}

QList<QSharedPointer<DPData>> KVR9000Window::arrayToDpDatas(QByteArray& array) const
{
    QList<QSharedPointer<DPData>> datas;
    if (array.isEmpty())
        return datas;
    QDataStream stream(&array, QIODevice::ReadOnly);
    stream >> datas;
    return datas;
}

QByteArray KVR9000Window::dpDatasToArray(QList<QSharedPointer<DPData>> const& datas) const
{
    QByteArray array;
    QDataStream stream(&array, QIODevice::WriteOnly);
    stream << datas;
    return array;
}

QList<QSharedPointer<DPData>> KVR9000Window::makeDefaultQuickSettingData() const
{
    QList<QSharedPointer<DPData>> datas;
    for (DPData const& row : {DPData {1.0, 0.1}, DPData {10.0, 0.01}, DPData {0.0, 0.0}})
        datas.append(QSharedPointer<DPData>::create(row));
    return datas;
}

void KVR9000Window::on_actionStart_triggered()
{
    bool const active = m_dmm->active();
    // The action waits for the driver's answer, started or stoped.
    ui->actionStart->setCheckable(false);
    ui->actionStart->setEnabled(false);
    if (!active) {
        m_errorCount = 0;
        m_dmm->open();
    } else {
        m_dmm->close();
    }
}

void KVR9000Window::on_actionPause_triggered(bool checked)
{
    m_paused = checked;
    m_sampleDue = false;
}

void KVR9000Window::onDmmOpened()
{
    changeControlWidgetEnalble(false);
    // The first sample fills the widgets and releases the groups.
    m_monitor->in(1);
    ui->actionStart->setEnabled(true);
    ui->actionStart->setCheckable(true);
    ui->actionStart->setChecked(true);
    ui->actionProgrammer->setEnabled(true);
}

void KVR9000Window::onDmmClosed()
{
    changeControlWidgetEnalble(false);
    ui->actionStart->setEnabled(true);
    ui->actionStart->setCheckable(true);
    ui->actionStart->setChecked(false);
    ui->actionProgrammer->setEnabled(false);
    if (m_closing)
        close();
}

void KVR9000Window::onDmmProcessError(QSharedPointer<zelt::util::Word> const&)
{
    qDebug() << QDateTime::currentDateTime();
    ++m_errorCount;
    if (m_errorCount > 8) {
        m_dmm->closeForce();
        QMessageBox::critical(this, QString(),
                              tr("The communication is failed and the application is stoped."),
                              QMessageBox::Ok);
    }
}

void KVR9000Window::onDmmUpdateListout(ListAndDelayer const&)
{
    // The programmer's upload takes its next step from here.
}

void KVR9000Window::onPlotTracerUpdate(QCPGraph const&, int, QString&)
{
    // The chart's tracer note gets the recorded sample's time and values here.
}

void KVR9000Window::onQuickSettingButtonClicked(int btnIndex, QModelIndex const& index)
{
    auto const* row = static_cast<DPData const*>(index.internalPointer());
    if (!index.isValid() || btnIndex != 0 || !row)
        return;
    m_dmm->cmdVoltage(row->voltage);
    m_dmm->cmdCurrent(row->current);
    disableAndMonitorControlWidget(2);
}

void KVR9000Window::timerEvent(QTimerEvent*)
{
    m_sampleDue = true;
}

void KVR9000Window::closeEvent(QCloseEvent* event)
{
    // The window goes only once the driver has stopped: onDmmClosed closes it again.
    if (m_dmm && m_dmm->active()) {
        m_closing = true;
        m_dmm->close();
        event->ignore();
        return;
    }
    if (m_sampleTimerId != 0) {
        killTimer(m_sampleTimerId);
        m_sampleTimerId = 0;
    }
    if (m_dmm)
        saveSetting();
    EquipmentWindow::closeEvent(event);
}

bool KVR9000Window::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() == QEvent::ContextMenu) {
        if (watched == ui->tv1 && execHistoryMenu())
            return true;
        if (watched == ui->tvQuickSetting && execQuickSettingMenu())
            return true;
    }
    return QMdiSubWindow::eventFilter(watched, event);
}

bool KVR9000Window::execHistoryMenu()
{
    // The record's menu (export, clear) opens here and then claims the event.
    return false;
}

bool KVR9000Window::execQuickSettingMenu()
{
    QTableView* view = ui->tvQuickSetting;
    QAbstractItemModel* model = view->model();
    QModelIndex const current = view->currentIndex();

    QAction append(QIcon(QStringLiteral(":images/append3.png")), tr("Append"));
    QAction insert(QIcon(QStringLiteral(":images/insert32.png")), tr("Insert"));
    QAction remove(QIcon(QStringLiteral(":images/delete.png")), tr("Delete"));
    QAction clear(QIcon(QStringLiteral(":images/deleteAll.png")), tr("Clear"));
    insert.setEnabled(current.isValid());
    remove.setEnabled(current.isValid());
    clear.setEnabled(model->rowCount() > 0);

    // exec() below returns only once the menu is done, so the references stay good.
    connect(&append, &QAction::triggered, this, [&] {
        if (m_quickSettingModel->insertRows(m_quickSettingModel->rowCount(), 1, QModelIndex()))
            view->setCurrentIndex(model->index(model->rowCount() - 1, 1));
    });
    connect(&insert, &QAction::triggered, this, [&] {
        if (m_quickSettingModel->insertRows(current.row(), 1, QModelIndex()))
            view->setCurrentIndex(model->index(current.row(), 1));
    });
    connect(&remove, &QAction::triggered, this, [&] {
        int const row = current.row();
        int const column = current.column();
        if (m_quickSettingModel->removeRows(row, 1, QModelIndex()))
            view->setCurrentIndex(model->index(std::max(0, std::min(model->rowCount() - 1, row)), column));
    });
    connect(&clear, &QAction::triggered, this,
            [&] { m_quickSettingModel->removeRows(0, m_quickSettingModel->rowCount(), QModelIndex()); });

    auto* menu = new QMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    menu->addAction(&append);
    menu->addAction(&insert);
    menu->addSeparator();
    menu->addAction(&remove);
    menu->addAction(&clear);
    menu->exec(QCursor::pos());
    return true;
}

void KVR9000Window::on_actionClear_triggered()
{
    // Wipes the record's table and chart.
}

void KVR9000Window::on_actionExport_triggered()
{
    // Writes the record as CSV.
}

void KVR9000Window::on_actionOptions_triggered()
{
    DlgOption dialog(nullptr);
    dialog.setWindowTitle(tr("Options"));
    dialog.ui->cbInfinite->setChecked(m_sampleInfinitely);
    dialog.ui->spinSamplePoints->setEnabled(!m_sampleInfinitely);
    dialog.ui->spinSamplePoints->setValue(m_samplePoints);
    dialog.ui->spinSampleInterval->setValue(m_sampleInterval);

    if (dialog.exec() == QDialog::Accepted) {
        m_sampleInfinitely = dialog.ui->cbInfinite->isChecked();
        m_samplePoints = dialog.ui->spinSamplePoints->value();
        m_sampleInterval = dialog.ui->spinSampleInterval->value();
        if (m_sampleTimerId != 0) {
            killTimer(m_sampleTimerId);
            m_sampleTimerId = 0;
        }
        if (m_sampleInterval > 0) {
            m_sampleDue = false;
            m_sampleTimerId = startTimer(m_sampleInterval, Qt::CoarseTimer);
        }
    }
    saveSetting();
}

void KVR9000Window::on_actionSaveImage_triggered()
{
    // Saves the chart as a picture.
}

void KVR9000Window::on_actionHelp_triggered()
{
}

void KVR9000Window::on_btnOutput_clicked()
{
    // The driver inverts the last reported state; false counts only before the first sample.
    m_dmm->cmdToggleOutput(false);
    disableAndMonitorControlWidget(2);
}

void KVR9000Window::on_spinV_editingFinished()
{
    // editingFinished also comes when the focus merely passes through: an unchanged
    // value must neither be sent nor freeze the panel.
    if (ui->spinV->value() == m_dmm->lastMeasureData()->activeChannel()->voltage.level.value)
        return;
    if (auto* spin = qobject_cast<QDoubleSpinBox*>(sender()))
        m_dmm->cmdVoltage(spin->value());
    disableAndMonitorControlWidget(2);
}

void KVR9000Window::on_spinA_editingFinished()
{
    if (ui->spinA->value() == m_dmm->lastMeasureData()->activeChannel()->current.level.value)
        return;
    if (auto* spin = qobject_cast<QDoubleSpinBox*>(sender()))
        m_dmm->cmdCurrent(spin->value());
    disableAndMonitorControlWidget(2);
}

void KVR9000Window::on_spinOvp_editingFinished()
{
    if (ui->spinOvp->value() == m_dmm->lastMeasureData()->activeChannel()->voltage.protectionLevel.value)
        return;
    if (auto* spin = qobject_cast<QDoubleSpinBox*>(sender()))
        m_dmm->cmdOVPValue(spin->value());
    disableAndMonitorControlWidget(2);
}

void KVR9000Window::on_spinOcp_editingFinished()
{
    if (ui->spinOcp->value() == m_dmm->lastMeasureData()->activeChannel()->current.protectionLevel.value)
        return;
    if (auto* spin = qobject_cast<QDoubleSpinBox*>(sender()))
        m_dmm->cmdOCPValue(spin->value());
    disableAndMonitorControlWidget(2);
}

void KVR9000Window::on_actionTest_triggered()
{
}

void KVR9000Window::on_actionProgrammer_triggered()
{
    // Opens the programmer of the instrument's list and delayer.
}

void KVR9000Window::on_cbbSRMode_currentIndexChanged(int)
{
    m_dmm->cmdSetSRMode(ui->cbbSRMode->currentData().toString());
    disableAndMonitorControlWidget(2);
}

void KVR9000Window::on_spinVSRRising_editingFinished()
{
    m_dmm->cmdSetVSRRising(ui->spinVSRRising->value());
    disableAndMonitorControlWidget(2);
}

void KVR9000Window::on_spinVSRFalling_editingFinished()
{
    m_dmm->cmdSetVSRFalling(ui->spinVSRFalling->value());
    disableAndMonitorControlWidget(2);
}

void KVR9000Window::on_spinISRRising_editingFinished()
{
    m_dmm->cmdSetISRRising(ui->spinISRRising->value());
    disableAndMonitorControlWidget(2);
}

void KVR9000Window::on_spinISRFalling_editingFinished()
{
    m_dmm->cmdSetISRFalling(ui->spinISRFalling->value());
    disableAndMonitorControlWidget(2);
}

void KVR9000Window::on_spinInternalRES_editingFinished()
{
    m_dmm->cmdSetInternalRES(ui->spinInternalRES->value());
    disableAndMonitorControlWidget(2);
}

void KVR9000Window::on_spinBrightness_editingFinished()
{
    m_dmm->cmdSetBrightness(ui->spinBrightness->value());
    disableAndMonitorControlWidget(2);
}

void KVR9000Window::changeControlWidgetEnalble(bool enable)
{
    ui->widgetOption->setEnabled(enable);
    ui->widgetQuickSetting->setEnabled(enable);
}

void KVR9000Window::disableAndMonitorControlWidget(int rounds)
{
    // Disabling moves the focus on, and the spin box that loses it finishes its editing:
    // that is no edit of the user's and must send nothing.
    blockSignalOfConfigWidget(true);
    changeControlWidgetEnalble(false);
    blockSignalOfConfigWidget(false);
    m_monitor->in(rounds);
}

void KVR9000Window::changeRangeForWidget(int channel)
{
    ChannelLimitRange const& limit = m_dmm->geChannelLimitRange().at(channel);
    // Set points and protection levels alike reach 5 % above the rating.
    ui->spinV->setRange(limit.voltageRange.minimum, limit.voltageRange.maximum * 1.05);
    ui->spinOvp->setRange(limit.voltageRange.minimum, limit.voltageRange.maximum * 1.05);
    ui->spinA->setRange(limit.currentRange.minimum, limit.currentRange.maximum * 1.05);
    ui->spinOcp->setRange(limit.currentRange.minimum, limit.currentRange.maximum * 1.05);
}

void KVR9000Window::changeWidgetEnabledStyle(QWidget* widget, bool on)
{
    widget->setStyleSheet(on ? QLatin1String(kOutputOnStyle) : QString());
}

void KVR9000Window::onDmmUpdateData(QSharedPointer<DmmData> data)
{
    Channel const* channel = data ? data->activeChannel() : nullptr;
    if (!channel)
        return;

    if (isChannelChanged())
        changeRangeForWidget(channel->index);

    if (m_monitor->out([this] { changeControlWidgetEnalble(true); }))
        updateDataToConfig(data);
    updateDataToDisplay(data);

    // The recording gate: pause, the row limit, and the sample timer.
    if (m_paused)
        return;
    if (!m_sampleInfinitely && m_samplePoints <= recordedRowCount(channel->index))
        return;
    if (m_sampleInterval != 0 && !m_sampleDue)
        return;
    m_sampleDue = false;
    updateDataToRender(data);
}

bool KVR9000Window::isChannelChanged() const
{
    QList<QSharedPointer<DmmData>> const& history = m_dmm->getMeasureData();
    if (history.size() < 2)
        return true;
    return history.at(history.size() - 1)->activeChannel()->index
        != history.at(history.size() - 2)->activeChannel()->index;
}

int KVR9000Window::recordedRowCount(int channel) const
{
    // The rows of the render of this channel: the row count of its table model.
    Q_UNUSED(channel);
    return 0;
}

void KVR9000Window::updateDataToRender(QSharedPointer<DmmData> const& data)
{
    // The record's table and chart of each render take the sample here, and the chart of
    // the active channel is replotted.
    Q_UNUSED(data);
}

void KVR9000Window::updateDataToDisplay(QSharedPointer<DmmData> data)
{
    Channel const& ch = *data->activeChannel();
    Config const& cfg = data->config();

    m_lblPowerMode->setStateOn(kLit, true);
    int const mode = powerModeIndex(cfg.powerMode);
    QString modeText
        = mode < 0 ? QString() : QCoreApplication::translate(kTextContext, kPowerModelSimplyText[mode]);
    if (cfg.powerMode == QLatin1String(dmmhelper::kPowerModePARASlave)
        || cfg.powerMode == QLatin1String(dmmhelper::kPowerModeSERSlave))
        modeText = QStringLiteral("%1 %2").arg(modeText).arg(cfg.powerId);
    m_lblPowerMode->setText(modeText);

    m_lblSRMode->setStateOn(kLit, true);
    auto const* slew
        = std::find_if(std::begin(dmmhelper::kSlewRageModeText), std::end(dmmhelper::kSlewRageModeText),
                       [&cfg](char const* word) { return cfg.outputMode == QLatin1String(word); });
    m_lblSRMode->setText(slew == std::end(dmmhelper::kSlewRageModeText)
                             ? QString()
                             : QCoreApplication::translate(kTextContext, *slew));

    m_lblCVCC->setStateOn(kLit, ch.outputOn);
    m_lblCVCC->setText(ch.outputOn ? ch.cvcc : tr("OFF"));
    m_lblOVP->setStateOn(kLit, ch.voltage.protectionOn);
    m_lblOCP->setStateOn(kLit, ch.current.protectionOn);
    m_lcd->measure()->setStateOn(kLit, ch.outputOn);

    m_valueVoltage->setValue(dmmhelper::VBText(ch.voltage.measured));
    m_valueCurrent->setValue(dmmhelper::VBText(ch.current.measured));
    m_valuePower->setValue(dmmhelper::VBText(ch.power));

    bool const parallel = cfg.powerMode == QLatin1String(dmmhelper::kPowerModePARAMaster)
        || cfg.powerMode == QLatin1String(dmmhelper::kPowerModePARASlave);
    bool const series = cfg.powerMode == QLatin1String(dmmhelper::kPowerModeSERMaster)
        || cfg.powerMode == QLatin1String(dmmhelper::kPowerModeSERSlave);
    m_groupVoltage->setVisible(series);
    m_groupCurrent->setVisible(parallel);
    m_groupPower->setVisible(parallel || series);
    if (!parallel && !series)
        return;

    // Hidden readouts are written too: all three show the group of the mode.
    auto show = [](ValueWidget* readout, zelt::measure::QValueBox const& box) {
        readout->setValue(box.kind == 0 ? dmmhelper::VBText(box) : QStringLiteral("-"));
    };
    show(m_groupVoltage, parallel ? ch.parallelVoltage.measured : ch.seriesVoltage.measured);
    show(m_groupCurrent, parallel ? ch.parallelCurrent.measured : ch.seriesCurrent.measured);
    show(m_groupPower, parallel ? ch.parallelPower : ch.seriesPower);
}

void KVR9000Window::updateDataToConfig(QSharedPointer<DmmData> data)
{
    Channel const& ch = *data->activeChannel();
    Config const& cfg = data->config();
    QString const& mode = cfg.powerMode;

    // A value from the instrument is no edit: nothing written here may send a command,
    // and the widget that the user is in keeps what is being typed.
    blockSignalOfConfigWidget(true);
    ui->btnOutput->setStyleSheet(ch.outputOn ? QLatin1String(kOutputOnStyle) : QString());
    QWidget const* focused = getHasFocusWidgetOfConfig();
    auto free = [focused](QWidget const* widget) {
        return widget != focused;
    };

    if (free(ui->spinV))
        ui->spinV->setValue(ch.voltage.level.value);
    if (free(ui->spinA))
        ui->spinA->setValue(ch.current.level.value);
    if (free(ui->cbOVP))
        ui->cbOVP->setChecked(ch.voltage.protectionOn);
    if (free(ui->cbOCP))
        ui->cbOCP->setChecked(ch.current.protectionOn);
    if (free(ui->spinOvp))
        ui->spinOvp->setValue(ch.voltage.protectionLevel.value);
    if (free(ui->spinOcp))
        ui->spinOcp->setValue(ch.current.protectionLevel.value);

    if (free(ui->cbbSRMode)) {
        selectByData(ui->cbbSRMode, cfg.outputMode);
        int const index = ui->cbbSRMode->currentIndex();
        // VHS and IHS need no rates; VSR shows pageVSR and ISR pageISR.
        ui->stackedWidgetSROption->setCurrentIndex(std::max(index, 1) - 1);
        ui->stackedWidgetSROption->setVisible(index > 1);
    }

    if (free(ui->spinVSRRising))
        ui->spinVSRRising->setValue(ch.voltage.slewRising.value);
    if (free(ui->spinVSRFalling))
        ui->spinVSRFalling->setValue(ch.voltage.slewFalling.value);
    if (free(ui->spinISRRising))
        ui->spinISRRising->setValue(ch.current.slewRising.value);
    if (free(ui->spinISRFalling))
        ui->spinISRFalling->setValue(ch.current.slewFalling.value);
    if (free(ui->spinBrightness))
        ui->spinBrightness->setValue(cfg.brightness);
    if (free(ui->checkBeeper))
        ui->checkBeeper->setChecked(cfg.beeper);
    if (free(ui->checkPowerDown))
        ui->checkPowerDown->setChecked(cfg.powerDown);

    if (free(ui->cbbMode))
        selectByData(ui->cbbMode, mode);

    bool const slave = mode == QLatin1String(dmmhelper::kPowerModePARASlave)
        || mode == QLatin1String(dmmhelper::kPowerModeSERSlave);
    bool const external = mode == QLatin1String(dmmhelper::kPowerModeExtV);
    ui->spinInternalRES->setEnabled(mode == QLatin1String(dmmhelper::kPowerModeNormal));
    ui->spinSlaveID->setEnabled(slave);
    ui->spinV->setEnabled(!external);
    ui->spinA->setEnabled(!external);

    if (free(ui->spinInternalRES))
        ui->spinInternalRES->setValue(cfg.resistance.value);
    if (free(ui->spinSlaveID))
        ui->spinSlaveID->setValue(cfg.powerId);
    if (free(ui->cbbPowerOut))
        selectByData(ui->cbbPowerOut, cfg.powerOut);
    if (free(ui->spinOVPDelay))
        ui->spinOVPDelay->setValue(cfg.ovpDelay);
    if (free(ui->spinOCPDelay))
        ui->spinOCPDelay->setValue(cfg.ocpDelay);
    if (free(ui->cbbEload))
        selectByData(ui->cbbEload, cfg.eloadState);
    blockSignalOfConfigWidget(false);
}

void KVR9000Window::blockSignalOfConfigWidget(bool block)
{
    for (QObject* widget : std::as_const(m_configWidgets))
        widget->blockSignals(block);
}

QWidget* KVR9000Window::getHasFocusWidgetOfConfig() const
{
    for (QObject* object : m_configWidgets) {
        auto* widget = qobject_cast<QWidget*>(object);
        if (widget
            && (object->inherits("QAbstractSpinBox") || object->inherits("QComboBox")
                || object->inherits("QSlider"))
            && widget->hasFocus())
            return widget;
    }
    return nullptr;
}
