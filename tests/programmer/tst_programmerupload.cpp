// The programmer's upload against the simulated instrument, through the window's own path:
// the dialog's buttons, the window's turn-taking with the driver, and what reaches the wire
// and the instrument's sequence memory.

#include "tests/common/files.h"
#include "tests/window/windowharness.h"

#include "programmer/dialogprogrammer.h"
#include "simulator/kvrinstrument.h"

namespace {

QString const kModel = QStringLiteral("KVR9040-40");

} // namespace

class TestProgrammerUpload : public QObject, WindowFixture
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { isolateSettings(QStringLiteral("tst_programmerupload")); }
    void init()
    {
        QVERIFY2(startSimulator(kModel), qPrintable(m_server.errorString()));
        // After the first sample: the first pass rebuilds the ring and drops what is queued.
        QVERIFY(openRunning(kModel));
    }
    void cleanup()
    {
        QVERIFY(closeWindow());
        m_server.stop();
    }

    void upload_data()
    {
        QTest::addColumn<bool>("delayer");
        QTest::addColumn<int>("count");
        QTest::addColumn<int>("start");
        QTest::addColumn<QStringList>("wire"); // empty: count the row writes only

        QTest::newRow("list of three from 10")
            << false << 3 << 10
            << QStringLiteral(
                   ":LISTout:STATe?|:LISTout:BASE?|:LISTout:BASE 10,3,1,OFF|:LISTout:PARAmeter? 0,1|"
                   ":LISTout:PARAmeter 10,1,0.5,0.1|:LISTout:PARAmeter? 10,1|:LISTout:PARAmeter 11,2,0.5,0.2|"
                   ":LISTout:PARAmeter? 11,1|:LISTout:PARAmeter 12,3,0.5,0.3|:LISTout:PARAmeter? 12,1")
                   .split('|');
        QTest::newRow("delayer of three from 10")
            << true << 3 << 10
            << QStringLiteral(
                   ":DELAY:STATe?|:DELAY:CYCLEs?|:DELAY:ENDState?|:DELAY:STARt?|:DELAY:GROUPs?|:DELAY:STOP?|"
                   ":DELAY:STARt 10|:DELAY:GROUPs 3|:DELAY:CYCLEs 1|:DELAY:ENDState OFF|:DELAY:STOP None|"
                   ":DELAY:PARAmeter? 0,1|:DELAY:PARAmeter 10,OFF,0.1|:DELAY:PARAmeter? 10,1|"
                   ":DELAY:PARAmeter 11,ON,0.2|:DELAY:PARAmeter? 11,1|:DELAY:PARAmeter 12,OFF,0.3|"
                   ":DELAY:PARAmeter? 12,1")
                   .split('|');
        QTest::newRow("200 list rows upload 128") << false << 200 << 0 << QStringList();
    }

    void upload()
    {
        QFETCH(bool, delayer);
        QFETCH(int, count);
        QFETCH(int, start);
        QFETCH(QStringList, wire);
        DialogProgrammer* dialog = openDialog();
        QVERIFY(dialog);
        auto* view = dialog->findChild<QTableView*>(delayer ? "tvDelayer" : "tvList");
        QList<QList<QVariant>> rows;
        for (int i = 1; i <= 3; ++i) {
            if (delayer)
                rows.append({i % 2 == 0, i / 10.0});
            else
                rows.append({double(i), 0.5, i / 10.0});
        }
        fillRows(view, rows, count);
        dialog->findChild<QSpinBox*>(delayer ? "spinDelayerStartNum" : "spinListStartNum")->setValue(start);
        // As the instrument answers each read-back: the bar, the rows highlighted, the item read.
        auto* bar = dialog->findChild<QProgressBar*>();
        QRegularExpression const readBack(QStringLiteral("^:(LISTout|DELAY):PARAmeter\\? (\\d+),1$"));
        QStringList steps;
        QObject watcher;
        connect(&m_server, &kvrsim::SimServer::answerSent, &watcher, [&] {
            QRegularExpressionMatch const item = readBack.match(m_server.receivedLines().constLast());
            if (!item.hasMatch())
                return;
            QStringList selected;
            for (QModelIndex const& index : view->selectionModel()->selectedRows())
                selected << QString::number(index.row());
            steps << QStringLiteral("%1 [%2] %3")
                         .arg(bar->value())
                         .arg(selected.join(','))
                         .arg(item.captured(2));
        });
        m_server.clearLog();

        QTest::mouseClick(dialog->findChild<QPushButton*>(delayer ? "btnDelayerUpload" : "btnListUpload"),
                          Qt::LeftButton);
        QVERIFY(!dialog->isEnabled());
        QVERIFY(waitUntil([&] { return idle(dialog); }));

        int const sent = std::min(count, 128);
        // The first read-back only triggers row 0; each row after stands in the bar and
        // highlighted while it is read back.
        QStringList expected {QStringLiteral("0 [] 0")};
        for (int i = 0; i < sent; ++i)
            expected << QStringLiteral("%1 [%2] %3").arg(i + 1).arg(i).arg(i + start);
        QCOMPARE(steps, expected);
        QCOMPARE(bar->maximum(), sent);
        // The sequence's lines on the wire; the polling ring has none of them.
        QStringList const lines
            = m_server.receivedLines().filter(delayer ? QStringLiteral(":DELAY") : QStringLiteral(":LIST"));
        if (!wire.isEmpty()) {
            QCOMPARE(lines, wire);
        } else {
            QVERIFY(lines.contains(QStringLiteral(":LISTout:BASE 0,128,1,OFF")));
            QCOMPARE(lines.filter(QRegularExpression(QStringLiteral("^:LISTout:PARAmeter \\d"))).size(), 128);
            QVERIFY(lines.contains(QStringLiteral(":LISTout:PARAmeter 127,0,0,0.1")));
        }
    }

    void refused_data()
    {
        QTest::addColumn<QString>("situation");
        QTest::addColumn<QString>("message");
        QTest::newRow("list running") << QString("running") << QString("The list is running");
        QTest::newRow("disconnected") << QString("disconnected") << QString();
        QTest::newRow("empty table") << QString("empty") << QString("The list data is empty");
    }

    // Nothing of the sequence is written, and the dialog is usable again at once.
    void refused()
    {
        QFETCH(QString, situation);
        QFETCH(QString, message);
        DialogProgrammer* dialog = openDialog();
        if (situation != QLatin1String("empty"))
            fillRows(dialog->findChild<QTableView*>("tvList"), {{1.0, 0.5, 0.2}}, 1);
        if (situation == QLatin1String("running")) {
            kvrsim::KvrListBase endless;
            endless.cycles = 0;
            QCOMPARE(m_server.instrument().setListBase(endless), 0);
            QCOMPARE(m_server.instrument().setListRunning(true), 0);
        } else if (situation == QLatin1String("disconnected")) {
            driver()->close();
            QVERIFY(waitUntil([this] { return !driver()->active(); }));
        }
        m_server.clearLog();

        QTest::mouseClick(dialog->findChild<QPushButton*>("btnListUpload"), Qt::LeftButton);
        if (situation == QLatin1String("disconnected") || situation == QLatin1String("empty"))
            QVERIFY(idle(dialog)); // no answer awaited
        QVERIFY(waitUntil([&] { return idle(dialog); }));
        QCOMPARE(dialog->findChild<QStatusBar*>()->currentMessage(), message);
        QStringList const written = m_server.receivedLines()
                                        .filter(QStringLiteral(":LIST"))
                                        .filter(QRegularExpression(QStringLiteral("^[^?]*$")));
        QCOMPARE(written, QStringList());
    }

    // A reply that comes after the dialog has gone finds no one to move on, and harms nothing.
    void lateReplyAfterClose()
    {
        DialogProgrammer* dialog = openDialog();
        fillRows(dialog->findChild<QTableView*>("tvList"), {}, 20);
        int handedOut = 0;
        connect(dialog, &DialogProgrammer::uploaderNextData, this, [&] { ++handedOut; });
        m_server.clearLog();
        QTest::mouseClick(dialog->findChild<QPushButton*>("btnListUpload"), Qt::LeftButton);
        QVERIFY(waitUntil([&] { return handedOut >= 2; }));
        QPointer<DialogProgrammer> guard(dialog);
        dialog->reject();
        QVERIFY(waitUntil([&] { return guard.isNull(); }));
        int const seen = int(m_server.receivedLines().size());
        QVERIFY(waitUntil([&] { return m_server.receivedLines().size() > seen + 60; }));
        QCOMPARE(m_server.receivedLines().filter(QStringLiteral(":LISTout:PARAmeter ")).size(), handedOut);
    }

    // Clicked while the first pass is still on, the upload's first question is dropped with the
    // queue when the ring is built for the power mode; it is asked again.
    void uploadBeforeFirstSample()
    {
        QVERIFY(closeWindow());
        QVERIFY(open(kModel));
        DialogProgrammer* dialog = openDialog();
        fillRows(dialog->findChild<QTableView*>("tvList"), {{7.0, 0.5, 0.2}, {8.0, 0.5, 0.2}}, 2);
        auto* upload = dialog->findChild<QPushButton*>("btnListUpload");
        // Clicked while the instrument holds the first power-mode question, before it answers.
        QMetaObject::Connection const clicked
            = connect(&m_server, &kvrsim::SimServer::lineReceived, this, [upload](QString const& line) {
                  if (line.startsWith(QLatin1String(":SYST")))
                      upload->click();
              });
        QVERIFY(waitUntil([&] { return !idle(dialog); }));
        disconnect(clicked);
        QVERIFY(waitUntil([&] { return idle(dialog); }));
        QCOMPARE(m_server.instrument().listRow(1).volts, 8.0);
    }

    void runAndWatch_data()
    {
        QTest::addColumn<bool>("stopMidway");
        QTest::addColumn<bool>("reopened"); // run again from a dialog opened after one closed mid-run
        QTest::newRow("to the end") << false << false;
        QTest::newRow("stopped midway") << true << false;
        QTest::newRow("in a dialog opened again") << false << true;
    }

    // The line under the table follows the run in order; the output follows the rows.
    void runAndWatch()
    {
        QFETCH(bool, stopMidway);
        QFETCH(bool, reopened);
        DialogProgrammer* dialog = openDialog();
        // Stopped midway, the list is endless: only the stop ends it, however slow the machine.
        QVERIFY(uploadShortList(dialog, stopMidway ? 0 : 2));
        auto* line = dialog->findChild<QLabel*>("lblListRunState");
        kvrsim::KvrInstrument& unit = m_server.instrument();
        QRegularExpression const progress(
            QStringLiteral("row (\\d) of 3, cycle (\\d) of (?:2|endless), ([\\d.]+) V"));
        QList<int> shown; // cycle * 10 + row, as the line showed them
        QList<int> ran; // the same, as the instrument ran them
        bool followed = true;
        auto watch = [&] {
            QRegularExpressionMatch const m = progress.match(line->text());
            int const at = m.hasMatch() ? m.captured(2).toInt() * 10 + m.captured(1).toInt() : 0;
            if (at && (shown.isEmpty() || shown.last() != at))
                shown << at;
            // Row n of the list is set to n volts.
            followed = followed && (!at || m.captured(3).toDouble() == m.captured(1).toDouble());
            unit.advance();
            kvrsim::KvrSequenceRun const& run = unit.listRun();
            if (run.running) {
                int const here = run.cycle * 10 + run.row + 1;
                if (ran.isEmpty() || ran.last() != here)
                    ran << here;
                followed
                    = followed && unit.settings().voltage == unit.listRow(run.row).volts && unit.outputOn();
            }
        };
        m_server.clearLog();
        QTest::mouseClick(dialog->findChild<QPushButton*>("btnListRun"), Qt::LeftButton);
        if (reopened) {
            QVERIFY(waitUntil([&] { return line->text().startsWith(QLatin1String("Running")); }));
            QPointer<DialogProgrammer> closed(dialog);
            dialog->reject();
            QVERIFY(waitUntil([&] { return closed.isNull() && !unit.listRun().running; }));
            dialog = openDialog();
            line = dialog->findChild<QLabel*>("lblListRunState");
            QTest::mouseClick(dialog->findChild<QPushButton*>("btnListRun"), Qt::LeftButton);
        }
        if (stopMidway) {
            QVERIFY(waitUntil([&] { return watch(), ran.size() >= 3 && shown.size() >= 2; }));
            QTest::mouseClick(dialog->findChild<QPushButton*>("btnListStop"), Qt::LeftButton);
        }
        QVERIFY(waitUntil([&] { return watch(), line->text() == (stopMidway ? "Stopped" : "Finished"); }));
        QVERIFY(followed);
        QVERIFY(std::is_sorted(shown.cbegin(), shown.cend()));
        QVERIFY(shown.size() >= 2);
        if (stopMidway) {
            QVERIFY(!unit.listRun().running);
            QVERIFY(m_server.receivedLines().contains(QStringLiteral(":LISTout:STATe OFF")));
        } else {
            // Sampled on this thread's loop, which a loaded machine may hold up past a row or
            // two: the rows seen come in order, and the instrument counts both cycles.
            QVERIFY(std::is_sorted(ran.cbegin(), ran.cend()));
            QCOMPARE(unit.listRun().cyclesDone, 2);
            QVERIFY(!unit.outputOn()); // the end state OFF
        }
    }

    // The dialog stands disabled; a click that still got through is refused all the same, and
    // nothing of the run goes on the wire.
    void runRefusedDuringUpload()
    {
        DialogProgrammer* dialog = openDialog();
        fillRows(dialog->findChild<QTableView*>("tvList"), {}, 40);
        m_server.clearLog();
        QTest::mouseClick(dialog->findChild<QPushButton*>("btnListUpload"), Qt::LeftButton);
        QVERIFY(!idle(dialog));
        Q_EMIT dialog->findChild<QPushButton*>("btnListRun")->clicked();
        QCOMPARE(dialog->findChild<QStatusBar*>()->currentMessage(),
                 QStringLiteral("Wait until the upload has finished"));
        QVERIFY(waitUntil([&] { return idle(dialog); }));
        QVERIFY(!m_server.receivedLines().contains(QStringLiteral(":LISTout:STATe ON")));
        QVERIFY(!m_server.instrument().listRun().running);
    }

    void savedFileSuffix_data()
    {
        QTest::addColumn<QString>("button"); // of the dialog; empty: the window's Export
        QTest::addColumn<QString>("typed");
        QTest::addColumn<QString>("saved");
        auto const row = [](char const* name, char const* button, char const* typed, char const* saved) {
            QTest::newRow(name) << QString(button) << QString(typed) << QString(saved);
        };
        row("list", "btnListSave", "sine1", "sine1.lst.csv");
        row("delayer", "btnDelayerSave", "pulse1", "pulse1.dly.csv");
        row("export", "", "export1", "export1.csv");
        row("a suffix typed stays", "btnListSave", "mine.csv", "mine.csv");
    }

    // A name typed without a suffix gets the filter's, so that the load dialog lists the file.
    void savedFileSuffix()
    {
        QFETCH(QString, button);
        QFETCH(QString, typed);
        QFETCH(QString, saved);
        QTemporaryDir dir;
        QVERIFY(dir.isValid());
        DialogScript script({dir.filePath(typed), int(QMessageBox::No)});
        if (button.isEmpty()) {
            child<QAction>("actionExport")->trigger();
        } else {
            DialogProgrammer* dialog = openDialog();
            bool const list = button.contains(QLatin1String("List"));
            fillRows(dialog->findChild<QTableView*>(list ? "tvList" : "tvDelayer"), {}, 2);
            QTest::mouseClick(dialog->findChild<QPushButton*>(button), Qt::LeftButton);
        }
        QCOMPARE(QDir(dir.path()).entryList(QDir::Files), QStringList {saved});
    }

private:
    DialogProgrammer* openDialog()
    {
        child<QAction>("actionProgrammer")->trigger();
        return m_window->findChild<DialogProgrammer*>();
    }
    // Rows through the table's model, as the user's edits reach it.
    static void fillRows(QTableView* view, QList<QList<QVariant>> const& rows, int count)
    {
        QAbstractItemModel* model = view->model();
        QVERIFY(model->insertRows(0, count));
        for (int r = 0; r < rows.size(); ++r) {
            for (int c = 0; c < rows.at(r).size(); ++c)
                QVERIFY(model->setData(model->index(r, c), rows.at(r).at(c)));
        }
    }
    static bool idle(DialogProgrammer* dialog)
    {
        return dialog->isEnabled() && !dialog->findChild<QProgressBar*>()->isVisible();
    }
    // A list of three rows of 0.3 s, 1 V, 2 V and 3 V, uploaded to run cycles times.
    bool uploadShortList(DialogProgrammer* dialog, int cycles)
    {
        fillRows(dialog->findChild<QTableView*>("tvList"),
                 {{1.0, 0.5, 0.3}, {2.0, 0.5, 0.3}, {3.0, 0.5, 0.3}}, 3);
        dialog->findChild<QSpinBox*>("sbListCycles")->setValue(cycles);
        QTest::mouseClick(dialog->findChild<QPushButton*>("btnListUpload"), Qt::LeftButton);
        return waitUntil([&] { return idle(dialog); }) && m_server.instrument().listBase().cycles == cycles
            && m_server.instrument().listRow(2).volts == 3.0;
    }
};

QTEST_MAIN(TestProgrammerUpload)
#include "tst_programmerupload.moc"
