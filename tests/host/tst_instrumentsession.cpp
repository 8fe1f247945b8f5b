// What the host says about an instrument it holds: a lost or refused link, a tripped
// protection and a setting the instrument rejected, each in the window's banner; the link
// brought back by itself; the instruments reopened at the next start; and the instrument
// shared with scripts on a local port while the window polls.

#include "host/instrumentsession.h"
#include "host/mainwindow.h"
#include "host/pluginmanager.h"

#include "measure/linkmonitor.h"
#include "measure/measureinst.h"
#include "measure/queryclient.h"
#include "share/scpishareserver.h"
#include "simulator/simserver.h"
#include "tests/common/dialogscript.h"
#include "tests/common/pollingring.h"
#include "widget/equipmentwindow.h"
#include "widget/linkbanner.h"

#include <QtTest>
#include <QtWidgets>

#include <memory>

using zelt::host::InstrumentSession;
using zelt::host::MainWindow;
using State = zelt::measure::LinkMonitor::State;

namespace {

QString const kModel = QStringLiteral("KVR9040-40");

// Whether lines hold nothing but the polling ring, one whole pass of it included.
bool onlyPolling(QStringList const& lines)
{
    QStringList const ring = pollingRing();
    for (QString const& line : lines) {
        if (!ring.contains(line))
            return false;
    }
    for (qsizetype i = 0; i + ring.size() <= lines.size(); ++i) {
        if (lines.mid(i, ring.size()) == ring)
            return true;
    }
    return false;
}

// A script's raw socket to the shared port: one line out, one answer back.
class ScriptSocket : public QTcpSocket
{
public:
    bool open(quint16 port)
    {
        connectToHost(QHostAddress::LocalHost, port);
        return waitForConnected(3000);
    }
    void put(QByteArray const& line) { write(line + '\n'); }
    QByteArray ask(QByteArray const& line)
    {
        put(line);
        QElapsedTimer clock;
        clock.start();
        while (!canReadLine() && clock.elapsed() < 5000)
            QTest::qWait(5);
        return canReadLine() ? readLine().trimmed() : QByteArray("(no answer)");
    }
};

} // namespace

class TestInstrumentSession : public QObject
{
    Q_OBJECT

    std::unique_ptr<zelt::host::PluginManager> m_plugins;
    std::unique_ptr<MainWindow> m_host;
    kvrsim::SimServer m_server;
    QString m_python; // an interpreter with PyVISA and its Python backend, if any

    bool startServer(quint16 port = 0)
    {
        kvrsim::SimOptions options;
        options.model = kModel;
        options.noise = 0.0;
        options.port = port;
        m_server.clearLog();
        return m_server.start(options);
    }
    InstrumentSession* open(QString const& resource, QString const& name = QStringLiteral("PSU"))
    {
        QString error;
        if (!m_host->openResource(kModel, resource, name, &error)) {
            qWarning() << error;
            return nullptr;
        }
        return m_host->sessions().last();
    }

    // A session on a fresh simulator, polling; null when it does not come to poll.
    InstrumentSession* polled()
    {
        InstrumentSession* session = startServer() ? open(m_server.resourceString()) : nullptr;
        return session && QTest::qWaitFor([session] { return polling(session); }, 10000) ? session : nullptr;
    }

    static bool polling(InstrumentSession* session) { return session->monitor()->state() == State::Polling; }
    // Sends lines through the instrument's queue as another asker would.
    static void send(InstrumentSession* session, QList<QByteArray> const& lines)
    {
        auto* client = new zelt::measure::QueryClient(session->window()->parts().queue, session);
        for (QByteArray const& line : lines)
            client->send(line);
    }

private Q_SLOTS:
    void initTestCase()
    {
        QStandardPaths::setTestModeEnabled(true);
        QApplication::setQuitOnLastWindowClosed(false);
        m_plugins = std::make_unique<zelt::host::PluginManager>();
        m_plugins->loadFolder(QStringLiteral(ZELT_KVR9000_PLUGIN_DIR));
        for (auto const& failure : m_plugins->failures())
            qWarning() << failure.path << failure.reason;
        QVERIFY(m_plugins->findModel(kModel));
        // Debian's python3-pyvisa-py lives beside the system's interpreter, which a PATH may hide.
        for (QString const& python : {QStringLiteral("/usr/bin/python3"), QStringLiteral("python3")}) {
            QProcess probe;
            probe.start(python, {"-c", "import pyvisa, pyvisa_py"});
            if (probe.waitForFinished(20000) && probe.exitCode() == 0) {
                m_python = python;
                break;
            }
        }
    }
    void init()
    {
        QSettings().clear();
        m_host = std::make_unique<MainWindow>(m_plugins.get());
        m_host->show();
    }
    void cleanup()
    {
        // A case that failed with an output on leaves the quit question open: answer it.
        DialogScript answers({QMessageBox::Yes});
        m_host->close();
        QTRY_VERIFY_WITH_TIMEOUT(m_host->isHidden(), MainWindow::kCloseBoundMs + 10000);
        m_host.reset();
        m_server.stop();
    }

    void linkFailuresSaidInWords_data()
    {
        QTest::addColumn<bool>("listening");
        QTest::addColumn<QString>("said");
        QTest::newRow("lost mid-run, back by itself") << true << "Connection lost";
        QTest::newRow("refused at connect") << false << "Connection refused";
    }
    void linkFailuresSaidInWords()
    {
        QFETCH(bool, listening);
        QFETCH(QString, said);
        QVERIFY(startServer());
        quint16 const port = m_server.port();
        QString const resource = m_server.resourceString();
        if (!listening)
            m_server.stop();
        InstrumentSession* session = open(resource);
        QVERIFY(session);
        QWidget* live = session->window()->parts().live;
        QVERIFY(live);
        auto const linkRow = [session] {
            return session->banner()->rowText(InstrumentSession::LinkRow);
        };
        zelt::measure::LinkMonitor const* monitor = session->monitor();
        if (!listening) {
            QTRY_COMPARE(monitor->state(), State::Refused);
            QVERIFY2(linkRow().count(said) == 1, qPrintable(linkRow()));
            QVERIFY(!m_host->statusBar()->currentMessage().contains(QStringLiteral("opened")));
            QVERIFY(live->graphicsEffect());
            return;
        }
        QTRY_VERIFY(polling(session));
        QTRY_VERIFY(!live->graphicsEffect());
        QVERIFY(m_host->statusBar()->currentMessage().contains(QStringLiteral("opened")));
        m_server.stop();
        QTRY_VERIFY(linkRow().contains(said));
        QVERIFY(linkRow().contains(QStringLiteral("Next try at")));
        QVERIFY(session->window()->windowTitle().contains(QStringLiteral("[Reconnecting]")));
        QVERIFY(live->graphicsEffect());
        // A failed try doubles the wait: 1 s, then 2 s.
        QTRY_VERIFY_WITH_TIMEOUT(monitor->since().msecsTo(monitor->nextTry()) > 2500, 15000);

        // Back on the same port: found by a later try, with nothing but the polling sent.
        QVERIFY(startServer(port));
        QTRY_VERIFY_WITH_TIMEOUT(polling(session), 15000);
        QTRY_VERIFY(!live->graphicsEffect());
        QVERIFY(!session->banner()->hasRow(InstrumentSession::LinkRow));
        QTRY_VERIFY(m_server.receivedLines().size() >= 3 * pollingRing().size());
        QVERIFY(onlyPolling(m_server.receivedLines()));

        // The link that came back starts the waits over.
        m_server.stop();
        QTRY_COMPARE(monitor->state(), State::Reconnecting);
        QVERIFY2(monitor->since().msecsTo(monitor->nextTry()) < 2000,
                 qPrintable(QString::number(monitor->since().msecsTo(monitor->nextTry()))));
    }

    void protectionTripClearedFromTheBanner()
    {
        InstrumentSession* session = polled();
        QVERIFY(session);
        send(session,
             {":SOURce:CURRent:LEVel 2", ":SOURce:VOLTage:PROTection:LEVel 8",
              ":SOURce:VOLTage:PROTection:STATe ON", ":OUTPut:STATe ON", ":SOURce:VOLTage:LEVel 12"});
        QTRY_VERIFY(session->banner()->hasRow(InstrumentSession::OverVoltageRow));
        QVERIFY(session->banner()
                    ->rowText(InstrumentSession::OverVoltageRow)
                    .contains(QStringLiteral("Over-voltage")));
        QVERIFY(!session->banner()->hasRow(InstrumentSession::OverCurrentRow));
        // The trip and the output state come from different answers of the ring.
        QTRY_VERIFY(!session->outputOn());

        qsizetype const from = m_server.receivedLines().size();
        auto const buttons = session->banner()->findChildren<QToolButton*>();
        auto const clear = std::find_if(buttons.begin(), buttons.end(), [](QToolButton* button) {
            return button->text() == QLatin1String("Clear") && button->isVisible();
        });
        QVERIFY(clear != buttons.end());
        (*clear)->click();
        QTRY_VERIFY(!session->banner()->hasRow(InstrumentSession::OverVoltageRow));
        QStringList const settings = m_server.receivedLines().mid(from).filter(QRegularExpression("^[^?]*$"));
        QCOMPARE(settings, QStringList {":SOURce:VOLTage:PROTection:CLEar"});
    }

    // Quitting while an output is on asks first; No keeps the host and the instrument running.
    void quitAsksWhileAnOutputIsOn()
    {
        InstrumentSession* session = polled();
        QVERIFY(session);
        send(session, {":OUTPut:STATe ON"});
        QTRY_VERIFY(session->outputOn());
        DialogScript answers({QMessageBox::No});
        m_host->close();
        QCOMPARE(answers.shown.size(), 1);
        QVERIFY2(answers.shown.first().contains(QStringLiteral("The output of PSU is on")),
                 qPrintable(answers.shown.first()));
        QVERIFY(m_host->isVisible());
        QVERIFY(polling(session));
        send(session, {":OUTPut:STATe OFF"});
        QTRY_VERIFY(!session->outputOn());
    }

    void rejectedSettingShownWithItsLine_data()
    {
        QTest::addColumn<QString>("setting");
        QTest::addColumn<QString>("shown");
        QTest::newRow("out of range") << ":SOURce:VOLTage:LEVel 50.000"
                                      << "-222,\"Data out of range\" after :SOURce:VOLTage:LEVel 50.000";
        QTest::newRow("unknown header") << ":SOURce:VOLTage:LEVul 5"
                                        << "-113,\"Undefined header\" after :SOURce:VOLTage:LEVul 5";
    }
    void rejectedSettingShownWithItsLine()
    {
        QFETCH(QString, setting);
        QFETCH(QString, shown);
        InstrumentSession* session = polled();
        QVERIFY(session);
        QTRY_VERIFY(m_server.receivedLines().size() >= 3 * pollingRing().size());
        QVERIFY(onlyPolling(m_server.receivedLines()));

        // A setting as the driver sends it: a one-shot word that awaits no answer.
        zelt::measure::MeasureInst* queue = session->window()->parts().queue;
        queue->AppendCommand(queue->makeWord(setting, 0), true);
        QTRY_VERIFY(session->banner()->rowText(InstrumentSession::ErrorRow).contains(shown));
        QCOMPARE(session->instrumentErrors(), 1);
        QTRY_COMPARE(m_server.receivedLines().count(QStringLiteral(":SYSTem:ERRor?")), 2);
        QStringList const lines = m_server.receivedLines();
        qsizetype const sent = lines.indexOf(setting);
        QVERIFY(sent >= 0);
        // Read right after the setting, until the instrument's queue is empty.
        QCOMPARE(lines.mid(sent, 3), (QStringList {setting, ":SYSTem:ERRor?", ":SYSTem:ERRor?"}));
    }

    // A PyVISA script sets and reads back through the shared port while the window polls and
    // the instrument answers the window late now and then: every answer is the script's own,
    // every recorded reading the instrument's, and no line of the script is lost.
    void scriptSharesTheInstrument()
    {
        if (m_python.isEmpty())
            QSKIP("PyVISA with its Python backend is not installed (python3-pyvisa-py)");
        InstrumentSession* session = polled();
        QVERIFY(session);
        QVERIFY(session->share(0, false));
        zelt::measure::MeasureInst* queue = session->window()->parts().queue;
        queue->setWordTimeLimit(200);
        // Three late answers while the script runs, well short of the window's ninth error.
        QSignalSpy errors(queue, &zelt::measure::MeasureInst::processError);
        connect(queue, &zelt::measure::MeasureInst::processError, this, [this, &errors] {
            if (errors.count() == 3)
                m_server.setLateEvery(0, 0);
        });
        QProcess script;
        script.start(m_python,
                     {"-c",
                      QStringLiteral(R"(
import pyvisa, sys
i = pyvisa.ResourceManager('@py').open_resource('TCPIP::127.0.0.1::%1::SOCKET',
        read_termination='\n', write_termination='\n', timeout=5000)
for n in range(125):
    level = '%d.000' % (1 + n % 30)
    i.write(':SOUR:VOLT:LEV ' + level)
    for query, want in ((':SOUR:VOLT:LEV?', level), ('*IDN?', 'KVR,KVR9040-40,'), (':SYST:BRIG?', '80')):
        got = i.query(query)
        if not (got.startswith(want) if query == '*IDN?' else got == want):
            sys.exit('%s answered %r' % (query, got))
print('ok')
)")
                          .arg(session->shareServer()->port())});
        QTRY_COMPARE(session->shareServer()->connectionCount(), 1);
        m_server.setLateEvery(2, 300, QStringLiteral(":MEASure:ALL?"));
        QTRY_VERIFY_WITH_TIMEOUT(script.state() == QProcess::NotRunning, 60000);
        QCOMPARE(QString::fromUtf8(script.readAllStandardError()), QString());
        QCOMPARE(script.readAllStandardOutput().trimmed(), QByteArray("ok"));
        QVERIFY(errors.count() >= 3);
        QStringList lines = m_server.receivedLines();
        QStringList const ring = pollingRing();
        // The barrier after each late answer is an *IDN? of the queue's own.
        lines.removeIf([&ring](QString const& line) { return ring.contains(line) || line == "*IDN?"; });
        QStringList sent;
        for (int n = 0; n < 125; ++n)
            sent << QStringLiteral(":SOUR:VOLT:LEV %1.000").arg(1 + n % 30) << ":SOUR:VOLT:LEV?"
                 << ":SYST:BRIG?";
        QCOMPARE(lines, sent);
        // With the output off, a reading is 0, or empty where it came late.
        QAbstractItemModel* record = session->window()->parts().record->model();
        QVERIFY(record->rowCount() > 0);
        for (int row = 0; row < record->rowCount(); ++row) {
            for (int column = 3; column <= 5; ++column) {
                QString const cell = record->index(row, column).data().toString();
                QVERIFY2(cell == "0.000" || cell.isEmpty(), qPrintable(cell));
            }
        }
    }

    void readOnlyPortTakesQueriesOnly()
    {
        InstrumentSession* session = polled();
        QVERIFY(session);
        QVERIFY(session->share(0, true));
        QVERIFY(session->window()->windowTitle().contains(QStringLiteral("shared read-only on port")));
        zelt::share::ScpiShareServer other(session->window()->parts().queue);
        QVERIFY(other.listen(0, false));
        ScriptSocket reader;
        ScriptSocket writer;
        QVERIFY(reader.open(session->shareServer()->port()));
        QVERIFY(writer.open(other.port()));
        writer.put(":SYSTem:BRIGhtness 50");
        QCOMPARE(writer.ask(":SYSTem:BRIGhtness?"), QByteArray("50"));
        reader.put(":SYSTem:BRIGhtness 30");
        QCOMPARE(reader.ask(":SYST:ERR?"), QByteArray("-203,\"Command protected; this port is read-only\""));
        QCOMPARE(reader.ask(":SYSTem:BRIGhtness?"), QByteArray("50"));
        QVERIFY(!m_server.receivedLines().contains(QStringLiteral(":SYSTem:BRIGhtness 30")));
        // Garbage and an over-long line are refused; the connection and the polling go on.
        reader.write(QByteArray(70000, 'x') + "\n\x01\x02\xff\n");
        QCOMPARE(reader.ask(":SYST:ERR?").left(4), QByteArray("-223"));
        QCOMPARE(reader.ask(":SYST:ERR?").left(4), QByteArray("-101"));
        QCOMPARE(reader.ask("*IDN?").left(15), QByteArray("KVR,KVR9040-40,"));
        QVERIFY(polling(session));
        // The scripts' connections end with the window.
        session->window()->close();
        QTRY_COMPARE(reader.state(), QAbstractSocket::UnconnectedState);
    }

    // A script that floods the port and never reads, then hangs up with queries in flight: the
    // window keeps polling, another script keeps being answered, and the connection goes.
    void floodingClientHangsUp()
    {
        InstrumentSession* session = polled();
        QVERIFY(session);
        QVERIFY(session->share(0, false));
        QSignalSpy passes(session->window()->parts().queue.data(),
                          &zelt::measure::MeasureInst::passCompleted);
        ScriptSocket flooder;
        QVERIFY(flooder.open(session->shareServer()->port()));
        QByteArray flood;
        for (int i = 0; i < 20000; ++i)
            flood += ":SYST:BRIG?\n";
        flooder.write(flood);
        ScriptSocket other;
        QVERIFY(other.open(session->shareServer()->port()));
        for (int i = 0; i < 5; ++i)
            QCOMPARE(other.ask("*IDN?").left(4), QByteArray("KVR,"));
        QTRY_VERIFY(passes.count() >= 5);
        flooder.abort();
        QTRY_COMPARE(session->shareServer()->connectionCount(), 1);
        QCOMPARE(other.ask("*IDN?").left(4), QByteArray("KVR,"));
        QVERIFY(polling(session));
        // And with the link.
        m_server.stop();
        QTRY_COMPARE(other.state(), QAbstractSocket::UnconnectedState);
    }

    void reopenedAtTheNextStart()
    {
        QVERIFY(startServer());
        kvrsim::SimServer second;
        kvrsim::SimOptions options;
        options.model = QStringLiteral("KVR9080-20");
        QVERIFY(second.start(options));
        QStringList const resources {m_server.resourceString(), second.resourceString()};
        QVERIFY(open(resources.at(0), QStringLiteral("Left")));
        QVERIFY(m_host->openResource(options.model, resources.at(1), QStringLiteral("Right")));
        QTRY_VERIFY(polling(m_host->sessions().at(0)) && polling(m_host->sessions().at(1)));
        m_host->close();
        QTRY_VERIFY_WITH_TIMEOUT(m_host->isHidden(), MainWindow::kCloseBoundMs + 10000);

        m_host = std::make_unique<MainWindow>(m_plugins.get());
        m_host->show();
        DialogScript answers({QMessageBox::Yes});
        QVERIFY(m_host->offerRestore());
        QTRY_COMPARE(m_host->sessions().size(), 2);
        for (QString const& resource : resources)
            QVERIFY2(answers.shown.value(0).contains(resource), qPrintable(answers.shown.join('\n')));
        QStringList reopened;
        for (InstrumentSession* session : m_host->sessions())
            reopened << session->equipment()->name + QLatin1Char('@') + session->equipment()->resource;
        QCOMPARE(reopened, (QStringList {"Left@" + resources.at(0), "Right@" + resources.at(1)}));
        QTRY_VERIFY(polling(m_host->sessions().at(0)) && polling(m_host->sessions().at(1)));
        m_host->close();
        QTRY_VERIFY_WITH_TIMEOUT(m_host->isHidden(), MainWindow::kCloseBoundMs + 10000);
    }
};

QTEST_MAIN(TestInstrumentSession)
#include "tst_instrumentsession.moc"
