// The KVR9000 window made by the plug-in, driving the simulated instrument over a socket:
// life cycle, control panel, live panel and sampling options.

#include "windowharness.h"

#include "dlgoption.h"
#include "dmmhelper.h"
#include "kvrinstrument.h"

#include "widget/measure/powersupplylcd.h"
#include "widget/measure/valuewidget.h"
#include "widget/statelabel.h"

#include <QAbstractEventDispatcher>
#include <QAction>
#include <QCheckBox>
#include <QComboBox>
#include <QDoubleSpinBox>
#include <QGroupBox>
#include <QLineEdit>
#include <QPushButton>
#include <QSignalSpy>
#include <QSpinBox>
#include <QStackedWidget>
#include <QTest>

using zelt::util::numeric::Range;
using zelt::widget::measure::PowerSupplyLCD;

Q_DECLARE_METATYPE(zelt::util::numeric::Range)

namespace zelt::util::numeric {
char* toString(Range const& range)
{
    return QTest::toString(QStringLiteral("[%1, %2]").arg(range.minimum).arg(range.maximum));
}
} // namespace zelt::util::numeric

namespace {

QString const kModel = QStringLiteral("KVR9040-40");

// The setting lines (no query) that the instrument received.
QStringList settingLines(kvrsim::SimServer const& server)
{
    QStringList lines;
    for (QString const& line : server.receivedLines()) {
        if (!line.contains(QLatin1Char('?')))
            lines << line;
    }
    return lines;
}

// The window's coarse timers: the sample timer is the only one.
QList<QAbstractEventDispatcher::TimerInfo> sampleTimers(QObject* window)
{
    QList<QAbstractEventDispatcher::TimerInfo> found;
    for (auto const& timer : QAbstractEventDispatcher::instance()->registeredTimers(window)) {
        if (timer.timerType == Qt::CoarseTimer)
            found << timer;
    }
    return found;
}

} // namespace

class TestKvr9000Window : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

    void pollsWithoutAClick();
    void startTogglesTheRun();
    void closeDuringRunWaitsForStop();

    void editOfSpinVIsSentAndHeldOff();
    void outputButtonLightsWithTheInstrument();
    void passingThroughSpinVSendsNothing();
    void leavingRateSpinSendsItsValue();
    void focusedSpinKeepsItsText();
    void samplesFillWidgetsWithoutSending();
    void powerModeOnPanel_data();
    void powerModeOnPanel();

    void spinRangesOfModel_data();
    void spinRangesOfModel();
    void parseRange_data();
    void parseRange();

    void optionsDialog_data();
    void optionsDialog();

    void unknownModelFailsToRun();
    void grabPanel_data();
    void grabPanel();

private:
    // Opens the default window and waits for its first sample.
    KVR9000Window* openRunning(QString const& model = kModel);
    template<typename T> T* child(char const* name) const
    {
        return m_window ? m_window->findChild<T*>(QLatin1String(name)) : nullptr;
    }
    MyDMM* driver() const { return m_window ? m_window->findChild<MyDMM*>() : nullptr; }
    bool waitForSamples(int count)
    {
        QSignalSpy samples(driver(), &MyDMM::updateData);
        return waitUntil([&] { return samples.count() >= count; });
    }
    PowerSupplyLCD* lcd() const { return m_window ? m_window->findChild<PowerSupplyLCD*>() : nullptr; }

    KVR9000 m_plugin;
    kvrsim::SimServer m_server;
    QPointer<KVR9000Window> m_window;
};

void TestKvr9000Window::initTestCase()
{
    isolateSettings(QStringLiteral("tst_kvr9000window"));
}

void TestKvr9000Window::init()
{
    QSettings().clear();
    QVERIFY2(startSimulator(m_server, kModel), qPrintable(m_server.errorString()));
}

void TestKvr9000Window::cleanup()
{
    if (m_window) {
        m_window->close();
        QVERIFY(waitUntil([this] { return m_window.isNull(); }));
    }
    m_server.stop();
}

KVR9000Window* TestKvr9000Window::openRunning(QString const& model)
{
    m_window = openWindow(m_plugin, m_server, model);
    if (!m_window)
        return nullptr;
    // The first sample releases the control groups.
    auto* option = child<QGroupBox>("widgetOption");
    if (!waitUntil([option] { return option->isEnabled(); }))
        return nullptr;
    return m_window;
}

void TestKvr9000Window::pollsWithoutAClick()
{
    m_window = openWindow(m_plugin, m_server, kModel);
    QVERIFY(m_window);
    QSignalSpy opened(m_window.data(), &zelt::widget::EquipmentWindow::opened);
    QCOMPARE(opened.count(), 0);

    auto* start = child<QAction>("actionStart");
    QVERIFY(waitUntil([&] { return start->isChecked(); }));
    QVERIFY(start->isEnabled());
    QVERIFY(child<QAction>("actionProgrammer")->isEnabled());
    QVERIFY(waitUntil([&] { return opened.count() == 1; }));
    QCOMPARE(opened.count(), 1);
    QCOMPARE(opened.first().first().value<QSharedPointer<zelt::widget::EquipmentInfo>>(),
             m_window->equipment());

    QVERIFY(waitUntil([&] { return m_server.receivedLines().contains(QStringLiteral(":MEASure:ALL?")); }));
    QVERIFY(waitUntil([&] { return child<QGroupBox>("widgetOption")->isEnabled(); }));
    QVERIFY(child<QGroupBox>("widgetQuickSetting")->isEnabled());
    QVERIFY(!child<QAction>("actionTest")->isVisible());
}

void TestKvr9000Window::startTogglesTheRun()
{
    QVERIFY(openRunning());
    auto* start = child<QAction>("actionStart");
    auto* programmer = child<QAction>("actionProgrammer");
    auto* option = child<QGroupBox>("widgetOption");
    MyDMM* dmm = driver();

    start->trigger();
    // No second click until the driver has answered.
    QVERIFY(!start->isEnabled());
    QVERIFY(!start->isCheckable());
    QVERIFY(waitUntil([&] { return start->isEnabled(); }));
    QVERIFY(start->isCheckable());
    QVERIFY(!start->isChecked());
    QVERIFY(!programmer->isEnabled());
    QVERIFY(!option->isEnabled());
    QVERIFY(!dmm->active());

    start->trigger();
    QVERIFY(!start->isEnabled());
    QVERIFY(!programmer->isEnabled());
    QVERIFY(waitUntil([&] { return start->isChecked(); }));
    QVERIFY(programmer->isEnabled());
    QVERIFY(waitUntil([&] { return option->isEnabled(); }));

    // Pause stops the recording only: the driver goes on publishing.
    child<QAction>("actionPause")->trigger();
    QVERIFY(child<QAction>("actionPause")->isChecked());
    QSignalSpy samples(dmm, &MyDMM::updateData);
    QVERIFY(samples.wait(5000));
    QVERIFY(start->isChecked());
}

void TestKvr9000Window::closeDuringRunWaitsForStop()
{
    QVERIFY(openRunning());
    QSignalSpy stopped(driver(), &zelt::measure::MeasureInst::stoped);
    QSignalSpy closed(m_window.data(), &zelt::widget::EquipmentWindow::closed);

    QVERIFY(!m_window->close());
    QVERIFY(m_window);
    QCOMPARE(stopped.count(), 0);
    QVERIFY(!QSettings().childGroups().contains(kModel));

    QVERIFY(waitUntil([&] { return m_window.isNull(); }));
    QCOMPARE(stopped.count(), 1);
    QCOMPARE(closed.count(), 1);

    QSettings settings;
    settings.beginGroup(kModel);
    QCOMPARE(settings.value("SampleInfinitely").toBool(), true);
    QCOMPARE(settings.value("SamplePoints").toInt(), 9999);
    QCOMPARE(settings.value("SampleInterval").toInt(), 0);
    QVERIFY(settings.contains("QuickSettings"));
}

void TestKvr9000Window::editOfSpinVIsSentAndHeldOff()
{
    QVERIFY(openRunning());
    QVERIFY(QTest::qWaitForWindowActive(m_window));
    auto* spinV = child<QDoubleSpinBox>("spinV");
    auto* option = child<QGroupBox>("widgetOption");
    auto* quick = child<QGroupBox>("widgetQuickSetting");

    // What the panel is like after each sample that follows the edit.
    QList<bool> enabled;
    QList<double> shown;
    connect(driver(), &MyDMM::updateData, this, [&] {
        enabled << (option->isEnabled() && quick->isEnabled());
        shown << spinV->value();
    });

    m_server.clearLog();
    spinV->setFocus();
    QVERIFY(waitUntil([&] { return spinV->hasFocus(); }));
    spinV->selectAll();
    QTest::keyClicks(spinV, QStringLiteral("12.5"));
    QCOMPARE(settingLines(m_server), QStringList());
    enabled.clear();
    QTest::keyClick(spinV, Qt::Key_Return);
    QVERIFY(!option->isEnabled());
    QVERIFY(!quick->isEnabled());

    QVERIFY(waitUntil([&] {
        return settingLines(m_server) == QStringList {QStringLiteral(":SOURce:VOLTage:LEVel 12.5")};
    }));
    QCOMPARE(settingLines(m_server), QStringList {QStringLiteral(":SOURce:VOLTage:LEVel 12.5")});
    QVERIFY(waitUntil([&] { return enabled.size() >= 3; }));
    QCOMPARE(enabled.mid(0, 3), (QList<bool> {false, true, true}));
    QCOMPARE(shown.at(1), 12.5);
    QCOMPARE(m_server.instrument().settings().voltage, 12.5);
    QCOMPARE(settingLines(m_server).size(), 1);
}

void TestKvr9000Window::outputButtonLightsWithTheInstrument()
{
    QVERIFY(openRunning());
    auto* output = child<QPushButton>("btnOutput");
    QCOMPARE(output->styleSheet(), QString());

    QStringList styles;
    connect(driver(), &MyDMM::updateData, this, [&] { styles << output->styleSheet(); });
    m_server.clearLog();
    QTest::mouseClick(output, Qt::LeftButton);
    QVERIFY(!child<QGroupBox>("widgetOption")->isEnabled());
    QVERIFY(waitUntil([&] { return styles.size() >= 2; }));
    QCOMPARE(settingLines(m_server).size(), 1);
    QVERIFY(settingLines(m_server).first().startsWith(QStringLiteral(":OUTPut:STATe ")));
    QVERIFY(m_server.instrument().outputOn());
    // The first sample after the click may predate the command; the second shows it.
    QCOMPARE(styles.at(0), QString());
    QCOMPARE(styles.at(1), QStringLiteral("background-color:rgb(0,255,0);border: 1px solid #808080;"));
}

void TestKvr9000Window::passingThroughSpinVSendsNothing()
{
    QVERIFY(openRunning());
    QVERIFY(QTest::qWaitForWindowActive(m_window));
    auto* spinV = child<QDoubleSpinBox>("spinV");
    auto* spinA = child<QDoubleSpinBox>("spinA");

    m_server.clearLog();
    spinV->setFocus();
    QVERIFY(waitUntil([&] { return spinV->hasFocus(); }));
    QTest::keyClick(spinV, Qt::Key_Tab);
    QVERIFY(waitUntil([&] { return spinA->hasFocus(); }));
    QTest::keyClick(spinA, Qt::Key_Tab);
    QVERIFY(child<QDoubleSpinBox>("spinOvp")->hasFocus());

    QVERIFY(waitForSamples(2));
    QCOMPARE(settingLines(m_server), QStringList());
    QVERIFY(child<QGroupBox>("widgetOption")->isEnabled());
}

void TestKvr9000Window::leavingRateSpinSendsItsValue()
{
    m_server.instrument().setOutputMode(QStringLiteral("VSR"));
    m_server.instrument().setVoltageRising(2.5);
    QVERIFY(openRunning());
    QVERIFY(QTest::qWaitForWindowActive(m_window));
    auto* stack = child<QStackedWidget>("stackedWidgetSROption");
    auto* rising = child<QDoubleSpinBox>("spinVSRRising");
    QVERIFY(waitUntil([&] { return !stack->isHidden(); }));
    QCOMPARE(stack->currentWidget()->objectName(), QStringLiteral("pageVSR"));
    QCOMPARE(child<QComboBox>("cbbSRMode")->currentData().toString(), QStringLiteral("VSR"));
    QCOMPARE(rising->value(), 2.5);

    QList<bool> enabled;
    connect(driver(), &MyDMM::updateData, this,
            [&] { enabled << child<QGroupBox>("widgetOption")->isEnabled(); });
    m_server.clearLog();
    rising->setFocus();
    QVERIFY(waitUntil([&] { return rising->hasFocus(); }));
    enabled.clear();
    QTest::keyClick(rising, Qt::Key_Tab);
    QVERIFY(!child<QGroupBox>("widgetOption")->isEnabled());
    QVERIFY(waitUntil([&] {
        return settingLines(m_server) == QStringList {QStringLiteral(":SOURce:VOLTage:SLEW:RISing 2.5")};
    }));
    QCOMPARE(settingLines(m_server), QStringList {QStringLiteral(":SOURce:VOLTage:SLEW:RISing 2.5")});
    QVERIFY(waitUntil([&] { return enabled.size() >= 2; }));
    QCOMPARE(enabled.mid(0, 2), (QList<bool> {false, true}));
}

void TestKvr9000Window::focusedSpinKeepsItsText()
{
    QVERIFY(openRunning());
    QVERIFY(QTest::qWaitForWindowActive(m_window));
    auto* spinV = child<QDoubleSpinBox>("spinV");
    auto* spinA = child<QDoubleSpinBox>("spinA");

    spinV->setFocus();
    QVERIFY(waitUntil([&] { return spinV->hasFocus(); }));
    spinV->selectAll();
    QTest::keyClicks(spinV, QStringLiteral("3.3"));
    QString const typed = spinV->text();

    m_server.clearLog();
    m_server.instrument().setVoltage(5.0);
    m_server.instrument().setCurrent(2.5);
    QVERIFY(waitUntil([&] { return spinA->value() == 2.5; }));
    QCOMPARE(spinA->value(), 2.5);
    QVERIFY(waitForSamples(2));
    QCOMPARE(driver()->lastMeasureData()->activeChannel()->voltage.level.value, 5.0);
    QCOMPARE(spinV->text(), typed);
    QVERIFY(spinV->hasFocus());
    QCOMPARE(settingLines(m_server), QStringList());
}

void TestKvr9000Window::samplesFillWidgetsWithoutSending()
{
    QVERIFY(openRunning());
    m_server.clearLog();
    kvrsim::KvrInstrument& unit = m_server.instrument();
    unit.setVoltage(24.0);
    unit.setCurrent(3.0);
    unit.setOvpLevel(30.0);
    unit.setOcpLevel(5.0);
    unit.setOvpEnabled(true);
    unit.setOcpEnabled(true);
    unit.setOutputMode(QStringLiteral("ISR"));
    unit.setCurrentFalling(7.5);
    unit.setBeeper(false);
    unit.setPowerDown(true);
    unit.setBrightness(55);
    unit.setResistance(0.25);
    unit.setPowerOut(QStringLiteral("KEEP"));
    unit.setEload(QStringLiteral("ON"));
    unit.setOvpDelay(250);
    unit.setOcpDelay(400);
    unit.setOutput(true);

    QVERIFY(waitUntil([&] { return child<QDoubleSpinBox>("spinV")->value() == 24.0; }));
    QCOMPARE(child<QDoubleSpinBox>("spinV")->value(), 24.0);
    QString const lit = QStringLiteral("background-color:rgb(0,255,0);border: 1px solid #808080;");
    QVERIFY(waitUntil([&] { return child<QPushButton>("btnOutput")->styleSheet() == lit; }));
    QCOMPARE(child<QDoubleSpinBox>("spinA")->value(), 3.0);
    QCOMPARE(child<QDoubleSpinBox>("spinOvp")->value(), 30.0);
    QCOMPARE(child<QDoubleSpinBox>("spinOcp")->value(), 5.0);
    QVERIFY(child<QCheckBox>("cbOVP")->isChecked());
    QVERIFY(child<QCheckBox>("cbOCP")->isChecked());
    QCOMPARE(child<QComboBox>("cbbSRMode")->currentData().toString(), QStringLiteral("ISR"));
    QCOMPARE(child<QStackedWidget>("stackedWidgetSROption")->currentWidget()->objectName(),
             QStringLiteral("pageISR"));
    QCOMPARE(child<QDoubleSpinBox>("spinISRFalling")->value(), 7.5);
    QVERIFY(!child<QCheckBox>("checkBeeper")->isChecked());
    QVERIFY(child<QCheckBox>("checkPowerDown")->isChecked());
    QCOMPARE(child<QDoubleSpinBox>("spinBrightness")->value(), 55.0);
    QCOMPARE(child<QDoubleSpinBox>("spinInternalRES")->value(), 0.25);
    QCOMPARE(child<QComboBox>("cbbPowerOut")->currentData().toString(), QStringLiteral("KEEP"));
    QCOMPARE(child<QComboBox>("cbbEload")->currentData().toString(), QStringLiteral("ON"));
    QCOMPARE(child<QSpinBox>("spinOVPDelay")->value(), 250);
    QCOMPARE(child<QSpinBox>("spinOCPDelay")->value(), 400);

    // The live panel: lit with the output, the regulation and the protections.
    QVERIFY(waitUntil([&] { return lcd()->measure()->isStateOn(2); }));
    QCOMPARE(lcd()->headerWidget(1)->text(), QStringLiteral("ISR"));
    QVERIFY(lcd()->headerWidget(2)->isStateOn(2));
    QVERIFY(lcd()->headerWidget(3)->isStateOn(2));
    QVERIFY(lcd()->headerWidget(4)->isStateOn(2));
    QSharedPointer<DmmData> const last = driver()->lastMeasureData();
    QCOMPARE(lcd()->headerWidget(2)->text(), last->activeChannel()->cvcc);
    QCOMPARE(lcd()->measureWidget(1)->value(), dmmhelper::VBText(last->activeChannel()->voltage.measured));
    QCOMPARE(lcd()->measureWidget(5)->value(), dmmhelper::VBText(last->activeChannel()->power));

    // Whatever a sample might have sent would reach the instrument before the next one.
    QVERIFY(waitForSamples(2));
    QCOMPARE(settingLines(m_server), QStringList());
}

void TestKvr9000Window::powerModeOnPanel_data()
{
    QTest::addColumn<QString>("mode");
    QTest::addColumn<int>("id");
    QTest::addColumn<QString>("header");
    // Visibility of the group's voltage, current and power readouts.
    QTest::addColumn<QList<bool>>("groups");
    QTest::addColumn<bool>("setPoints");
    QTest::addColumn<bool>("slaveId");
    QTest::addColumn<bool>("resistance");

    QTest::newRow("Normal") << "Normal" << 1 << "Normal" << QList<bool> {false, false, false} << true << false
                            << true;
    QTest::newRow("PARAMaster") << "PARAMaster" << 1 << "P Master" << QList<bool> {false, true, true} << true
                                << false << false;
    QTest::newRow("PARASlave") << "PARASlave" << 2 << "P Slave 2" << QList<bool> {false, true, true} << true
                               << true << false;
    QTest::newRow("SERMaster") << "SERMaster" << 1 << "S Master" << QList<bool> {true, false, true} << true
                               << false << false;
    QTest::newRow("SERSlave") << "SERSlave" << 1 << "S Slave 1" << QList<bool> {true, false, true} << true
                              << true << false;
    QTest::newRow("EXT_V") << "EXT_V" << 1 << "Ext-V" << QList<bool> {false, false, false} << false << false
                           << false;
}

void TestKvr9000Window::powerModeOnPanel()
{
    QFETCH(QString, mode);
    QFETCH(int, id);
    QFETCH(QString, header);
    QFETCH(QList<bool>, groups);
    QFETCH(bool, setPoints);
    QFETCH(bool, slaveId);
    QFETCH(bool, resistance);

    QVERIFY(openRunning());
    m_server.clearLog();
    QCOMPARE(m_server.instrument().setPowerId(id), 0);
    QCOMPARE(m_server.instrument().setPowerMode(mode), 0);

    QVERIFY(waitUntil([&] { return lcd()->headerWidget(0)->text() == header; }));
    QCOMPARE(lcd()->headerWidget(0)->text(), header);
    QVERIFY(waitUntil([&] { return child<QComboBox>("cbbMode")->currentData().toString() == mode; }));
    QCOMPARE(child<QComboBox>("cbbMode")->currentData().toString(), mode);
    // Positions 0, 2 and 4 of the readings hold the group's voltage, current and power.
    QCOMPARE(!lcd()->measureWidget(0)->isHidden(), groups.at(0));
    QCOMPARE(!lcd()->measureWidget(2)->isHidden(), groups.at(1));
    QCOMPARE(!lcd()->measureWidget(4)->isHidden(), groups.at(2));
    QCOMPARE(child<QDoubleSpinBox>("spinV")->isEnabled(), setPoints);
    QCOMPARE(child<QDoubleSpinBox>("spinA")->isEnabled(), setPoints);
    QCOMPARE(child<QSpinBox>("spinSlaveID")->isEnabled(), slaveId);
    QCOMPARE(child<QDoubleSpinBox>("spinInternalRES")->isEnabled(), resistance);

    Channel const* channel = driver()->lastMeasureData()->activeChannel();
    if (groups.at(2)) {
        bool const series = groups.at(0);
        QCOMPARE(lcd()->measureWidget(4)->value(),
                 dmmhelper::VBText(series ? channel->seriesPower : channel->parallelPower));
        QCOMPARE(
            lcd()->measureWidget(0)->value(),
            dmmhelper::VBText(series ? channel->seriesVoltage.measured : channel->parallelVoltage.measured));
    }
    QVERIFY(waitForSamples(2));
    QCOMPARE(settingLines(m_server), QStringList());
}

void TestKvr9000Window::spinRangesOfModel_data()
{
    QTest::addColumn<double>("voltageMinimum");
    QTest::addColumn<double>("voltageMaximum");
    QTest::addColumn<double>("currentMaximum");
    QTest::addColumn<double>("powerMaximum");

    auto row = [](char const* model, double vmin, double vmax, double amax, double pmax) {
        QTest::newRow(model) << vmin << vmax << amax << pmax;
    };
    row("KVR9040-40", 0.1, 42, 42, 800);
    row("KVR9080-20", 0.1, 84, 21, 800);
    row("KVR9160-8", 0.5, 168, 8.4, 400);
    row("KVR9250-6", 0.5, 262.5, 6.3, 400);
    row("KVR9040-80", 0.1, 42, 84, 1200);
    row("KVR9080-40", 0.1, 84, 42, 1200);
    row("KVR9160-16", 0.5, 168, 16.8, 800);
    row("KVR9250-12", 0.5, 262.5, 12.6, 800);
    row("KVR9040-120", 0.1, 42, 126, 1200);
    row("KVR9080-60", 0.1, 84, 63, 1200);
    row("KVR9160-24", 0.5, 168, 25.2, 1200);
    row("KVR9250-18", 0.5, 262.5, 18.9, 1200);
    row("KVR9040-200", 0.1, 42, 210, 2000);
    row("KVR9080-100", 0.1, 84, 105, 2000);
    row("KVR9160-40", 0.5, 168, 42, 1600);
    row("KVR9250-30", 0.5, 262.5, 31.5, 1875);
    row("KVR9800-2", 0.1, 840, 2.1, 800);
    row("KVR9800-4", 0.1, 840, 4.2, 1200);
    row("KVR9800-6", 0.1, 840, 6.3, 1200);
    row("KVR9800-10", 0.1, 840, 10.5, 2000);
}

void TestKvr9000Window::spinRangesOfModel()
{
    QFETCH(double, voltageMinimum);
    QFETCH(double, voltageMaximum);
    QFETCH(double, currentMaximum);
    QFETCH(double, powerMaximum);
    QString const model = QString::fromLatin1(QTest::currentDataTag());

    QVERIFY2(startSimulator(m_server, model), qPrintable(m_server.errorString()));
    QVERIFY(openRunning(model));
    for (char const* name : {"spinV", "spinOvp"}) {
        auto* spin = child<QDoubleSpinBox>(name);
        QCOMPARE(spin->minimum(), voltageMinimum);
        QCOMPARE(spin->maximum(), voltageMaximum);
    }
    for (char const* name : {"spinA", "spinOcp"}) {
        auto* spin = child<QDoubleSpinBox>(name);
        QCOMPARE(spin->minimum(), 0.0);
        QCOMPARE(spin->maximum(), currentMaximum);
    }
    // The driver gets the limits of the model text, the power snapped up.
    ChannelLimitRange const& limits = driver()->geChannelLimitRange().at(0);
    QCOMPARE(limits.powerRange, Range(0, powerMaximum));
    QCOMPARE(limits.voltageRange.minimum, voltageMinimum);
}

void TestKvr9000Window::parseRange_data()
{
    QTest::addColumn<QString>("model");
    QTest::addColumn<bool>("matches");
    QTest::addColumn<double>("minimum");
    QTest::addColumn<Range>("voltage");
    QTest::addColumn<Range>("current");
    QTest::addColumn<Range>("power");

    Range const untouched(-1, -1);
    QTest::newRow("320 W snaps to 400")
        << "KVR9160-8" << true << 0.5 << Range(0.5, 160) << Range(0, 8) << Range(0, 400);
    QTest::newRow("exactly 400 W gives 800")
        << "KVR9040-40" << true << 0.1 << Range(0.1, 40) << Range(0, 40) << Range(0, 800);
    QTest::newRow("750 W snaps to 800")
        << "KVR9250-12" << true << 0.5 << Range(0.5, 250) << Range(0, 12) << Range(0, 800);
    QTest::newRow("exactly 800 W gives 1200")
        << "KVR9080-40" << true << 0.1 << Range(0.1, 80) << Range(0, 40) << Range(0, 1200);
    QTest::newRow("1200 W stays") << "KVR9800-6" << true << 0.1 << Range(0.1, 800) << Range(0, 6)
                                  << Range(0, 1200);
    QTest::newRow("2000 W beyond the snap points")
        << "KVR9040-200" << true << 0.1 << Range(0.1, 40) << Range(0, 200) << Range(0, 2000);
    QTest::newRow("case of the letters")
        << "kvr9250-30" << true << 0.5 << Range(0.5, 250) << Range(0, 30) << Range(0, 1875);
    QTest::newRow("ends in the dash")
        << "KVR9080-" << true << 0.1 << Range(0.1, 80) << Range(0, 0) << Range(0, 400);
    QTest::newRow("no dash") << "KVR9040" << false << 0.1 << untouched << untouched << untouched;
    QTest::newRow("two digits of voltage")
        << "KVR40-40" << false << 0.1 << untouched << untouched << untouched;
    QTest::newRow("letters behind the dash")
        << "KVR9040-40A" << false << 0.1 << untouched << untouched << untouched;
    QTest::newRow("empty") << "" << false << 0.1 << untouched << untouched << untouched;
}

void TestKvr9000Window::parseRange()
{
    QFETCH(QString, model);
    QFETCH(bool, matches);
    QFETCH(double, minimum);
    QFETCH(Range, voltage);
    QFETCH(Range, current);
    QFETCH(Range, power);

    Range v(-1, -1);
    Range a(-1, -1);
    Range p(-1, -1);
    QCOMPARE(KVR9000Window::parseRange(model, v, a, p), matches);
    QCOMPARE(v, voltage);
    QCOMPARE(a, current);
    QCOMPARE(p, power);
    QCOMPARE(KVR9000Window::getMinVoltage(model), minimum);
}

void TestKvr9000Window::optionsDialog_data()
{
    QTest::addColumn<int>("storedInterval"); // -1: no settings stored
    QTest::addColumn<bool>("accept");
    QTest::addColumn<bool>("infinite");
    QTest::addColumn<int>("points");
    QTest::addColumn<int>("interval");
    QTest::addColumn<int>("timerInterval"); // 0: no sample timer afterwards

    QTest::newRow("accepted, first interval") << -1 << true << false << 100 << 250 << 250;
    QTest::newRow("accepted, new interval") << 300 << true << true << 50 << 600 << 600;
    QTest::newRow("accepted, interval 0 stops the timer") << 300 << true << true << 50 << 0 << 0;
    QTest::newRow("rejected keeps the timer") << 300 << false << true << 7 << 0 << 300;
}

void TestKvr9000Window::optionsDialog()
{
    QFETCH(int, storedInterval);
    QFETCH(bool, accept);
    QFETCH(bool, infinite);
    QFETCH(int, points);
    QFETCH(int, interval);
    QFETCH(int, timerInterval);

    bool const storedInfinite = storedInterval < 0;
    int const storedPoints = storedInterval < 0 ? 9999 : 20;
    if (storedInterval >= 0) {
        QSettings settings;
        settings.beginGroup(kModel);
        settings.setValue("SampleInfinitely", false);
        settings.setValue("SamplePoints", storedPoints);
        settings.setValue("SampleInterval", storedInterval);
    }
    QVERIFY(openRunning());
    auto const before = sampleTimers(m_window);
    QCOMPARE(before.size(), storedInterval > 0 ? 1 : 0);
    if (storedInterval > 0)
        QCOMPARE(before.first().interval, storedInterval);
    // Whatever the dialog's result, the settings are written anew.
    QSettings().remove(kModel);

    // What the dialog showed, read before it is closed.
    struct Shown
    {
        bool seen = false;
        QString title;
        bool infinite = false;
        bool pointsEnabled = false;
        int points = 0;
        int interval = 0;
        bool pointsEnabledAfterToggle = false;
    } shown;
    QTimer watcher;
    watcher.setInterval(10);
    connect(&watcher, &QTimer::timeout, this, [&] {
        auto* dialog = qobject_cast<DlgOption*>(QApplication::activeModalWidget());
        if (!dialog || shown.seen)
            return;
        shown.seen = true;
        shown.title = dialog->windowTitle();
        shown.infinite = dialog->findChild<QCheckBox*>("cbInfinite")->isChecked();
        shown.pointsEnabled = dialog->findChild<QSpinBox*>("spinSamplePoints")->isEnabled();
        shown.points = dialog->findChild<QSpinBox*>("spinSamplePoints")->value();
        shown.interval = dialog->findChild<QSpinBox*>("spinSampleInterval")->value();
        if (dialog->findChild<QCheckBox*>("cbInfinite")->isChecked() != infinite)
            dialog->findChild<QCheckBox*>("cbInfinite")->click();
        shown.pointsEnabledAfterToggle = dialog->findChild<QSpinBox*>("spinSamplePoints")->isEnabled();
        dialog->findChild<QSpinBox*>("spinSamplePoints")->setValue(points);
        dialog->findChild<QSpinBox*>("spinSampleInterval")->setValue(interval);
        if (accept)
            dialog->findChild<QPushButton*>("btnOK")->click();
        else
            dialog->reject();
    });
    watcher.start();
    child<QAction>("actionOptions")->trigger();
    watcher.stop();

    QVERIFY(shown.seen);
    QCOMPARE(shown.title, QStringLiteral("Options"));
    QCOMPARE(shown.infinite, storedInfinite);
    QCOMPARE(shown.pointsEnabled, !storedInfinite);
    QCOMPARE(shown.points, storedPoints);
    QCOMPARE(shown.interval, qMax(storedInterval, 0));
    QCOMPARE(shown.pointsEnabledAfterToggle, !infinite);

    auto const after = sampleTimers(m_window);
    QCOMPARE(after.size(), timerInterval > 0 ? 1 : 0);
    if (timerInterval > 0) {
        QCOMPARE(after.first().interval, timerInterval);
        if (!accept)
            QCOMPARE(after.first().timerId, before.first().timerId);
    }

    QSettings settings;
    settings.beginGroup(kModel);
    QCOMPARE(settings.value("SampleInfinitely").toBool(), accept ? infinite : storedInfinite);
    QCOMPARE(settings.value("SamplePoints").toInt(), accept ? points : storedPoints);
    QCOMPARE(settings.value("SampleInterval").toInt(), accept ? interval : qMax(storedInterval, 0));
}

void TestKvr9000Window::unknownModelFailsToRun()
{
    MessageBoxWatcher boxes;
    QString const model = QStringLiteral("KVR9040");
    auto const info = zelt::widget::EquipmentInfo::makeVisa(model, QStringLiteral("KVR9000"), model,
                                                            m_server.resourceString());
    m_window = qobject_cast<KVR9000Window*>(m_plugin.window(info));
    QVERIFY(m_window);
    QCOMPARE(boxes.texts, QStringList {QStringLiteral("Run failed!")});
    QCOMPARE(boxes.titles, QStringList {QString()});
    QCOMPARE(boxes.icons, QList<QMessageBox::Icon> {QMessageBox::Critical});
    QVERIFY(!driver());
    QVERIFY(!lcd());
    QCOMPARE(sampleTimers(m_window).size(), 0);
    QCOMPARE(m_server.connectionCount(), 0);
}

void TestKvr9000Window::grabPanel_data()
{
    QTest::addColumn<QString>("mode");
    QTest::newRow("Normal") << "Normal";
    QTest::newRow("SERSlave") << "SERSlave";
}

void TestKvr9000Window::grabPanel()
{
    QFETCH(QString, mode);
    kvrsim::KvrInstrument& unit = m_server.instrument();
    unit.setPowerMode(mode);
    unit.setVoltage(12.0);
    unit.setCurrent(2.0);
    unit.setOvpEnabled(true);
    unit.setOutput(true);
    QVERIFY(openRunning());
    m_window->resize(1100, 820);
    QVERIFY(waitUntil([&] { return lcd()->measure()->isStateOn(2); }));
    QVERIFY(waitUntil([&] { return child<QComboBox>("cbbMode")->currentData().toString() == mode; }));
    QCOMPARE(child<QComboBox>("cbbMode")->currentData().toString(), mode);
    // The panel settles its layout through the event loop: let a few samples pass.
    QSignalSpy samples(driver(), &MyDMM::updateData);
    QVERIFY(waitUntil([&] { return samples.count() >= 3; }));
    QPixmap const picture = m_window->grab();
    QVERIFY(!picture.isNull());
    QVERIFY(picture.save(QStringLiteral(ZELT_TEST_OUTPUT_DIR "/kvr9000window-%1.png").arg(mode)));
}

QTEST_MAIN(TestKvr9000Window)
#include "tst_kvr9000window.moc"
