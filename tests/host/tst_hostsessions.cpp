// The host's sessions: a recorder follows a window's table through a Clear and a swap of
// tables, and a host killed while polling leaves an interrupted session holding every row
// up to the last commit.

#include "tests/common/dialogscript.h"
#include "tests/common/files.h"
#include "tests/store/storetarget.h"

#include "host/sessions/sessionbrowser.h"
#include "host/sessions/sessionchart.h"
#include "host/sessions/sessionrecorder.h"
#include "host/sessions/sessionviewer.h"
#include "store/sessionreader.h"
#include "store/sessionstore.h"

#include <QtNetwork>
#include <QtTest>
#include <QtWidgets>

#include "plot/customplot.h"

#include <csignal>

using zelt::store::SessionReader;
using zelt::store::SessionState;
using zelt::store::SessionStore;
using zelt::store::StoreTarget;

class TestHostSessions : public QObject
{
    Q_OBJECT
    QTemporaryDir m_dir;

private Q_SLOTS:
    void recorderFollowsTheTable()
    {
        StoreTarget const target = sqliteTarget(m_dir.filePath(QStringLiteral("recorder.sqlite")));
        QStringList const columns {"No.", "Time", "Mode", "Voltage"};
        QStringList const swapped {"No.", "Time", "V1", "I1"};
        QList<QStringList> const rows {{"1", "2026-11-24 10:00:00", "CV", "12.000"},
                                       {"2", "2026-11-24 10:00:01", "CV", "12.500"},
                                       {"1", "2026-11-24 10:00:02", "CC", "1,5"},
                                       {"3", "2026-11-24 10:00:03", "12.500", "0.100"}};
        Table single(columns);
        Table all(swapped);
        QTableView view;
        view.setModel(&single);
        {
            SessionStore store(target);
            auto* recorder = new zelt::host::SessionRecorder(&store, &view, {"Bench", "KVR9040-40", "sim"});
            single.append(rows.at(0));
            single.append(rows.at(1));
            single.clear(); // the window's Clear
            single.clear(); // twice: still one new segment
            single.append(rows.at(2));
            view.setModel(&all); // another power mode's table
            all.append(rows.at(3));
            delete recorder; // the window closes
            QVERIFY(store.flush(5000));
        }
        SessionReader reader(target);
        QVERIFY(reader.open());
        auto const sessions = reader.sessions();
        QCOMPARE(sessions.size(), 1);
        QCOMPARE(sessions.first().state, SessionState::Ended);
        QCOMPARE(sessions.first().rows, 4);
        auto const segments = reader.segments(sessions.first().id);
        QCOMPARE(segments.size(), 3);
        QCOMPARE(segments.at(1).firstSeq, 2);
        QCOMPARE(segments.at(2).columns, swapped);

        // The export reads as the window's Export of each table in turn; a Clear keeps the header.
        qint64 first = 0;
        qint64 last = 0;
        QVERIFY(reader.timeSpan(sessions.first().id, &first, &last));
        QString const exported = m_dir.filePath(QStringLiteral("browser.csv"));
        QVERIFY(reader.exportCsv(sessions.first().id, exported, first, last));
        QCOMPARE(readFile(exported),
                 Table(columns, rows.mid(0, 3)).csv(m_dir.filePath(QStringLiteral("a.csv")))
                     + Table(swapped, rows.mid(3)).csv(m_dir.filePath(QStringLiteral("b.csv"))));
    }

    void browserOpensAndDeletes()
    {
        StoreTarget const target = sqliteTarget(m_dir.filePath(QStringLiteral("browser.sqlite")));
        {
            SessionStore store(target);
            quint64 const older
                = store.beginSession({"Older", "KVR9040-40", "a"}, {"No.", "Time", "Voltage"});
            store.appendRow(older, 1000, {"1", "t", "1.000"});
            store.endSession(older);
            QTest::qWait(5); // a later start
            quint64 const newer
                = store.beginSession({"Newer", "KVR9040-40", "b"}, {"No.", "Time", "Voltage"});
            for (int i = 0; i < 3000; ++i)
                store.appendRow(newer, 2000 + i,
                                {QString::number(i + 1), "t", QString::number(i % 7, 'f', 3)});
            QVERIFY(store.flush(5000));
        }
        zelt::host::SessionBrowser browser(target);
        auto* list = browser.findChild<QTreeWidget*>(QStringLiteral("list"));
        QCOMPARE(list->topLevelItemCount(), 2);
        QCOMPARE(list->topLevelItem(0)->text(0), QStringLiteral("Newer"));
        QCOMPARE(list->topLevelItem(0)->text(4), QStringLiteral("3000"));
        QCOMPARE(list->topLevelItem(1)->text(5), QStringLiteral("ended"));

        zelt::host::SessionViewer* viewer = browser.openSession(browser.sessions().first());
        QVERIFY(viewer);
        QCOMPARE(viewer->findChild<QTableView*>()->model()->rowCount(), 3000);
        QCOMPARE(viewer->findChild<QTableView*>()->model()->index(2999, 0).data().toString(),
                 QStringLiteral("3000"));
        QCPGraph* voltage = viewer->chart()->plot()->graph(0);
        QVERIFY(voltage->dataCount() > 0);
        bool found = false;
        QCPRange const range = voltage->getValueRange(found);
        QVERIFY(found);
        QCOMPARE(range.lower, 0.0);
        QCOMPARE(range.upper, 6.0);

        // Deleting asks first; the answer Yes removes the session and its rows.
        DialogScript answers({QMessageBox::Yes});
        list->setCurrentItem(list->topLevelItem(1));
        browser.findChild<QPushButton*>(QStringLiteral("buttonDelete"))->click();
        QCOMPARE(list->topLevelItemCount(), 1);
        SessionReader reader(target);
        QVERIFY(reader.open());
        QCOMPARE(reader.sessions().size(), 1);
        QCOMPARE(reader.sessions().first().header.instrument, QStringLiteral("Newer"));
    }

    void killedHostLeavesInterruptedSession()
    {
        if (!ZELT_HAVE_SIMULATOR)
            QSKIP("Built without the simulator.");
        QTemporaryDir home;
        QVERIFY(home.isValid());
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("XDG_DATA_HOME"), home.filePath(QStringLiteral("data")));
        environment.insert(QStringLiteral("XDG_CONFIG_HOME"), home.filePath(QStringLiteral("config")));
        // A killed process cannot report its leaks.
        environment.insert(QStringLiteral("ASAN_OPTIONS"), QStringLiteral("detect_leaks=0"));
        StoreTarget const target
            = sqliteTarget(home.filePath(QStringLiteral("data/Zelt/zelt-host/sessions.sqlite")));

        // A free port for the host's shared SCPI port, through which the output goes on.
        quint16 sharePort = 0;
        {
            QTcpServer probe;
            QVERIFY(probe.listen(QHostAddress::LocalHost));
            sharePort = probe.serverPort();
        }
        QProcess host;
        host.setProcessEnvironment(environment);
        host.start(QStringLiteral(ZELT_HOST_FILE),
                   {"--plugin-dir", ZELT_KVR9000_PLUGIN_DIR, "--simulate", "KVR9040-40", "--share",
                    QString::number(sharePort)});
        QVERIFY(host.waitForStarted());
        auto const stopHost = qScopeGuard([&host] {
            host.kill();
            host.waitForFinished();
        });
        // The rows committed so far; none while the host has not made its file yet.
        auto committed = [&target] {
            SessionReader reader(target);
            auto const sessions = reader.sessions();
            return sessions.isEmpty() ? QList<zelt::store::StoredRow>()
                                      : reader.rows(sessions.first().id, 0, 1 << 20);
        };
        QTRY_VERIFY_WITH_TIMEOUT(!committed().isEmpty(), 30000);
        QTcpSocket script;
        script.connectToHost(QHostAddress::LocalHost, sharePort);
        QVERIFY(script.waitForConnected(5000));
        script.write(":SOURce:VOLTage:LEVel 5\n:SOURce:CURRent:LEVel 1\n:OUTPut:STATe ON\n");
        QVERIFY(script.waitForBytesWritten(5000));
        // The output on in a committed row: 5 V into the simulator's 10 ohms.
        QTRY_VERIFY_WITH_TIMEOUT(qAbs(committed().constLast().cells.value(3).toDouble() - 5.0) < 0.05, 30000);
        qsizetype const before = committed().size();
        ::kill(pid_t(host.processId()), SIGKILL);
        QVERIFY(host.waitForFinished(10000));

        {
            SessionStore next(target); // a host started again marks what it finds unfinished
            QVERIFY(next.flush(5000));
        }
        SessionReader reader(target);
        QVERIFY(reader.open());
        auto const sessions = reader.sessions();
        QCOMPARE(sessions.size(), 1);
        QCOMPARE(sessions.first().state, SessionState::Interrupted);
        QCOMPARE(sessions.first().header.model, QStringLiteral("KVR9040-40"));
        auto const rows = reader.rows(sessions.first().id, 0, 1 << 20);
        QCOMPARE(rows.size(), sessions.first().rows);
        QVERIFY2(rows.size() >= before,
                 qPrintable(QStringLiteral("%1 of %2 rows").arg(rows.size()).arg(before)));
        QVERIFY(qAbs(rows.last().cells.value(3).toDouble() - 5.0) < 0.05);
        // Every row as the table showed it: numbered without a gap, stamped when it was sampled.
        for (int i = 0; i < rows.size(); ++i) {
            QCOMPARE(rows.at(i).seq, i);
            QCOMPARE(rows.at(i).cells.value(0), QString::number(i + 1));
            QDateTime const sampled
                = QDateTime::fromString(rows.at(i).cells.value(1), QStringLiteral("yyyy-MM-dd hh:mm:ss"));
            QVERIFY(qAbs(sampled.msecsTo(QDateTime::fromMSecsSinceEpoch(rows.at(i).timeMs))) < 10000);
        }
    }
};

QTEST_MAIN(TestHostSessions)
#include "tst_hostsessions.moc"
