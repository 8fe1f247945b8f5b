// The KVR9000 window made by the plug-in, driving the simulated instrument over a socket:
// life cycle, control panel, live panel, limits, sampling options, quick settings and a silent
// instrument.

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

QString const kKey = kModel + QStringLiteral("/QuickSettings");

using Rows = QList<QPair<double, double>>;

// Stores the rows as the window keeps them: a count, then voltage and current of each row.
void storeRows(Rows const& rows)
{
    QByteArray array;
    QDataStream stream(&array, QIODevice::WriteOnly);
    stream << quint32(rows.size());
    for (auto const& row : rows)
        stream << row.first << row.second;
    QSettings().setValue(kKey, array);
}

// The voltage and current texts of each row, as the table shows them.
QStringList shownRows(QAbstractItemModel const* model)
{
    QStringList rows;
    for (int row = 0; row < model->rowCount(); ++row)
        rows << model->index(row, 1).data().toString() + '/' + model->index(row, 2).data().toString();
    return rows;
}

QString cellText(QModelIndex const& index)
{
    return index.isValid() ? QStringLiteral("%1,%2").arg(index.row()).arg(index.column())
                           : QStringLiteral("none");
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

    void lifeCycle()
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
        QVERIFY(QSettings().contains(kKey));
    }

    void editIsSentAndHeldOff_data()
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

    void editIsSentAndHeldOff()
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

    void focusInSpinV()
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

    void samplesFillPanelWithoutSending()
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
            = QStringLiteral(
                  "spinV=24, spinA=3, spinOvp=30, spinOcp=5, cbOVP=true, cbOCP=true, "
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
            bool const isControl = qobject_cast<QAbstractSpinBox*>(control)
                || qobject_cast<QComboBox*>(control) || qobject_cast<QAbstractButton*>(control);
            QSize const hint = control->sizeHint();
            if (isControl && control->isVisible()
                && (control->height() < hint.height() || control->width() < hint.width()))
                squeezed << control->objectName();
        }
        QCOMPARE(squeezed, QStringList());
    }

    void powerModeOnPanel_data()
    {
        QTest::addColumn<int>("id");
        QTest::addColumn<QString>("header");
        // Visible group readouts of voltage, current and power; enabled spinV, spinA,
        // spinSlaveID and spinInternalRES.
        QTest::addColumn<QList<bool>>("groups");
        QTest::addColumn<QList<bool>>("enabled");
        using L = QList<bool>;
        QTest::newRow("Normal") << 1 << "Normal" << L {false, false, false} << L {true, true, false, true};
        QTest::newRow("PARAMaster") << 1 << "P Master" << L {false, true, true}
                                    << L {true, true, false, false};
        QTest::newRow("PARASlave") << 2 << "P Slave 2" << L {false, true, true}
                                   << L {true, true, true, false};
        QTest::newRow("SERMaster") << 1 << "S Master" << L {true, false, true}
                                   << L {true, true, false, false};
        QTest::newRow("SERSlave") << 1 << "S Slave 1" << L {true, false, true} << L {true, true, true, false};
        QTest::newRow("EXT_V") << 1 << "Ext-V" << L {false, false, false} << L {false, false, false, false};
    }

    void powerModeOnPanel()
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
            QCOMPARE(lcd()->measureWidget(0)->value(),
                     dmmhelper::VBText(series ? channel->seriesVoltage.measured
                                              : channel->parallelVoltage.measured));
        }
        QVERIFY(waitForSamples(2));
        QCOMPARE(settingLines(), QStringList());
    }

    void limitsOfModel_data()
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

    void limitsOfModel()
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

    void optionsDialog_data()
    {
        QTest::addColumn<bool>("stored"); // options stored before, else the defaults
        QTest::addColumn<bool>("accept");
        QTest::addColumn<QVariantList>("entered"); // infinite, points, interval
        QTest::addColumn<int>("timerInterval"); // 0: no sample timer afterwards
        QTest::newRow("accepted, first interval") << false << true << QVariantList {false, 100, 250} << 250;
        QTest::newRow("accepted, new interval") << true << true << QVariantList {true, 50, 600} << 600;
        QTest::newRow("accepted, interval 0 stops the timer")
            << true << true << QVariantList {true, 50, 0} << 0;
        QTest::newRow("rejected keeps the timer") << true << false << QVariantList {true, 7, 0} << 300;
    }

    void optionsDialog()
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

    void unknownModelFailsToRun()
    {
        DialogScript boxes;
        QVERIFY(open(QStringLiteral("KVR9040")));
        QCOMPARE(boxes.shown, QStringList {"Critical [] Run failed!"});
        QVERIFY(!driver() && !lcd());
        QVERIFY(sampleTimers(m_window).isEmpty());
        QCOMPARE(m_server.connectionCount(), 0);
    }

    void nineTimeOutsStopTheRun()
    {
        DialogScript boxes;
        m_server.setDropEvery(1); // every query goes unanswered
        QVERIFY(open(kModel));
        auto* start = child<QAction>("actionStart");
        QSignalSpy errors(driver(), &zelt::measure::MeasureInst::processError);
        QSignalSpy stopped(driver(), &zelt::measure::MeasureInst::stoped);
        int const wordTime = 200;
        driver()->setWordTimeLimit(wordTime);
        QVERIFY(waitUntil([&] { return start->isChecked(); }));

        // The ninth error ends the run: every barrier that goes unanswered after the first
        // time-out counts as one, so nine word times pass, however loaded the machine.
        QVERIFY(waitUntil([&] { return !boxes.shown.isEmpty(); }, 30000));
        QCOMPARE(errors.count(), 9);
        QCOMPARE(boxes.shown,
                 QStringList {"Critical [] The communication is failed and the application is stoped."});
        QVERIFY(waitUntil([&] { return stopped.count() == 1; }));
        QVERIFY(!driver()->active());
        QVERIFY(start->isEnabled() && start->isCheckable() && !start->isChecked());
        QVERIFY(!child<QAction>("actionProgrammer")->isEnabled());
        QVERIFY(!child<QGroupBox>("widgetOption")->isEnabled());

        // A new start counts from 0: one more time-out shows no box.
        errors.clear();
        start->trigger();
        QVERIFY(waitUntil([&] { return start->isChecked(); }));
        QVERIFY(errors.wait(10000));
        QCOMPARE(boxes.shown.size(), 1);
        QVERIFY(driver()->active());
        m_server.setDropEvery(0);
    }

    void executeRow()
    {
        storeRows({{1.0, 0.1}, {3.5, 1.25}, {0.0, 0.0}});
        QVERIFY(openRunning(kModel));
        QTableView* view = table();
        auto* quick = child<QGroupBox>("widgetQuickSetting");
        QRect const cell = view->visualRect(view->model()->index(1, 3));
        QVERIFY(view->viewport()->rect().contains(cell));
        QList<bool> enabled;
        connect(driver(), &MyDMM::updateData, this, [&] { enabled << quick->isEnabled(); });
        m_server.clearLog();

        // The margins of the button cell, then the button; the hand shows on the button only.
        int const middle = cell.center().y();
        for (QPoint const at : {QPoint(cell.left(), middle), QPoint(cell.center().x(), cell.top()),
                                QPoint(cell.right(), middle), cell.center()}) {
            bool const onButton = at == cell.center();
            enabled.clear();
            QTest::mousePress(view->viewport(), Qt::LeftButton, {}, at);
            QGuiApplication const* gui = qGuiApp;
            QCOMPARE(gui->overrideCursor() ? gui->overrideCursor()->shape() : Qt::ArrowCursor,
                     onButton ? Qt::PointingHandCursor : Qt::ArrowCursor);
            QTest::mouseRelease(view->viewport(), Qt::LeftButton, {}, at);
            QVERIFY(!QGuiApplication::overrideCursor());
            QCOMPARE(quick->isEnabled(), !onButton);
        }
        QVERIFY(waitUntil([&] { return enabled.size() >= 2; }));
        QCOMPARE(enabled.mid(0, 2), (QList<bool> {false, true}));
        QCOMPARE(settingLines(), (QStringList {":SOURce:VOLTage:LEVel 3.5", ":SOURce:CURRent:LEVel 1.25"}));
    }

    void contextMenu_data()
    {
        QTest::addColumn<int>("rows"); // stored rows of 1 V, 2 V, 3 V...
        QTest::addColumn<QString>("current"); // "row,column" or "none"
        QTest::addColumn<QString>("action");
        QTest::addColumn<QString>("menu"); // disabled entries in brackets
        QTest::addColumn<QStringList>("after");
        QTest::addColumn<QString>("currentAfter");
        auto const row = [](char const* name, int rows, char const* current, char const* action,
                            char const* menu, QStringList after, char const* currentAfter) {
            QTest::newRow(name) << rows << QString(current) << QString(action) << QString(menu) << after
                                << QString(currentAfter);
        };
        char const* const all = "Append Insert | Delete Clear";
        QString const z = QStringLiteral("0.000/0.000");
        row("append to an empty table", 0, "none", "Append", "Append [Insert] | [Delete] [Clear]", {z},
            "0,1");
        row("append without a current cell", 1, "none", "Append", "Append [Insert] | [Delete] Clear",
            {"1.000/0.100", z}, "1,1");
        row("insert before the current row", 2, "1,2", "Insert", all, {"1.000/0.100", z, "2.000/0.200"},
            "1,1");
        row("delete a middle row", 3, "1,2", "Delete", all, {"1.000/0.100", "3.000/0.300"}, "1,2");
        row("delete the last row", 2, "1,1", "Delete", all, {"1.000/0.100"}, "0,1");
        row("delete the only row", 1, "0,2", "Delete", all, {}, "none");
        row("clear", 3, "0,1", "Clear", all, {}, "none");
    }

    void contextMenu()
    {
        QFETCH(int, rows);
        QFETCH(QString, current);
        QFETCH(QString, action);
        QFETCH(QString, menu);
        QFETCH(QStringList, after);
        QFETCH(QString, currentAfter);
        Rows stored;
        for (int i = 1; i <= rows; ++i)
            stored.append({i * 1.0, i * 0.1});
        storeRows(stored);
        QVERIFY(openRunning(kModel));
        QTableView* view = table();
        if (current != QLatin1String("none"))
            view->setCurrentIndex(
                view->model()->index(current.section(',', 0, 0).toInt(), current.section(',', 1).toInt()));

        // Reads the menu as it pops up, then chooses the action.
        QString shown;
        auto const choose = whenShown<QMenu>([&](QMenu* popup) {
            QStringList entries;
            for (QAction* entry : popup->actions()) {
                QString const text = entry->isSeparator() ? QStringLiteral("|") : entry->text();
                entries << (entry->isEnabled() ? text : '[' + text + ']');
                if (entry->text() == action)
                    entry->trigger();
            }
            shown = entries.join(' ');
            popup->close();
        });
        QPoint const at = view->viewport()->rect().center();
        QContextMenuEvent event(QContextMenuEvent::Mouse, at, view->viewport()->mapToGlobal(at));
        QApplication::sendEvent(view->viewport(), &event);
        QCOMPARE(shown, menu);
        QCOMPARE(shownRows(view->model()), after);
        QCOMPARE(cellText(view->currentIndex()), currentAfter);

        // The rows are kept when the window closes and come back with the next one.
        QVERIFY(closeWindow());
        QCOMPARE(QSettings().value(kKey).toByteArray().size(), 4 + 16 * after.size());
        QVERIFY(openRunning(kModel));
        QCOMPARE(shownRows(table()->model()), after);
    }

private:
    // Puts the focus into a control of the window, as a click of the user would.
    bool focus(QWidget* widget)
    {
        if (!QTest::qWaitForWindowActive(m_window))
            return false;
        widget->setFocus();
        return waitUntil([widget] { return widget->hasFocus(); });
    }
    zelt::widget::measure::PowerSupplyLCD* lcd() const
    {
        return m_window->findChild<zelt::widget::measure::PowerSupplyLCD*>();
    }
    QTableView* table() const { return child<QTableView>("tvQuickSetting"); }
};

QTEST_MAIN(TestKvr9000Window)
#include "tst_kvr9000window.moc"
