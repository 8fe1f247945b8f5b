// The KVR9000 window made by the plug-in, driving the simulated instrument over a socket:
// life cycle, control panel, live panel, limits and sampling options.

#include "tests/window/windowharness.h"

#include "driver/dmmhelper.h"
#include "simulator/kvrinstrument.h"
#include "window/dlgoption.h"

#include "widget/measure/powersupplylcd.h"
#include "widget/measure/valuewidget.h"
#include "widget/statelabel.h"

namespace {

QString const kModel = QStringLiteral("KVR9040-40");

// The window's own timers: the sample timer is the only one.
QList<QAbstractEventDispatcher::TimerInfo> sampleTimers(QObject* window)
{
    return QAbstractEventDispatcher::instance()->registeredTimers(window);
}

// The sampling options stored for the model: infinitely, points, interval.
QStringList const kOptionKeys {"SampleInfinitely", "SamplePoints", "SampleInterval"};
QVariantList storedOptions()
{
    QSettings settings;
    settings.beginGroup(kModel);
    return {settings.value(kOptionKeys.at(0)).toBool(), settings.value(kOptionKeys.at(1)).toInt(),
            settings.value(kOptionKeys.at(2)).toInt()};
}

} // namespace

class TestKvr9000Window : public QObject, WindowFixture
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { isolateSettings(QStringLiteral("tst_kvr9000window")); }
    void init()
    {
        QSettings().clear();
        QVERIFY2(startSimulator(kModel), qPrintable(m_server.errorString()));
    }
    void cleanup()
    {
        QVERIFY(closeWindow());
        m_server.stop();
    }

    void lifeCycle();
    void editIsSentAndHeldOff_data();
    void editIsSentAndHeldOff();
    void focusInSpinV();
    void samplesFillPanelWithoutSending();
    void powerModeOnPanel_data();
    void powerModeOnPanel();
    void limitsOfModel_data();
    void limitsOfModel();
    void optionsDialog_data();
    void optionsDialog();
    void unknownModelFailsToRun();

private:
    // Puts the focus into a control of the window, as a click of the user would.
    bool focus(QWidget* widget)
    {
        if (!QTest::qWaitForWindowActive(m_window))
            return false;
        widget->setFocus();
        return waitUntil([widget] { return widget->hasFocus(); });
    }
    auto* lcd() const { return m_window->findChild<zelt::widget::measure::PowerSupplyLCD*>(); }
};

void TestKvr9000Window::lifeCycle()
{
    QVERIFY(open(kModel));
    QSignalSpy opened(m_window.data(), &zelt::widget::EquipmentWindow::opened);
    auto* start = child<QAction>("actionStart");
    auto* programmer = child<QAction>("actionProgrammer");
    auto* option = child<QGroupBox>("widgetOption");

    // Polls without a click.
    QVERIFY(waitUntil([&] { return start->isChecked() && opened.count() == 1 && option->isEnabled(); }));
    QVERIFY(start->isEnabled() && programmer->isEnabled());
    QVERIFY(child<QGroupBox>("widgetQuickSetting")->isEnabled());
    QVERIFY(!child<QAction>("actionTest")->isVisible());

    start->trigger();
    // No second click until the driver has answered.
    QVERIFY(!start->isEnabled() && !start->isCheckable());
    QVERIFY(waitUntil([&] { return start->isEnabled(); }));
    QVERIFY(start->isCheckable() && !start->isChecked());
    QVERIFY(!programmer->isEnabled() && !option->isEnabled() && !driver()->active());

    start->trigger();
    QVERIFY(!start->isEnabled() && !programmer->isEnabled());
    QVERIFY(waitUntil([&] { return start->isChecked() && option->isEnabled(); }));
    QVERIFY(programmer->isEnabled());

    // Closing during a run waits for the driver to stop, then saves the settings.
    QSignalSpy stopped(driver(), &zelt::measure::MeasureInst::stoped);
    QSignalSpy closed(m_window.data(), &zelt::widget::EquipmentWindow::closed);
    QVERIFY(!m_window->close());
    QVERIFY(m_window);
    QCOMPARE(stopped.count(), 0);
    QVERIFY(!QSettings().childGroups().contains(kModel));
    QVERIFY(waitUntil([&] { return m_window.isNull(); }));
    QCOMPARE(stopped.count(), 1);
    QCOMPARE(closed.count(), 1);
    QCOMPARE(storedOptions(), (QVariantList {true, 9999, 0}));
    QVERIFY(QSettings().contains(kModel + QStringLiteral("/QuickSettings")));
}

void TestKvr9000Window::editIsSentAndHeldOff_data()
{
    QTest::addColumn<QString>("typed"); // replaces the text before the key
    QTest::addColumn<int>("key"); // 0: a mouse click
    QTest::addColumn<QString>("line");
    QTest::newRow("spinV") << "12.5" << int(Qt::Key_Return) << ":SOURce:VOLTage:LEVel 12.5";
    QTest::newRow("spinVSRRising") << "" << int(Qt::Key_Tab) << ":SOURce:VOLTage:SLEW:RISing 2.5";
    QTest::newRow("btnOutput") << "" << 0 << ":OUTPut:STATe ON";
    // The handlers connected as functions: a check box, a combo box's item data, and a
    // spin box without the guard, which sends its value when the focus merely leaves it.
    QTest::newRow("cbOVP") << "" << int(Qt::Key_Space) << ":SOURce:VOLTage:PROTection:STATe ON";
    QTest::newRow("cbbPowerOut") << "" << int(Qt::Key_Down) << ":SYSTem:POWER:POWEROut KEEP";
    QTest::newRow("spinOVPDelay") << "" << int(Qt::Key_Tab) << ":SYSTem:POWER:OVPDelay 100";
}

void TestKvr9000Window::editIsSentAndHeldOff()
{
    QFETCH(QString, typed);
    QFETCH(int, key);
    QFETCH(QString, line);
    m_server.instrument().setOutputMode(QStringLiteral("VSR"));
    m_server.instrument().setVoltageRising(2.5);
    QVERIFY(openRunning(kModel));
    auto* edited = child<QWidget>(QTest::currentDataTag());
    auto* spinV = child<QDoubleSpinBox>("spinV");
    auto* option = child<QGroupBox>("widgetOption");
    auto* quick = child<QGroupBox>("widgetQuickSetting");
    QVERIFY(waitUntil([&] { return edited->isVisible(); }));
    if (key)
        QVERIFY(focus(edited));

    // What the panel is like after each sample that follows the edit.
    QList<bool> enabled;
    QList<double> shown;
    connect(driver(), &MyDMM::updateData, this, [&] {
        enabled << (option->isEnabled() && quick->isEnabled());
        shown << spinV->value();
    });
    m_server.clearLog();
    if (!typed.isEmpty()) {
        static_cast<QAbstractSpinBox*>(edited)->selectAll();
        QTest::keyClicks(edited, typed);
    }
    if (key)
        QTest::keyClick(edited, Qt::Key(key));
    else
        QTest::mouseClick(edited, Qt::LeftButton);
    QVERIFY(!option->isEnabled() && !quick->isEnabled());

    QVERIFY(waitUntil([&] { return enabled.size() >= 3; }));
    QCOMPARE(enabled.mid(0, 3), (QList<bool> {false, true, true}));
    // Once released, the panel shows what the instrument has.
    QCOMPARE(shown.at(1), m_server.instrument().settings().voltage);
    QCOMPARE(settingLines(), QStringList {line});
}

void TestKvr9000Window::focusInSpinV()
{
    QVERIFY(openRunning(kModel));
    auto* spinV = child<QDoubleSpinBox>("spinV");
    auto* spinA = child<QDoubleSpinBox>("spinA");
    // Tabbing through unchanged spin boxes sends nothing and holds nothing off.
    m_server.clearLog();
    QVERIFY(focus(spinV));
    QTest::keyClick(spinV, Qt::Key_Tab);
    QVERIFY(waitUntil([&] { return spinA->hasFocus(); }));
    QTest::keyClick(spinA, Qt::Key_Tab);
    QVERIFY(child<QDoubleSpinBox>("spinOvp")->hasFocus());
    QVERIFY(waitForSamples(2));
    QCOMPARE(settingLines(), QStringList());
    QVERIFY(child<QGroupBox>("widgetOption")->isEnabled());

    // A polled value leaves the text being typed alone; the other spin boxes follow.
    QVERIFY(focus(spinV));
    spinV->selectAll();
    QTest::keyClicks(spinV, QStringLiteral("3.3"));
    QString const typed = spinV->text();
    m_server.instrument().setVoltage(5.0);
    m_server.instrument().setCurrent(2.5);
    QVERIFY(waitUntil([&] { return spinA->value() == 2.5; }));
    QVERIFY(waitForSamples(2));
    QCOMPARE(driver()->lastMeasureData()->activeChannel()->voltage.level.value, 5.0);
    QCOMPARE(spinV->text(), typed);
    QVERIFY(spinV->hasFocus());
    QCOMPARE(settingLines(), QStringList());
}

void TestKvr9000Window::samplesFillPanelWithoutSending()
{
    QVERIFY(openRunning(kModel));
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

    QVERIFY(waitUntil([&] {
        return child<QPushButton>("btnOutput")->styleSheet()
            == QStringLiteral("background-color:rgb(0,255,0);border: 1px solid #808080;");
    }));
    QStringList const expected
        = QStringLiteral("spinV=24, spinA=3, spinOvp=30, spinOcp=5, cbOVP=true, cbOCP=true, "
                         "cbbSRMode=CC SlewRate, spinISRFalling=7.5, checkBeeper=false, checkPowerDown=true, "
                         "spinBrightness=55, spinInternalRES=0.25, cbbPowerOut=Keep, cbbEload=ON, "
                         "spinOVPDelay=250, spinOCPDelay=400")
              .split(QStringLiteral(", "));
    QStringList shown;
    for (QString const& entry : expected) {
        QString const name = entry.section('=', 0, 0);
        auto* widget = child<QWidget>(qPrintable(name));
        shown << name + '=' + widget->metaObject()->userProperty().read(widget).toString();
    }
    QCOMPARE(shown, expected);
    QCOMPARE(child<QStackedWidget>("stackedWidgetSROption")->currentWidget()->objectName(),
             QStringLiteral("pageISR"));
    // The limits of the model text, 5 % above the rating.
    QList<double> ranges;
    for (char const* name : {"spinV", "spinOvp", "spinA", "spinOcp"})
        ranges << child<QDoubleSpinBox>(name)->minimum() << child<QDoubleSpinBox>(name)->maximum();
    QCOMPARE(ranges, (QList<double> {0.1, 42, 0.1, 42, 0, 42, 0, 42}));

    // The live panel: lit with the output, the regulation and the protections.
    QVERIFY(waitUntil([&] { return lcd()->measure()->isStateOn(2); }));
    QCOMPARE(lcd()->headerWidget(1)->text(), QStringLiteral("ISR"));
    for (int header : {2, 3, 4})
        QVERIFY(lcd()->headerWidget(header)->isStateOn(2));
    Channel const* channel = driver()->lastMeasureData()->activeChannel();
    QCOMPARE(lcd()->headerWidget(2)->text(), channel->cvcc);
    QCOMPARE(lcd()->measureWidget(1)->value(), dmmhelper::VBText(channel->voltage.measured));
    QCOMPARE(lcd()->measureWidget(5)->value(), dmmhelper::VBText(channel->power));

    // In the space that the host's 1280 x 800 window leaves a maximized instrument window,
    // no control is squeezed below its size hint.
    QWidget* content = m_window->widget();
    m_window->resize(1280, 754 + m_window->height() - content->height());
    QVERIFY(waitUntil([&] { return content->height() == 754; }));
    // Whatever a sample might have sent would reach the instrument before the next one.
    QVERIFY(waitForSamples(2));
    QCOMPARE(settingLines(), QStringList());
    QStringList squeezed;
    for (QWidget* control : child<QWidget>("widgetCH1")->findChildren<QWidget*>()) {
        bool const isControl = qobject_cast<QAbstractSpinBox*>(control) || qobject_cast<QComboBox*>(control)
            || qobject_cast<QAbstractButton*>(control);
        QSize const hint = control->sizeHint();
        if (isControl && control->isVisible()
            && (control->height() < hint.height() || control->width() < hint.width()))
            squeezed << control->objectName();
    }
    QCOMPARE(squeezed, QStringList());
}

void TestKvr9000Window::powerModeOnPanel_data()
{
    QTest::addColumn<int>("id");
    QTest::addColumn<QString>("header");
    // Visible group readouts of voltage, current and power; enabled spinV, spinA,
    // spinSlaveID and spinInternalRES.
    QTest::addColumn<QList<bool>>("groups");
    QTest::addColumn<QList<bool>>("enabled");
    using L = QList<bool>;
    QTest::newRow("Normal") << 1 << "Normal" << L {false, false, false} << L {true, true, false, true};
    QTest::newRow("PARAMaster") << 1 << "P Master" << L {false, true, true} << L {true, true, false, false};
    QTest::newRow("PARASlave") << 2 << "P Slave 2" << L {false, true, true} << L {true, true, true, false};
    QTest::newRow("SERMaster") << 1 << "S Master" << L {true, false, true} << L {true, true, false, false};
    QTest::newRow("SERSlave") << 1 << "S Slave 1" << L {true, false, true} << L {true, true, true, false};
    QTest::newRow("EXT_V") << 1 << "Ext-V" << L {false, false, false} << L {false, false, false, false};
}

void TestKvr9000Window::powerModeOnPanel()
{
    QFETCH(int, id);
    QFETCH(QString, header);
    QFETCH(QList<bool>, groups);
    QFETCH(QList<bool>, enabled);
    QString const mode = QString::fromLatin1(QTest::currentDataTag());
    QVERIFY(openRunning(kModel));
    m_server.clearLog();
    QCOMPARE(m_server.instrument().setPowerId(id), 0);
    QCOMPARE(m_server.instrument().setPowerMode(mode), 0);

    QVERIFY(waitUntil([&] {
        return lcd()->headerWidget(0)->text() == header
            && child<QComboBox>("cbbMode")->currentData().toString() == mode;
    }));
    // Positions 0, 2 and 4 of the readings hold the group's voltage, current and power.
    QCOMPARE((QList<bool> {!lcd()->measureWidget(0)->isHidden(), !lcd()->measureWidget(2)->isHidden(),
                           !lcd()->measureWidget(4)->isHidden()}),
             groups);
    QList<bool> enabledNow;
    for (char const* name : {"spinV", "spinA", "spinSlaveID", "spinInternalRES"})
        enabledNow << child<QWidget>(name)->isEnabled();
    QCOMPARE(enabledNow, enabled);
    if (groups.at(2)) {
        Channel const* channel = driver()->lastMeasureData()->activeChannel();
        bool const series = groups.at(0);
        QCOMPARE(lcd()->measureWidget(4)->value(),
                 dmmhelper::VBText(series ? channel->seriesPower : channel->parallelPower));
        QCOMPARE(
            lcd()->measureWidget(0)->value(),
            dmmhelper::VBText(series ? channel->seriesVoltage.measured : channel->parallelVoltage.measured));
    }
    QVERIFY(waitForSamples(2));
    QCOMPARE(settingLines(), QStringList());
}

void TestKvr9000Window::limitsOfModel_data()
{
    QTest::addColumn<bool>("parsed");
    // Voltage minimum and maximum, current maximum, power maximum; -1 for an untouched range.
    QTest::addColumn<QList<double>>("limits");
    using L = QList<double>;
    // The power snaps up to 400, 800 or 1200 W, strictly: 400 W itself becomes 800.
    QTest::newRow("KVR9160-8") << true << L {0.5, 160, 8, 400};
    QTest::newRow("KVR9040-40") << true << L {0.1, 40, 40, 800};
    QTest::newRow("KVR9250-12") << true << L {0.5, 250, 12, 800};
    QTest::newRow("KVR9080-40") << true << L {0.1, 80, 40, 1200};
    QTest::newRow("KVR9040-120") << true << L {0.1, 40, 120, 1200};
    QTest::newRow("KVR9250-30") << true << L {0.5, 250, 30, 1875};
    QTest::newRow("KVR9800-10") << true << L {0.1, 800, 10, 2000};
    QTest::newRow("KVR9040") << false << L {-1, -1, -1, -1};
    QTest::newRow("KVR9160-") << true << L {0.5, 160, 0, 400};
    QTest::newRow("kvr9250-6") << true << L {0.5, 250, 6, 400};
    QTest::newRow("KVR40-40") << false << L {-1, -1, -1, -1};
}

void TestKvr9000Window::limitsOfModel()
{
    QFETCH(bool, parsed);
    QFETCH(QList<double>, limits);
    QString const model = QString::fromLatin1(QTest::currentDataTag());
    zelt::util::numeric::Range const untouched(-1, -1);
    zelt::util::numeric::Range voltage = untouched, current = untouched, power = untouched;
    QCOMPARE(KVR9000Window::parseRange(model, voltage, current, power), parsed);
    QCOMPARE((QList<double> {voltage.minimum, voltage.maximum, current.maximum, power.maximum}), limits);
    QCOMPARE(KVR9000Window::getMinVoltage(model), parsed ? limits.first() : 0.1);
    // Every model of the catalogue has limits.
    for (auto const& info : m_plugin.modelInfo().viewInfos)
        QVERIFY2(KVR9000Window::parseRange(info.model, voltage, current, power), qPrintable(info.model));
}

void TestKvr9000Window::optionsDialog_data()
{
    QTest::addColumn<bool>("stored"); // options stored before, else the defaults
    QTest::addColumn<bool>("accept");
    QTest::addColumn<QVariantList>("entered"); // infinite, points, interval
    QTest::addColumn<int>("timerInterval"); // 0: no sample timer afterwards
    QTest::newRow("accepted, first interval") << false << true << QVariantList {false, 100, 250} << 250;
    QTest::newRow("accepted, new interval") << true << true << QVariantList {true, 50, 600} << 600;
    QTest::newRow("accepted, interval 0 stops the timer") << true << true << QVariantList {true, 50, 0} << 0;
    QTest::newRow("rejected keeps the timer") << true << false << QVariantList {true, 7, 0} << 300;
}

void TestKvr9000Window::optionsDialog()
{
    QFETCH(bool, stored);
    QFETCH(bool, accept);
    QFETCH(QVariantList, entered);
    QFETCH(int, timerInterval);
    QVariantList const before = stored ? QVariantList {false, 20, 300} : QVariantList {true, 9999, 0};
    for (int i = 0; stored && i < kOptionKeys.size(); ++i)
        QSettings().setValue(kModel + '/' + kOptionKeys.at(i), before.at(i));
    QVERIFY(openRunning(kModel));
    auto const timersBefore = sampleTimers(m_window);
    QSettings().remove(kModel); // whatever the dialog's result, the options are written anew

    // What the dialog shows: the options, whether the points can be edited, and whether
    // they can once the check box is set as entered.
    QVariantList shown;
    auto const answer = whenShown<DlgOption>([&](DlgOption* dialog) {
        auto* infinite = dialog->findChild<QCheckBox*>("cbInfinite");
        auto* points = dialog->findChild<QSpinBox*>("spinSamplePoints");
        auto* interval = dialog->findChild<QSpinBox*>("spinSampleInterval");
        shown << infinite->isChecked() << points->value() << interval->value() << points->isEnabled();
        if (infinite->isChecked() != entered.at(0).toBool())
            infinite->click();
        shown << points->isEnabled();
        points->setValue(entered.at(1).toInt());
        interval->setValue(entered.at(2).toInt());
        accept ? dialog->findChild<QPushButton*>("btnOK")->click() : dialog->reject();
    });
    child<QAction>("actionOptions")->trigger();
    QCOMPARE(shown, (before + QVariantList {!before.at(0).toBool(), !entered.at(0).toBool()}));

    auto const after = sampleTimers(m_window);
    QCOMPARE(after.size(), timerInterval > 0 ? 1 : 0);
    if (timerInterval > 0)
        QCOMPARE(after.first().interval, timerInterval);
    if (!accept)
        QCOMPARE(after.first().timerId, timersBefore.first().timerId);
    QCOMPARE(storedOptions(), accept ? entered : before);
}

void TestKvr9000Window::unknownModelFailsToRun()
{
    DialogScript boxes;
    QVERIFY(open(QStringLiteral("KVR9040")));
    QCOMPARE(boxes.shown, QStringList {"Critical [] Run failed!"});
    QVERIFY(!driver() && !lcd());
    QVERIFY(sampleTimers(m_window).isEmpty());
    QCOMPARE(m_server.connectionCount(), 0);
}

QTEST_MAIN(TestKvr9000Window)
#include "tst_kvr9000window.moc"
