// The simulator over a real socket on loopback, where the driver relies on it: answer forms,
// settings and their refusals, readings with a manual clock, list and delayer runs, the error queue.

#include "simulator/manualclock.h"
#include "simulator/simserver.h"
#include "tests/common/pollingring.h"

#include <QDeadlineTimer>
#include <QSignalSpy>
#include <QTcpSocket>
#include <QTest>

#include <memory>

using namespace kvrsim;

namespace {

// A client that reads answer lines while the event loop (and with it the server) runs.
class LineClient
{
public:
    bool connectTo(quint16 port)
    {
        m_socket.connectToHost(QHostAddress::LocalHost, port);
        m_socket.setSocketOption(QAbstractSocket::LowDelayOption, 1);
        QSignalSpy connected(&m_socket, &QTcpSocket::connected);
        return m_socket.state() == QAbstractSocket::ConnectedState || connected.wait(2000);
    }
    void send(QString const& line)
    {
        m_socket.write(line.toLatin1() + '\n');
        m_socket.flush();
    }
    QString nextLine()
    {
        QDeadlineTimer const deadline(2000);
        while (!m_socket.canReadLine() && m_socket.state() == QAbstractSocket::ConnectedState
               && !deadline.hasExpired())
            QSignalSpy(&m_socket, &QTcpSocket::readyRead).wait(int(deadline.remainingTime()));
        return m_socket.canReadLine() ? QString::fromLatin1(m_socket.readLine()).chopped(1)
                                      : QStringLiteral("<no answer>");
    }
    QString query(QString const& line)
    {
        send(line);
        return nextLine();
    }

private:
    QTcpSocket m_socket;
};

QString errorAnswer(int code)
{
    static QHash<int, QString> const kTexts = {{0, "No error"},
                                               {-104, "Data type error"},
                                               {-108, "Parameter not allowed"},
                                               {-109, "Missing parameter"},
                                               {-113, "Undefined header"},
                                               {-221, "Settings conflict"},
                                               {-222, "Data out of range"},
                                               {-350, "Queue overflow"}};
    return QStringLiteral("%1,\"%2\"").arg(code).arg(kTexts.value(code));
}

// The polling ring of the driver, and its answers after a reset.
QStringList const kPollingSet = pollingRing()
    + QStringList {QStringLiteral(":MEASure:PARALLEL:ALL?"), QStringLiteral(":MEASure:SERIES:ALL?")};
char const* const kResetAnswers
    = "Normal;0.000,0.000,0.000;VHS;0;CV;0.100;0.000;42.000;0;0;42.000;0;0;1.000;1.000;"
      "1.000;1.000;0.000;1;80;0;1;OFF;100;100;OFF;0.000,0.000,0.000;0.000,0.000,0.000";

} // namespace

class TestSimServer : public QObject
{
    Q_OBJECT

    ManualClock m_clock;
    std::unique_ptr<SimServer> m_server;
    std::unique_ptr<LineClient> m_client;

    QString query(QString const& line) { return m_client->query(line); }
    // The answers to the queries in turn, joined by ';'.
    QString ask(QStringList const& queries)
    {
        QStringList answers;
        for (QString const& line : queries)
            answers.append(query(line));
        return answers.join(QLatin1Char(';'));
    }
    QString snapshot() { return ask(kPollingSet); }
    // The codes in the error queue until it is empty, joined by ','; an answer of another form as it came.
    QString errors()
    {
        QStringList codes;
        for (int i = 0; i < 25; ++i) {
            QString const answer = query(":SYST:ERR?");
            int const code = answer.section(',', 0, 0).toInt();
            if (code != 0 || answer != errorAnswer(0))
                codes.append(answer == errorAnswer(code) ? QString::number(code) : answer);
            if (code == 0)
                break;
        }
        return codes.join(',');
    }
    void sendAll(QStringList const& lines)
    {
        for (QString const& line : lines)
            m_client->send(line);
        // Settings have no answer: one to a query behind them tells they were taken before the clock moves.
        QCOMPARE(query("*OPC?"), QStringLiteral("1"));
    }

private Q_SLOTS:
    void init()
    {
        m_server = std::make_unique<SimServer>();
        m_server->setClock(&m_clock);
        SimOptions options;
        options.noise = 0;
        m_client = std::make_unique<LineClient>();
        QVERIFY(m_server->start(options) && m_client->connectTo(m_server->port()));
    }

    void cleanup()
    {
        m_client.reset();
        m_server.reset();
    }

    void resetState()
    {
        QCOMPARE(snapshot(), kResetAnswers);
        QCOMPARE(errors(), "");
    }

    // Lines sent, then the answers to queries (joined by ';') and the error they leave.
    void answers_data()
    {
        QTest::addColumn<QStringList>("lines");
        QTest::addColumn<QString>("queries");
        QTest::addColumn<QString>("answers");
        QTest::addColumn<int>("error");
        auto row
            = [](char const* name, QStringList lines, char const* queries, QString answers, int error = 0) {
                  QTest::newRow(name) << lines << QString(queries) << answers << error;
              };
        // Settings, read back or refused; a refused or unknown line changes nothing and answers nothing.
        row("voltage rounded, lower case, CR LF", {":SOURce:VOLTage:LEVel 12.3457\r"}, ":sour:volt?",
            "12.346");
        row("voltage in exponent form", {":SOUR:VOLT +1.25E1"}, ":SOUR:VOLT?", "12.500");
        row("voltage at 1.05 rated", {":SOUR:VOLT 42"}, ":SOUR:VOLT?", "42.000");
        row("voltage below minimum", {":SOUR:VOLT 0.05"}, ":SOUR:VOLT?", "0.100", -222);
        row("voltage missing", {":SOUR:VOLT"}, ":SOUR:VOLT?", "0.100", -109);
        row("voltage two values", {":SOUR:VOLT 1,2"}, ":SOUR:VOLT?", "0.100", -108);
        row("voltage with unit", {":SOUR:VOLT 5V"}, ":SOUR:VOLT?", "0.100", -104);
        row("voltage in EXT_V", {":SYST:POWER:MODE EXT_V", ":SOUR:VOLT 5"}, ":SOUR:VOLT?", "0.100", -221);
        row("current above range", {":SOUR:CURR 42.01"}, ":SOUR:CURR?", "0.000", -222);
        row("ovp state lower on", {":SOUR:VOLT:PROT:STAT on"}, ":SOUR:VOLT:PROT:STAT?", "1");
        row("boolean word", {":OUTP:STAT maybe"}, ":OUTP?", "0", -104);
        row("slew below", {":SOUR:CURR:SLEW:FALL 0.001"}, ":SOUR:CURR:SLEW:FALL?", "1.000", -222);
        row("output mode any case", {":OUTP:MODE vsr"}, ":OUTP:MODE?", "VSR");
        row("brightness rounded up", {":SYST:BRIG 50.6"}, ":SYST:BRIG?", "51");
        row("brightness too high", {":SYST:BRIG 101"}, ":SYST:BRIG?", "80", -222);
        row("power mode any case", {":SYST:POWER:MODE paramaster"}, ":SYST:POWER:MODE?", "PARAMaster");
        row("power mode unknown", {":SYST:POWER:MODE Triple"}, ":SYST:POWER:MODE?", "Normal", -104);
        row("ocp delay at its minimum", {":SYST:POWER:OCPD 10"}, ":SYST:POWER:OCPDelay?", "10");
        row("ocp delay too short", {":SYST:POWER:OCPD 9"}, ":SYST:POWER:OCPD?", "100", -222);
        row("reset", {":SOUR:VOLT 12", ":SYST:BRIG 30", "*RST"}, ":SOUR:VOLT?;:SYST:BRIG?", "0.100;80");
        row("unknown keyword", {":SOUR:VOLTX 5"}, ":SOUR:VOLT?", "0.100", -113);
        row("short form is not any prefix", {":SYST:POWER:POWER ON"}, ":SYST:POWER:POWERD?", "0", -113);
        row("query of a command", {"*RST?"}, ":SYST:BRIG?", "80", -113);
        row("parameter on a query", {":SOUR:VOLT? 5"}, ":SYST:BRIG?", "80", -108);
        row("item query beyond memory", {":LIST:PARA? 127,2"}, ":SYST:BRIG?", "80", -222);

        // Readings into the default 10 ohms.
        QStringList const on = {":VOLT 12", ":CURR 2", ":OUTP ON"};
        QString const single = QStringLiteral("12.000,1.200,14.400");
        char const* const cvcc = ":MEAS:ALL?;:OUTP:CVCC?";
        row("constant voltage", on, cvcc, single + ";CV");
        row("constant current", {":VOLT 12", ":CURR 0.5", ":OUTP ON"}, cvcc, "5.000,0.500,2.500;CC");
        row("at the crossover", {":VOLT 12", ":CURR 1.2", ":OUTP ON"}, cvcc, single + ";CV");
        row("rated power", {":SIM:LOAD 1", ":VOLT 40", ":CURR 40", ":OUTP ON"}, cvcc,
            "28.284,28.284,800.000;CC");
        row("internal resistance", {":RES 0.5", ":VOLT 12", ":CURR 5", ":OUTP ON"}, cvcc,
            "11.429,1.143,13.061;CV");
        row("switched off again", on + QStringList {":OUTP OFF"}, cvcc, "0.000,0.000,0.000;CV");
        // The group readings double the current in parallel and the voltage in series.
        char const* const group = ":MEAS:ALL?;:MEAS:PARALLEL:ALL?;:MEAS:SERIES:ALL?";
        QString const amps = single + ";12.000,2.400,28.800;" + single;
        QString const volts = single + ';' + single + ";24.000,1.200,28.800";
        row("parallel slave", on + QStringList {":SYST:POWER:MODE PARASlave"}, group, amps);
        row("series master", on + QStringList {":SYST:POWER:MODE SERMaster"}, group, volts);
    }

    void answers()
    {
        QFETCH(QStringList, lines);
        QFETCH(QString, queries);
        QFETCH(QString, answers);
        QFETCH(int, error);
        sendAll(lines);
        QCOMPARE(ask(queries.split(QLatin1Char(';'))), answers);
        QCOMPARE(errors(), error ? QString::number(error) : QString());
    }

    void protectionTrip_data()
    {
        QTest::addColumn<QStringList>("lines");
        QTest::addColumn<QString>("kind");
        QTest::addColumn<QString>("clear");
        QTest::addColumn<int>("delay");
        auto row = [](char const* kind, QStringList lines, char const* clear, int delay) {
            QTest::newRow(kind) << lines << QString(kind) << QString(clear) << delay;
        };
        // Each with a delay of its own, so that neither may use the other's.
        row("OVP",
            {":SYST:POWER:OVPD 250", ":VOLT:PROT 10", ":VOLT:PROT:STAT ON", ":VOLT 12", ":CURR 5",
             ":OUTP ON"},
            ":SOUR:VOLT:PROT:CLE", 250);
        row("OCP",
            {":SYST:POWER:OCPD 40", ":SIM:LOAD 1", ":CURR:PROT 1", ":CURR:PROT:STAT 1", ":VOLT 12", ":CURR 2",
             ":OUTP ON"},
            ":SOURce:CURRent:PROTection:CLEar", 40);
    }

    void protectionTrip()
    {
        QFETCH(QStringList, lines);
        QFETCH(QString, kind);
        QFETCH(QString, clear);
        QFETCH(int, delay);
        QString const tripped = ":OUTP:" + kind + ":TRIP?";
        QString const other = kind == "OVP" ? ":OUTP:OCP:TRIP?" : ":OUTP:OVP:TRIP?";
        sendAll(lines);
        m_clock.advance(delay - 1);
        QCOMPARE(ask({tripped, ":OUTP?"}), QStringLiteral("0;1"));
        m_clock.advance(2);
        QCOMPARE(ask({tripped, other, ":OUTP?"}), QStringLiteral("1;0;0"));

        // Tripped, the output refuses to come on.
        m_client->send(":OUTP ON");
        QCOMPARE(ask({":OUTP?", ":SYST:ERR?"}), "0;" + errorAnswer(-221));

        m_client->send(clear);
        QCOMPARE(query(tripped), QStringLiteral("0"));
        // Cleared but still above the level: on again, and tripped again after the delay.
        m_client->send(":OUTP ON");
        QCOMPARE(query(":OUTP?"), QStringLiteral("1"));
        m_clock.advance(delay);
        QCOMPARE(ask({tripped, ":SYST:ERR?"}), "1;" + errorAnswer(0));
    }

    void listRun_data()
    {
        QTest::addColumn<QString>("endState");
        QTest::addColumn<int>("cycles");
        QTest::addColumn<QString>("finalOutput");
        QTest::newRow("end OFF, one cycle") << "OFF" << 1 << "0";
        QTest::newRow("end ON, one cycle") << "ON" << 1 << "1";
        QTest::newRow("end OFF, two cycles") << "off" << 2 << "0";
    }

    void listRun()
    {
        QFETCH(QString, endState);
        QFETCH(int, cycles);
        QFETCH(QString, finalOutput);
        QString const end = endState.toUpper();
        // Rows at 2, 3 and 4 of 10: 5 V 1.0 s, 10 V 2.0 s, 15 V 0.5 s.
        sendAll({":LIST:PARA 2,5,1,1", ":LIST:PARA 3,10,1,2", ":LISTout:PARAmeter 4,15,1.5,0.5",
                 QStringLiteral(":LIST:BASE 2,3,%1,%2").arg(cycles).arg(endState)});
        QCOMPARE(query(":LIST:BASE?"), QStringLiteral("2,3,%1,%2").arg(cycles).arg(end));
        QCOMPARE(query(":LIST:STAT?"), QStringLiteral("0,0.100,0,0,0,%1").arg(end));

        sendAll({":LIST:STAT ON"});
        // Checked inside each row; 3.5 s make a cycle.
        int const waits[] = {500, 1000, 1700};
        char const* const volts[] = {"5.000", "10.000", "15.000"};
        char const* const measures[] = {"5.000,0.500,2.500", "10.000,1.000,10.000", "15.000,1.500,22.500"};
        for (int cycle = 1; cycle <= cycles; ++cycle) {
            for (int row = 0; row < 3; ++row) {
                m_clock.advance(waits[row]);
                QCOMPARE(ask({":LIST:STAT?", ":MEAS:ALL?"}),
                         QString::asprintf("1,%s,%d,%d,%d,%s;%s", volts[row], row + 2, cycle, cycle - 1,
                                           qPrintable(end), measures[row]));
            }
            m_clock.advance(300);
        }
        QString const off = finalOutput == "1" ? measures[2] : "0.000,0.000,0.000";
        QCOMPARE(ask({":LIST:STAT?", ":OUTP?", ":MEAS:ALL?"}),
                 QStringLiteral("0,15.000,4,%1,%1,%2;").arg(cycles).arg(end) + finalOutput + ';' + off);
        QCOMPARE(query(":SYST:ERR?"), errorAnswer(0));
    }

    void listItemsAndConflicts()
    {
        sendAll({":LIST:PARA 0,5,1,1", ":LIST:PARA 1,10.25,2.5,2.04", ":LIST:PARA 2,42,42,99999.9",
                 ":LIST:BASE 0,3,0,ON"});
        QCOMPARE(query(":LIST:PARA? 0,3"),
                 QStringLiteral("5.000,1.000,1.0;10.250,2.500,2.0;42.000,42.000,99999.9"));
        QCOMPARE(query(":LIST:PARA? 127,1"), QStringLiteral("0.100,0.000,1.0"));
        QCOMPARE(query(":SYST:ERR?"), errorAnswer(0));

        // Rows and base beyond their ranges change nothing.
        sendAll({":LIST:PARA 128,1,1,1", ":LIST:PARA 0,42.1,1,1", ":LIST:PARA 0,1,1,0.04",
                 ":LIST:BASE 127,2,1,OFF", ":LIST:BASE 0,3,1,LAST"});
        QCOMPARE(errors(), "-222,-222,-222,-222,-104");
        QCOMPARE(query(":LIST:PARA? 0,1"), QStringLiteral("5.000,1.000,1.0"));
        QCOMPARE(query(":LIST:BASE?"), QStringLiteral("0,3,0,ON"));

        // While the (endless) list runs, its rows and base are locked and the delayer can't start.
        m_client->send(":LIST:STAT ON");
        sendAll({":LIST:PARA 0,7,1,1", ":LIST:BASE 0,1,1,OFF", ":DELAY:STAT ON"});
        QCOMPARE(errors(), "-221,-221,-221");
        QCOMPARE(query(":LIST:PARA? 0,1"), QStringLiteral("5.000,1.000,1.0"));
        m_clock.advance(qint64(3600) * 1000);
        QCOMPARE(query(":LIST:STAT?").section(QLatin1Char(','), 0, 0), QStringLiteral("1"));
        m_client->send(":OUTP OFF"); // switching by hand ends the list
        m_client->send(":LIST:PARA 0,7,1,1");
        QCOMPARE(query(":LIST:PARA? 0,1"), QStringLiteral("7.000,1.000,1.0"));

        // Delayer items, in both boolean forms.
        sendAll({":DELAY:PARA 0,ON,0.5", ":DELAY:PARA 1,0,1.25"});
        QCOMPARE(query(":DELAY:PARA? 0,2"), QStringLiteral("1,0.5,0,1.3"));
        QCOMPARE(query(":SYST:ERR?"), errorAnswer(0));
    }

    void delayerStopRule_data()
    {
        QTest::addColumn<QString>("rule");
        QTest::addColumn<QString>("stateAt2s"); // running flag just after the output came on
        QTest::addColumn<QString>("finalState");
        // The delayer (off 2 s, on 2 s, endless) switches the output on at 2 s: 12 V, 1.2 A, 14.4 W into
        // 10 ohms, and off again at 4 s. A stopped one stays as it ended (LAST).
        auto row = [](char const* rule, char const* stateAt2s, char const* finalState) {
            QTest::newRow(rule) << QString(rule) << QString(stateAt2s) << QString(finalState);
        };
        row("None", "1", "1,12.000,0,2,1,LAST;0");
        row("V<,5", "0", "0,12.000,1,1,0,LAST;1");
        row("C<,1", "0", "0,12.000,1,1,0,LAST;1");
        row("P<,20", "1", "1,12.000,0,2,1,LAST;0");
        // Below 5 V from the start, which is no crossing; the fall at 4 s is.
        row("V>,5", "1", "0,12.000,0,2,1,LAST;0");
    }

    void delayerStopRule()
    {
        QFETCH(QString, rule);
        QFETCH(QString, stateAt2s);
        QFETCH(QString, finalState);
        sendAll({":VOLT 12", ":CURR 5", ":DELAY:PARA 0,OFF,2", ":DELAY:PARA 1,ON,2", ":DELAY:START 0",
                 ":DELAY:GROUPS 2", ":DELAY:CYCLES 0", ":DELAY:ENDSTATE LAST", ":DELAY:STOP " + rule});
        QCOMPARE(query(":DELAY:STOP?"), rule);
        QCOMPARE(ask({":DELAY:CYCLE?", ":DELAY:ENDS?", ":DELAY:GROUP?"}), QStringLiteral("0;LAST;2"));
        sendAll({":DELAY:STAT ON"});
        m_clock.advance(1900);
        QCOMPARE(ask({":DELAY:STAT?", ":OUTP?"}), QStringLiteral("1,12.000,0,1,0,LAST;0"));
        // Settings of a running delayer are locked.
        m_client->send(":DELAY:CYCLE 3");
        QCOMPARE(query(":SYST:ERR?"), errorAnswer(-221));
        m_clock.advance(200);
        QCOMPARE(query(":DELAY:STAT?").section(QLatin1Char(','), 0, 0), stateAt2s);
        QCOMPARE(query(":OUTP?"), QStringLiteral("1"));
        m_clock.advance(2000);
        QCOMPARE(ask({":DELAY:STAT?", ":OUTP?"}), finalState);
    }

    void errorQueueLimit()
    {
        for (int i = 0; i < 20; ++i)
            m_client->send(i % 2 ? ":BOGUS" : ":SOUR:VOLT 99");
        QStringList kept;
        for (int i = 0; i < 15; ++i)
            kept << (i % 2 ? "-113" : "-222");
        QCOMPARE(errors(), kept.join(',') + ",-350");

        m_client->send(":BOGUS");
        m_client->send("*CLS");
        QCOMPARE(errors(), "");
    }
};

QTEST_GUILESS_MAIN(TestSimServer)
#include "tst_sim_server.moc"
