#include "connectdialog.h"

#include "measure/io/visa/visaequipinfo.h"
#include "measure/io/visa/visaio.h"
#include "measure/io/visa/visaresource.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QImage>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSettings>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

using zelt::host::ConnectDialog;
using namespace zelt::measure::io;

namespace {

template<typename T> T* child(QObject* parent, char const* name)
{
    return parent->findChild<T*>(QString::fromLatin1(name));
}

} // namespace

class TestConnectDialog : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase();
    void init();
    void socketResource_data();
    void socketResource();
    void malformedResource_data();
    void malformedResource();
    void simulated();
    void recentResources();
    void modelsAndPicture();

private:
    // Types into the form as a user does and presses OK.
    static void fill(ConnectDialog& dialog, QString const& model, QString const& name,
                     QString const& resource);
    static void pressOk(ConnectDialog& dialog);

    QList<zelt::widget::ModelInfo> m_families;
    QTemporaryDir m_pictures;
};

void TestConnectDialog::initTestCase()
{
    QStandardPaths::setTestModeEnabled(true);
    QCoreApplication::setOrganizationName("Zelt");
    QCoreApplication::setApplicationName("tst_connectdialog");
    QImage picture(64, 40, QImage::Format_RGB32);
    picture.fill(Qt::darkGray);
    QVERIFY(picture.save(m_pictures.filePath("unit.png")));

    zelt::widget::ModelInfo alpha;
    alpha.familyName = "Alpha";
    alpha.viewInfos = {{"A-1", "Alpha One", m_pictures.filePath("unit.png")},
                       {"A-2", "Alpha Two", m_pictures.filePath("missing.png")}};
    zelt::widget::ModelInfo beta;
    beta.familyName = "Beta";
    beta.viewInfos = {{"B-9", "Beta Nine", m_pictures.filePath("unit.png")}};
    m_families = {alpha, beta};
}

void TestConnectDialog::init()
{
    QSettings().clear();
}

void TestConnectDialog::fill(ConnectDialog& dialog, QString const& model, QString const& name,
                             QString const& resource)
{
    dialog.select(model, false);
    auto* editName = child<QLineEdit>(&dialog, "editName");
    editName->clear();
    QTest::keyClicks(editName, name);
    QLineEdit* editResource = child<QComboBox>(&dialog, "cbbResource")->lineEdit();
    editResource->clear();
    QTest::keyClicks(editResource, resource);
}

void TestConnectDialog::pressOk(ConnectDialog& dialog)
{
    QPushButton* ok = child<QDialogButtonBox>(&dialog, "buttonBox")->button(QDialogButtonBox::Ok);
    QTest::mouseClick(ok, Qt::LeftButton);
}

void TestConnectDialog::socketResource_data()
{
    QTest::addColumn<QString>("model");
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("resource");
    QTest::addColumn<QString>("family");
    QTest::addColumn<QString>("expectedName");
    QTest::addColumn<QString>("host");
    QTest::addColumn<int>("port");
    QTest::newRow("address") << "A-1"
                             << "bench 3"
                             << "TCPIP0::192.168.1.5::5025::SOCKET"
                             << "Alpha"
                             << "bench 3"
                             << "192.168.1.5" << 5025;
    QTest::newRow("host name, lower case, no board") << "A-2"
                                                     << ""
                                                     << "tcpip::psu.lab::5025::socket"
                                                     << "Alpha"
                                                     << "A-2"
                                                     << "psu.lab" << 5025;
    QTest::newRow("second family") << "B-9"
                                   << "  spaced  "
                                   << "  TCPIP1::127.0.0.1::40001::SOCKET "
                                   << "Beta"
                                   << "spaced"
                                   << "127.0.0.1" << 40001;
}

void TestConnectDialog::socketResource()
{
    QFETCH(QString, model);
    QFETCH(QString, name);
    QFETCH(QString, resource);
    QFETCH(QString, family);
    QFETCH(QString, expectedName);
    QFETCH(QString, host);
    QFETCH(int, port);

    ConnectDialog dialog(m_families);
    dialog.show();
    QVERIFY(QTest::qWaitForWindowExposed(&dialog));
    fill(dialog, model, name, resource);
    pressOk(dialog);
    QCOMPARE(dialog.result(), int(QDialog::Accepted));
    QVERIFY(!dialog.isVisible());

    auto const info = dialog.equipmentInfo();
    QVERIFY(info);
    QCOMPARE(info->name, expectedName);
    QCOMPARE(info->family, family);
    QCOMPARE(info->model, model);
    QCOMPARE(info->resource, resource.trimmed());
    QVERIFY(!info->simulated);
    auto const visa = info->ioInfo.dynamicCast<visa::VisaEquipInfo>();
    QVERIFY(visa);
    QCOMPARE(visa->modelName, model);
    auto* io = qobject_cast<visa::VisaIO*>(visa->io.data());
    QVERIFY(io);
    QVERIFY(!io->isOpen());
    QCOMPARE(io->resource(), resource.trimmed());
    QCOMPARE(io->parsedResource().kind, visa::VisaResource::Kind::TcpipSocket);
    QCOMPARE(io->parsedResource().host, host);
    QCOMPARE(int(io->parsedResource().port), port);
}

void TestConnectDialog::malformedResource_data()
{
    QTest::addColumn<QString>("resource");
    QTest::newRow("empty") << "";
    QTest::newRow("no port") << "TCPIP0::192.168.1.5::SOCKET";
    QTest::newRow("port out of range") << "TCPIP0::192.168.1.5::70000::SOCKET";
    QTest::newRow("not visa") << "192.168.1.5:5025";
    QTest::newRow("unknown interface") << "FOO0::1::INSTR";
}

void TestConnectDialog::malformedResource()
{
    QFETCH(QString, resource);
    ConnectDialog dialog(m_families);
    dialog.show();
    QVERIFY(QTest::qWaitForWindowExposed(&dialog));
    fill(dialog, "A-1", "x", resource);
    pressOk(dialog);
    QVERIFY(dialog.isVisible());
    QCOMPARE(dialog.result(), int(QDialog::Rejected));
    QString const message = child<QLabel>(&dialog, "lblError")->text();
    QVERIFY(!message.isEmpty());
    QString const why = visa::VisaResource::parse(resource).error;
    if (!resource.isEmpty())
        QVERIFY2(message.contains(why), qPrintable(message + " / " + why));
    QVERIFY(ConnectDialog::recentResources().isEmpty());

    // Correcting the text clears the message, and OK then goes through.
    QLineEdit* edit = child<QComboBox>(&dialog, "cbbResource")->lineEdit();
    edit->clear();
    QTest::keyClicks(edit, "TCPIP0::10.0.0.2::5025::SOCKET");
    QVERIFY(child<QLabel>(&dialog, "lblError")->text().isEmpty());
    pressOk(dialog);
    QCOMPARE(dialog.result(), int(QDialog::Accepted));
}

void TestConnectDialog::simulated()
{
    ConnectDialog dialog(m_families);
    dialog.show();
    QVERIFY(QTest::qWaitForWindowExposed(&dialog));
    fill(dialog, "B-9", "", "garbage");
    auto* check = child<QCheckBox>(&dialog, "checkSimulated");
    QTest::mouseClick(check, Qt::LeftButton, {}, QPoint(5, check->height() / 2));
    QVERIFY(check->isChecked());
    QVERIFY(!child<QComboBox>(&dialog, "cbbResource")->isEnabled());
    pressOk(dialog); // the resource text doesn't matter for the simulator
    QCOMPARE(dialog.result(), int(QDialog::Accepted));
    auto const request = dialog.request();
    QVERIFY(request.simulated);
    QCOMPARE(request.family, QString("Beta"));
    QCOMPARE(request.model, QString("B-9"));
    QCOMPARE(request.name, QString("B-9"));
    QVERIFY(request.resource.isEmpty());
    QVERIFY(!dialog.equipmentInfo());
    QVERIFY(ConnectDialog::recentResources().isEmpty());
}

void TestConnectDialog::recentResources()
{
    QStringList used;
    for (int i = 0; i < ConnectDialog::kRecentResourceCount + 2; ++i) {
        used.prepend(QString("TCPIP0::10.0.0.%1::5025::SOCKET").arg(i));
        ConnectDialog dialog(m_families);
        fill(dialog, "A-1", "", used.first());
        dialog.accept();
        QCOMPARE(dialog.result(), int(QDialog::Accepted));
    }
    QCOMPARE(ConnectDialog::recentResources(), used.mid(0, ConnectDialog::kRecentResourceCount));

    // Using an older one again moves it to the front without doubling it.
    QString const again = used.at(3);
    {
        ConnectDialog dialog(m_families);
        fill(dialog, "A-1", "", again);
        dialog.accept();
    }
    QStringList const recent = ConnectDialog::recentResources();
    QCOMPARE(recent.first(), again);
    QCOMPARE(recent.count(again), 1);
    QCOMPARE(recent.size(), ConnectDialog::kRecentResourceCount);

    // A new dialog offers them, newest first.
    ConnectDialog dialog(m_families);
    auto* combo = child<QComboBox>(&dialog, "cbbResource");
    QCOMPARE(combo->count(), ConnectDialog::kRecentResourceCount);
    QCOMPARE(combo->itemText(0), again);
    QCOMPARE(combo->currentText(), again);
}

void TestConnectDialog::modelsAndPicture()
{
    ConnectDialog dialog(m_families);
    auto* family = child<QComboBox>(&dialog, "cbbFamily");
    auto* model = child<QComboBox>(&dialog, "cbbModel");
    auto* picture = child<QLabel>(&dialog, "lblPicture");
    QCOMPARE(family->count(), 2);
    QCOMPARE(model->count(), 2);
    QCOMPARE(model->itemText(0), QString("Alpha One"));
    QVERIFY(!picture->pixmap().isNull());

    model->setCurrentIndex(1); // its picture is missing
    QVERIFY(picture->pixmap().isNull());
    QVERIFY(!picture->text().isEmpty());
    QCOMPARE(dialog.request().model, QString("A-2"));

    family->setCurrentIndex(1);
    QCOMPARE(model->count(), 1);
    QCOMPARE(dialog.request().model, QString("B-9"));
    QVERIFY(!picture->pixmap().isNull());
}

QTEST_MAIN(TestConnectDialog)
#include "tst_connectdialog.moc"
