// The simulator over a real socket on loopback: answer forms, settings, physics with a manual clock,
// list and delayer runs, errors, several clients and the fault options.

#include "kvrinstrument.h"
#include "manualclock.h"
#include "simserver.h"

#include <QElapsedTimer>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QTcpSocket>
#include <QTest>
#include <QThread>

#include <optional>

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
    void sendRaw(QByteArray const& bytes)
    {
        m_socket.write(bytes);
        m_socket.flush();
    }
    std::optional<QString> nextLine(int timeoutMs = 2000)
    {
        QElapsedTimer timer;
        timer.start();
        while (!m_buffer.contains('\n')) {
            m_buffer.append(m_socket.readAll());
            if (m_buffer.contains('\n'))
                break;
            qint64 const left = timeoutMs - timer.elapsed();
            if (left <= 0 || m_socket.state() != QAbstractSocket::ConnectedState)
                return std::nullopt;
            QSignalSpy readable(&m_socket, &QTcpSocket::readyRead);
            readable.wait(static_cast<int>(left));
        }
        qsizetype const end = m_buffer.indexOf('\n');
        QString const line = QString::fromLatin1(m_buffer.left(end));
        m_buffer.remove(0, end + 1);
        return line;
    }
    QString query(QString const& line)
    {
        send(line);
        return nextLine().value_or(QStringLiteral("<no answer>"));
    }
    QTcpSocket& socket() { return m_socket; }

private:
    QTcpSocket m_socket;
    QByteArray m_buffer;
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

// The polling set of the driver, in its order, with the two group measures.
QStringList const kPollingSet = {
    ":SYSTem:POWER:MODE?",
    ":MEASure:ALL?",
    ":OUTPut:MODE?",
    ":OUTPut:STATe?",
    ":OUTPut:CVCC?",
    ":SOURce:VOLTage:LEVel?",
    ":SOURce:CURRent:LEVel?",
    ":SOURce:VOLTage:PROTection:LEVel?",
    ":SOURce:VOLTage:PROTection:STATe?",
    ":OUTPut:OVP:TRIPed?",
    ":SOURce:CURRent:PROTection:LEVel?",
    ":SOURce:CURRent:PROTection:STATe?",
    ":OUTPut:OCP:TRIPed?",
    ":SOURce:VOLTage:SLEW:RISing?",
    ":SOURce:VOLTage:SLEW:FALLing?",
    ":SOURce:CURRent:SLEW:RISing?",
    ":SOURce:CURRent:SLEW:FALLing?",
    ":RESistance?",
    ":SYSTem:BEEPer:STATe?",
    ":SYSTem:BRIGhtness?",
    ":SYSTem:POWER:POWERDown?",
    ":SYSTem:POWER:ID?",
    ":SYSTem:POWER:POWEROut?",
    ":SYSTem:POWER:OVPDelay?",
    ":SYSTem:POWER:OCPDelay?",
    ":SYSTem:POWER:ELOAD:STATe?",
    ":MEASure:PARALLEL:ALL?",
    ":MEASure:SERIES:ALL?",
};

} // namespace

class TestSimServer : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void pollingSet_data();
    void pollingSet();
    void currentDecimals_data();
    void currentDecimals();
    void settings_data();
    void settings();
    void crossover_data();
    void crossover();
    void groupReadings_data();
    void groupReadings();
    void slew_data();
    void slew();
    void protectionTrip_data();
    void protectionTrip();
    void listRun_data();
    void listRun();
    void listItemsAndConflicts();
    void delayerStopRule_data();
    void delayerStopRule();
    void badLines_data();
    void badLines();
    void errorQueueLimit();
    void noise();
    void twoClients();
    void dropEvery();
    void malformEvery();
    void closeAfterLines();
    void latencyKeepsOrder();
    void logAndSignal();
    void startFailures();
    void workerThread();

private:
    bool restart(SimOptions const& options);
    QStringList snapshot();
    void sendAll(QStringList const& lines);
    void advance(qint64 msecs);

    ManualClock m_clock;
    SimServer* m_server = nullptr;
    LineClient* m_client = nullptr;
};

bool TestSimServer::restart(SimOptions const& options)
{
    delete m_client;
    m_client = new LineClient;
    if (!m_server->start(options))
        return false;
    return m_client->connectTo(m_server->port());
}

void TestSimServer::init()
{
    m_server = new SimServer;
    m_server->setClock(&m_clock);
    SimOptions options;
    options.noise = 0;
    QVERIFY(restart(options));
}

void TestSimServer::cleanup()
{
    delete m_client;
    m_client = nullptr;
    delete m_server;
    m_server = nullptr;
}

QStringList TestSimServer::snapshot()
{
    QStringList answers;
    for (QString const& query : kPollingSet)
        answers.append(m_client->query(query));
    return answers;
}

void TestSimServer::sendAll(QStringList const& lines)
{
    for (QString const& line : lines)
        m_client->send(line);
    // Settings have no answer: a query behind them tells that they have been taken, before the
    // test moves the clock.
    QCOMPARE(m_client->query("*OPC?"), QStringLiteral("1"));
}

void TestSimServer::advance(qint64 msecs)
{
    m_clock.advance(msecs);
}

// ---- answer forms

void TestSimServer::pollingSet_data()
{
    QTest::addColumn<QString>("query");
    QTest::addColumn<QString>("pattern");
    QTest::addColumn<QString>("reset");

    QString const number3 = QStringLiteral("^\\d+\\.\\d{3}$");
    QString const boolean = QStringLiteral("^[01]$");
    QString const measure = QStringLiteral("^\\d+\\.\\d{3},\\d+\\.\\d{3},\\d+\\.\\d{3}$");
    QString const integer = QStringLiteral("^\\d+$");
    QStringList const resets = {"Normal",
                                "0.000,0.000,0.000",
                                "VHS",
                                "0",
                                "CV",
                                "0.100",
                                "0.000",
                                "42.000",
                                "0",
                                "0",
                                "42.000",
                                "0",
                                "0",
                                "1.000",
                                "1.000",
                                "1.000",
                                "1.000",
                                "0.000",
                                "1",
                                "80",
                                "0",
                                "1",
                                "OFF",
                                "100",
                                "100",
                                "OFF",
                                "0.000,0.000,0.000",
                                "0.000,0.000,0.000"};
    QStringList const patterns = {"^(Normal|PARAMaster|PARASlave|SERMaster|SERSlave|EXT_V)$",
                                  measure,
                                  "^(VHS|IHS|VSR|ISR)$",
                                  boolean,
                                  "^(CV|CC)$",
                                  number3,
                                  number3,
                                  number3,
                                  boolean,
                                  boolean,
                                  number3,
                                  boolean,
                                  boolean,
                                  number3,
                                  number3,
                                  number3,
                                  number3,
                                  number3,
                                  boolean,
                                  integer,
                                  boolean,
                                  "^[12]$",
                                  "^(OFF|KEEP)$",
                                  integer,
                                  integer,
                                  "^(OFF|ON)$",
                                  measure,
                                  measure};
    for (int i = 0; i < kPollingSet.size(); ++i)
        QTest::newRow(qPrintable(kPollingSet[i])) << kPollingSet[i] << patterns[i] << resets[i];
}

void TestSimServer::pollingSet()
{
    QFETCH(QString, query);
    QFETCH(QString, pattern);
    QFETCH(QString, reset);
    QCOMPARE(m_client->query(query), reset);

    // The form holds with the output on, under load and with noise.
    m_server->setNoise(0.0005);
    sendAll({":VOLT 12.3", ":CURR 2.5", ":OUTP ON", ":SYST:POWER:MODE PARAMaster"});
    QString const answer = m_client->query(query);
    QVERIFY2(QRegularExpression(pattern).match(answer).hasMatch(), qPrintable(answer));
    QCOMPARE(m_client->query(":SYST:ERR?"), errorAnswer(0));
}

void TestSimServer::currentDecimals_data()
{
    QTest::addColumn<QString>("model");
    QTest::addColumn<QString>("query");
    QTest::addColumn<QString>("answer");

    QTest::newRow("8 A level") << "KVR9160-8"
                               << ":SOUR:CURR?"
                               << "1.2000";
    QTest::newRow("8 A protection") << "KVR9160-8"
                                    << ":SOUR:CURR:PROT?"
                                    << "8.4000";
    QTest::newRow("8 A measure") << "KVR9160-8"
                                 << ":MEAS:ALL?"
                                 << "12.000,1.2000,14.400";
    QTest::newRow("10 A measure") << "KVR9800-10"
                                  << ":MEAS:ALL?"
                                  << "12.000,1.2000,14.400";
    QTest::newRow("12 A level") << "KVR9250-12"
                                << ":SOUR:CURR?"
                                << "1.200";
    QTest::newRow("12 A measure") << "KVR9250-12"
                                  << ":MEAS:ALL?"
                                  << "12.000,1.200,14.400";
}

void TestSimServer::currentDecimals()
{
    QFETCH(QString, model);
    QFETCH(QString, query);
    QFETCH(QString, answer);
    SimOptions options;
    options.model = model;
    options.noise = 0;
    QVERIFY(restart(options));
    sendAll({":SOUR:CURR 1.2", ":SOUR:VOLT 12", ":OUTP ON"});
    QCOMPARE(m_client->query(query), answer);
}

// ---- settings

void TestSimServer::settings_data()
{
    QTest::addColumn<QStringList>("lines");
    QTest::addColumn<QString>("query");
    QTest::addColumn<QString>("answer");
    QTest::addColumn<int>("error");

    auto row = [](char const* name, QStringList lines, char const* query, char const* answer, int error = 0) {
        QTest::newRow(name) << lines << QString::fromLatin1(query) << QString::fromLatin1(answer) << error;
    };
    row("voltage long form", {":SOURce:VOLTage:LEVel 12"}, ":SOUR:VOLT:LEV?", "12.000");
    row("voltage lower case", {":source:voltage:level 12.5"}, ":SOURce:VOLTage:LEVel?", "12.500");
    row("voltage without colon and level", {"SOUR:VOLT 1.25E1"}, "VOLT?", "12.500");
    row("voltage driver real", {":SOURce:VOLTage:LEVel 12.3457"}, ":SOUR:VOLT?", "12.346");
    row("voltage carriage return", {":SOUR:VOLT 7\r"}, ":SOUR:VOLT?", "7.000");
    row("voltage at 1.05 rated", {":SOUR:VOLT 42"}, ":SOUR:VOLT?", "42.000");
    row("voltage above range", {":SOUR:VOLT 42.1"}, ":SOUR:VOLT?", "0.100", -222);
    row("voltage below minimum", {":SOUR:VOLT 0.05"}, ":SOUR:VOLT?", "0.100", -222);
    row("voltage letters", {":SOUR:VOLT abc"}, ":SOUR:VOLT?", "0.100", -104);
    row("voltage missing", {":SOUR:VOLT"}, ":SOUR:VOLT?", "0.100", -109);
    row("voltage two values", {":SOUR:VOLT 1,2"}, ":SOUR:VOLT?", "0.100", -108);
    row("voltage in EXT_V", {":SYST:POWER:MODE EXT_V", ":SOUR:VOLT 5"}, ":SOUR:VOLT?", "0.100", -221);
    row("current", {":SOUR:CURR +0.5"}, ":SOURce:CURRent:LEVel?", "0.500");
    row("current above range", {":SOUR:CURR 42.01"}, ":SOUR:CURR?", "0.000", -222);
    row("current negative", {":SOUR:CURR -1"}, ":SOUR:CURR?", "0.000", -222);
    row("ovp level", {":SOUR:VOLT:PROT:LEV 30"}, ":SOUR:VOLT:PROT?", "30.000");
    row("ovp state ON", {":SOUR:VOLT:PROT:STAT ON"}, ":SOUR:VOLT:PROT:STAT?", "1");
    row("ovp state lower on", {":SOUR:VOLT:PROT:STAT on"}, ":SOUR:VOLT:PROT:STAT?", "1");
    row("ovp state 1 then OFF", {":SOUR:VOLT:PROT:STAT 1", ":SOUR:VOLT:PROT:STAT OFF"},
        ":SOUR:VOLT:PROT:STAT?", "0");
    row("ovp state word", {":SOUR:VOLT:PROT:STAT YES"}, ":SOUR:VOLT:PROT:STAT?", "0", -104);
    row("ocp level", {":SOURce:CURRent:PROTection:LEVel 12.5"}, ":SOUR:CURR:PROT:LEV?", "12.500");
    row("ocp state", {":SOUR:CURR:PROT:STAT 1"}, ":SOUR:CURR:PROT:STAT?", "1");
    row("voltage rising", {":SOUR:VOLT:SLEW:RIS 0.01"}, ":SOUR:VOLT:SLEW:RIS?", "0.010");
    row("voltage falling", {":SOURce:VOLTage:SLEW:FALLing 840"}, ":SOUR:VOLT:SLEW:FALL?", "840.000");
    row("current rising above", {":SOUR:CURR:SLEW:RIS 840.5"}, ":SOUR:CURR:SLEW:RIS?", "1.000", -222);
    row("current falling below", {":SOUR:CURR:SLEW:FALL 0.001"}, ":SOUR:CURR:SLEW:FALL?", "1.000", -222);
    row("resistance", {":RES 0.25"}, ":RESistance?", "0.250");
    row("resistance above", {":RES 1.5"}, ":RES?", "0.000", -222);
    row("output mode any case", {":OUTP:MODE vsr"}, ":OUTP:MODE?", "VSR");
    row("output mode unknown", {":OUTP:MODE FAST"}, ":OUTP:MODE?", "VHS", -104);
    row("output state", {":OUTPut:STATe ON"}, ":OUTP:STAT?", "1");
    row("beeper", {":SYST:BEEP:STAT OFF"}, ":SYSTem:BEEPer:STATe?", "0");
    row("brightness", {":SYST:BRIG 50"}, ":SYST:BRIG?", "50");
    row("brightness rounded down", {":SYST:BRIG 50.4"}, ":SYST:BRIG?", "50");
    row("brightness rounded up", {":SYST:BRIG 50.6"}, ":SYST:BRIG?", "51");
    row("brightness too low", {":SYST:BRIG 19"}, ":SYST:BRIG?", "80", -222);
    row("brightness too high", {":SYST:BRIG 101"}, ":SYST:BRIG?", "80", -222);
    row("power down", {":SYST:POWER:POWERD ON"}, ":SYST:POWER:POWERDown?", "1");
    row("power mode any case", {":SYST:POWER:MODE paramaster"}, ":SYST:POWER:MODE?", "PARAMaster");
    row("power mode series slave", {":SYST:POWER:MODE SERSlave"}, ":SYST:POWER:MODE?", "SERSlave");
    row("power mode unknown", {":SYST:POWER:MODE Triple"}, ":SYST:POWER:MODE?", "Normal", -104);
    row("power id", {":SYST:POWER:ID 2"}, ":SYST:POWER:ID?", "2");
    row("power id too high", {":SYST:POWER:ID 3"}, ":SYST:POWER:ID?", "1", -222);
    row("power out", {":SYST:POWER:POWERO keep"}, ":SYST:POWER:POWEROut?", "KEEP");
    row("ovp delay", {":SYST:POWER:OVPD 10000"}, ":SYST:POWER:OVPDelay?", "10000");
    row("ocp delay", {":SYST:POWER:OCPD 10"}, ":SYST:POWER:OCPDelay?", "10");
    row("ocp delay too short", {":SYST:POWER:OCPD 9"}, ":SYST:POWER:OCPD?", "100", -222);
    row("eload", {":SYST:POWER:ELOAD:STAT ON"}, ":SYST:POWER:ELOAD:STATe?", "ON");
    row("eload boolean", {":SYST:POWER:ELOAD:STAT 1"}, ":SYST:POWER:ELOAD:STAT?", "OFF", -104);
    row("simulated load", {":SIM:LOAD 2.5"}, ":SIMulation:LOAD?", "2.500");
    row("reset", {":SOUR:VOLT 12", ":SYST:BRIG 30", "*RST"}, ":SYST:BRIG?", "80");
    row("remote takes no value", {":SYST:REM 1"}, ":SYST:BRIG?", "80", -108);
}

void TestSimServer::settings()
{
    QFETCH(QStringList, lines);
    QFETCH(QString, query);
    QFETCH(QString, answer);
    QFETCH(int, error);
    sendAll(lines);
    QCOMPARE(m_client->query(query), answer);
    QCOMPARE(m_client->query(":SYST:ERR?"), errorAnswer(error));
    QCOMPARE(m_client->query(":SYST:ERR?"), errorAnswer(0));
}

// ---- physics

void TestSimServer::crossover_data()
{
    QTest::addColumn<QStringList>("lines");
    QTest::addColumn<QString>("measure");
    QTest::addColumn<QString>("cvcc");

    QTest::newRow("constant voltage")
        << QStringList {":VOLT 12", ":CURR 2", ":OUTP ON"} << "12.000,1.200,14.400"
        << "CV";
    QTest::newRow("constant current")
        << QStringList {":VOLT 12", ":CURR 0.5", ":OUTP ON"} << "5.000,0.500,2.500"
        << "CC";
    QTest::newRow("at the crossover")
        << QStringList {":VOLT 12", ":CURR 1.2", ":OUTP ON"} << "12.000,1.200,14.400"
        << "CV";
    QTest::newRow("rated power") << QStringList {":SIM:LOAD 1", ":VOLT 40", ":CURR 40", ":OUTP ON"}
                                 << "28.284,28.284,800.000"
                                 << "CC";
    QTest::newRow("internal resistance")
        << QStringList {":RES 0.5", ":VOLT 12", ":CURR 5", ":OUTP ON"} << "11.429,1.143,13.061"
        << "CV";
    QTest::newRow("output off") << QStringList {":VOLT 12", ":CURR 0.5"} << "0.000,0.000,0.000"
                                << "CV";
    QTest::newRow("switched off again")
        << QStringList {":VOLT 12", ":CURR 0.5", ":OUTP ON", ":OUTP OFF"} << "0.000,0.000,0.000"
        << "CV";
}

void TestSimServer::crossover()
{
    QFETCH(QStringList, lines);
    QFETCH(QString, measure);
    QFETCH(QString, cvcc);
    sendAll(lines);
    QCOMPARE(m_client->query(":MEAS:ALL?"), measure);
    QCOMPARE(m_client->query(":OUTP:CVCC?"), cvcc);
}

void TestSimServer::groupReadings_data()
{
    QTest::addColumn<QString>("mode");
    QTest::addColumn<QString>("parallel");
    QTest::addColumn<QString>("series");

    QTest::newRow("normal") << "Normal"
                            << "12.000,1.200,14.400"
                            << "12.000,1.200,14.400";
    QTest::newRow("parallel master") << "PARAMaster"
                                     << "12.000,2.400,28.800"
                                     << "12.000,1.200,14.400";
    QTest::newRow("parallel slave") << "PARASlave"
                                    << "12.000,2.400,28.800"
                                    << "12.000,1.200,14.400";
    QTest::newRow("series master") << "SERMaster"
                                   << "12.000,1.200,14.400"
                                   << "24.000,1.200,28.800";
    QTest::newRow("series slave") << "SERSlave"
                                  << "12.000,1.200,14.400"
                                  << "24.000,1.200,28.800";
}

void TestSimServer::groupReadings()
{
    QFETCH(QString, mode);
    QFETCH(QString, parallel);
    QFETCH(QString, series);
    sendAll({":VOLT 12", ":CURR 2", ":OUTP ON", ":SYST:POWER:MODE " + mode});
    QCOMPARE(m_client->query(":MEAS:ALL?"), QStringLiteral("12.000,1.200,14.400"));
    QCOMPARE(m_client->query(":MEAS:PARALLEL:ALL?"), parallel);
    QCOMPARE(m_client->query(":MEAS:SERIES:ALL?"), series);
}

void TestSimServer::slew_data()
{
    QTest::addColumn<QStringList>("lines");
    QTest::addColumn<QStringList>("change"); // sent after the first second
    QTest::addColumn<QStringList>("expected"); // MEAS:ALL? at 0, 500 ms, 1000 ms, 1500 ms, 3000 ms

    QTest::newRow("VHS follows at once")
        << QStringList {":OUTP:MODE VHS", ":VOLT:SLEW:RIS 10", ":VOLT 10", ":CURR 5", ":OUTP ON"}
        << QStringList {}
        << QStringList {"10.000,1.000,10.000", "10.000,1.000,10.000", "10.000,1.000,10.000",
                        "10.000,1.000,10.000", "10.000,1.000,10.000"};
    QTest::newRow("VSR rises and falls")
        << QStringList {":OUTP:MODE VSR", ":VOLT:SLEW:RIS 10", ":VOLT:SLEW:FALL 4",
                        ":VOLT 10",       ":CURR 5",           ":OUTP ON"}
        << QStringList {":VOLT 2"}
        << QStringList {"0.000,0.000,0.000", "5.000,0.500,2.500", "10.000,1.000,10.000", "8.000,0.800,6.400",
                        "2.000,0.200,0.400"};
    QTest::newRow("ISR ramps the current")
        << QStringList {":OUTP:MODE ISR", ":CURR:SLEW:RIS 0.4", ":VOLT 40", ":CURR 1", ":OUTP ON"}
        << QStringList {}
        << QStringList {"0.000,0.000,0.000", "2.000,0.200,0.400", "4.000,0.400,1.600", "6.000,0.600,3.600",
                        "10.000,1.000,10.000"};
}

void TestSimServer::slew()
{
    QFETCH(QStringList, lines);
    QFETCH(QStringList, change);
    QFETCH(QStringList, expected);
    sendAll(lines);
    QCOMPARE(m_client->query(":MEAS:ALL?"), expected[0]);
    advance(500);
    QCOMPARE(m_client->query(":MEAS:ALL?"), expected[1]);
    advance(500);
    QCOMPARE(m_client->query(":MEAS:ALL?"), expected[2]);
    sendAll(change);
    advance(500);
    QCOMPARE(m_client->query(":MEAS:ALL?"), expected[3]);
    advance(1500);
    QCOMPARE(m_client->query(":MEAS:ALL?"), expected[4]);
}

void TestSimServer::protectionTrip_data()
{
    QTest::addColumn<QStringList>("lines");
    QTest::addColumn<QString>("tripped");
    QTest::addColumn<QString>("other");
    QTest::addColumn<QString>("clear");
    QTest::addColumn<int>("delay");

    QTest::newRow("ovp") << QStringList {":VOLT:PROT 10", ":VOLT:PROT:STAT ON", ":VOLT 12", ":CURR 5",
                                         ":OUTP ON"}
                         << ":OUTP:OVP:TRIP?"
                         << ":OUTP:OCP:TRIP?"
                         << ":SOUR:VOLT:PROT:CLE" << 100;
    QTest::newRow("ovp with delay") << QStringList {":SYST:POWER:OVPD 250",
                                                    ":VOLT:PROT 10",
                                                    ":VOLT:PROT:STAT ON",
                                                    ":VOLT 12",
                                                    ":CURR 5",
                                                    ":OUTP ON"}
                                    << ":OUTP:OVP:TRIP?"
                                    << ":OUTP:OCP:TRIP?"
                                    << ":VOLT:PROT:CLE" << 250;
    QTest::newRow("ocp") << QStringList {":SIM:LOAD 1", ":CURR:PROT 1", ":CURR:PROT:STAT ON",
                                         ":VOLT 12",    ":CURR 2",      ":OUTP ON"}
                         << ":OUTP:OCP:TRIP?"
                         << ":OUTP:OVP:TRIP?"
                         << ":CURR:PROT:CLE" << 100;
    QTest::newRow("ocp with delay and source clear") << QStringList {":SYST:POWER:OCPD 40",
                                                                     ":SIM:LOAD 1",
                                                                     ":CURR:PROT 1",
                                                                     ":CURR:PROT:STAT 1",
                                                                     ":VOLT 12",
                                                                     ":CURR 2",
                                                                     ":OUTP ON"}
                                                     << ":OUTP:OCP:TRIP?"
                                                     << ":OUTP:OVP:TRIP?"
                                                     << ":SOURce:CURRent:PROTection:CLEar" << 40;
}

void TestSimServer::protectionTrip()
{
    QFETCH(QStringList, lines);
    QFETCH(QString, tripped);
    QFETCH(QString, other);
    QFETCH(QString, clear);
    QFETCH(int, delay);
    sendAll(lines);
    advance(delay - 1);
    QCOMPARE(m_client->query(tripped), QStringLiteral("0"));
    QCOMPARE(m_client->query(":OUTP?"), QStringLiteral("1"));
    advance(2);
    QCOMPARE(m_client->query(tripped), QStringLiteral("1"));
    QCOMPARE(m_client->query(other), QStringLiteral("0"));
    QCOMPARE(m_client->query(":OUTP?"), QStringLiteral("0"));
    QCOMPARE(m_client->query(":MEAS:ALL?"), QStringLiteral("0.000,0.000,0.000"));

    // Tripped, the output refuses to come on.
    m_client->send(":OUTP ON");
    QCOMPARE(m_client->query(":OUTP?"), QStringLiteral("0"));
    QCOMPARE(m_client->query(":SYST:ERR?"), errorAnswer(-221));

    m_client->send(clear);
    QCOMPARE(m_client->query(tripped), QStringLiteral("0"));
    // Cleared but still above the level: on again, and tripped again after the delay.
    m_client->send(":OUTP ON");
    QCOMPARE(m_client->query(":OUTP?"), QStringLiteral("1"));
    advance(delay);
    QCOMPARE(m_client->query(tripped), QStringLiteral("1"));
    QCOMPARE(m_client->query(":SYST:ERR?"), errorAnswer(0));
}

// ---- list and delayer

void TestSimServer::listRun_data()
{
    QTest::addColumn<QString>("endState");
    QTest::addColumn<int>("cycles");
    QTest::addColumn<QString>("finalOutput");

    QTest::newRow("end OFF, one cycle") << "OFF" << 1 << "0";
    QTest::newRow("end ON, one cycle") << "ON" << 1 << "1";
    QTest::newRow("end OFF, two cycles") << "off" << 2 << "0";
}

void TestSimServer::listRun()
{
    QFETCH(QString, endState);
    QFETCH(int, cycles);
    QFETCH(QString, finalOutput);
    QString const end = endState.toUpper();
    // Rows at 2, 3 and 4 of 10: 5 V 1.0 s, 10 V 2.0 s, 15 V 0.5 s.
    sendAll({":LIST:PARA 2,5,1,1", ":LIST:PARA 3,10,1,2", ":LISTout:PARAmeter 4,15,1.5,0.5",
             QStringLiteral(":LIST:BASE 2,3,%1,%2").arg(cycles).arg(endState)});
    QCOMPARE(m_client->query(":LIST:BASE?"), QStringLiteral("2,3,%1,%2").arg(cycles).arg(end));
    QCOMPARE(m_client->query(":LIST:STAT?"), QStringLiteral("0,0.100,0,0,0,%1").arg(end));

    sendAll({":LIST:STAT ON"});
    for (int cycle = 1; cycle <= cycles; ++cycle) {
        int const done = cycle - 1;
        advance(500);
        QCOMPARE(m_client->query(":LIST:STAT?"),
                 QStringLiteral("1,5.000,2,%1,%2,%3").arg(cycle).arg(done).arg(end));
        QCOMPARE(m_client->query(":MEAS:ALL?"), QStringLiteral("5.000,0.500,2.500"));
        advance(1000);
        QCOMPARE(m_client->query(":LIST:STAT?"),
                 QStringLiteral("1,10.000,3,%1,%2,%3").arg(cycle).arg(done).arg(end));
        QCOMPARE(m_client->query(":MEAS:ALL?"), QStringLiteral("10.000,1.000,10.000"));
        advance(1700);
        QCOMPARE(m_client->query(":LIST:STAT?"),
                 QStringLiteral("1,15.000,4,%1,%2,%3").arg(cycle).arg(done).arg(end));
        QCOMPARE(m_client->query(":MEAS:ALL?"), QStringLiteral("15.000,1.500,22.500"));
        advance(300); // 3.5 s: the cycle is over
    }
    QCOMPARE(m_client->query(":LIST:STAT?"), QStringLiteral("0,15.000,4,%1,%1,%2").arg(cycles).arg(end));
    QCOMPARE(m_client->query(":OUTP?"), finalOutput);
    QCOMPARE(m_client->query(":MEAS:ALL?"),
             finalOutput == QLatin1String("1") ? QStringLiteral("15.000,1.500,22.500")
                                               : QStringLiteral("0.000,0.000,0.000"));
    QCOMPARE(m_client->query(":SYST:ERR?"), errorAnswer(0));
}

void TestSimServer::listItemsAndConflicts()
{
    sendAll({":LIST:PARA 0,5,1,1", ":LIST:PARA 1,10.25,2.5,2.04", ":LIST:PARA 2,42,42,99999.9",
             ":LIST:BASE 0,3,0,ON"});
    QCOMPARE(m_client->query(":LIST:PARA? 0,3"),
             QStringLiteral("5.000,1.000,1.0;10.250,2.500,2.0;42.000,42.000,99999.9"));
    QCOMPARE(m_client->query(":LIST:PARA? 127,1"), QStringLiteral("0.100,0.000,1.0"));
    QCOMPARE(m_client->query(":SYST:ERR?"), errorAnswer(0));

    // Rows and base beyond their ranges change nothing.
    sendAll({":LIST:PARA 128,1,1,1", ":LIST:PARA 0,42.1,1,1", ":LIST:PARA 0,1,1,0.04",
             ":LIST:BASE 127,2,1,OFF", ":LIST:BASE 0,3,1,LAST"});
    for (int code : {-222, -222, -222, -222, -104})
        QCOMPARE(m_client->query(":SYST:ERR?"), errorAnswer(code));
    QCOMPARE(m_client->query(":LIST:PARA? 0,1"), QStringLiteral("5.000,1.000,1.0"));
    QCOMPARE(m_client->query(":LIST:BASE?"), QStringLiteral("0,3,0,ON"));

    // While the (endless) list runs, its rows and base are locked.
    m_client->send(":LIST:STAT ON");
    sendAll({":LIST:PARA 0,7,1,1", ":LIST:BASE 0,1,1,OFF", ":DELAY:STAT ON"});
    for (int i = 0; i < 3; ++i)
        QCOMPARE(m_client->query(":SYST:ERR?"), errorAnswer(-221));
    QCOMPARE(m_client->query(":LIST:PARA? 0,1"), QStringLiteral("5.000,1.000,1.0"));
    advance(3600 * 1000); // an hour of an endless list
    QCOMPARE(m_client->query(":LIST:STAT?").section(QLatin1Char(','), 0, 0), QStringLiteral("1"));
    m_client->send(":LIST:STAT OFF");
    m_client->send(":LIST:PARA 0,7,1,1");
    QCOMPARE(m_client->query(":LIST:PARA? 0,1"), QStringLiteral("7.000,1.000,1.0"));

    // Delayer items, in both boolean forms.
    sendAll({":DELAY:PARA 0,ON,0.5", ":DELAY:PARA 1,0,1.25", ":DELAY:STOP V<,1.5"});
    QCOMPARE(m_client->query(":DELAY:PARA? 0,2"), QStringLiteral("1,0.5,0,1.3"));
    QCOMPARE(m_client->query(":DELAY:STOP?"), QStringLiteral("V<,1.5"));
    QCOMPARE(m_client->query(":SYST:ERR?"), errorAnswer(0));
}

void TestSimServer::delayerStopRule_data()
{
    QTest::addColumn<QString>("rule");
    QTest::addColumn<bool>("stops");
    QTest::addColumn<QString>("finalState");
    QTest::addColumn<QString>("finalOutput");

    // The delayer (off 2 s, on 2 s, endless) switches the output on at 2 s: 12 V, 1.2 A, 14.4 W into
    // 10 ohms, and off again at 4 s.
    QString const endless = QStringLiteral("1,12.000,0,2,1,LAST");
    QString const stoppedOn = QStringLiteral("0,12.000,1,1,0,LAST");
    QTest::newRow("none") << "None" << false << endless << "0";
    QTest::newRow("voltage rises above") << "V<,5" << true << stoppedOn << "1";
    QTest::newRow("current rises above") << "C<,1" << true << stoppedOn << "1";
    QTest::newRow("power rises above") << "P<,10" << true << stoppedOn << "1";
    QTest::newRow("power stays below") << "P<,20" << false << endless << "0";
    // Below 5 V from the start, which is no crossing; the fall at 4 s is.
    QTest::newRow("voltage falls below") << "V>,5" << false << "0,12.000,0,2,1,LAST"
                                         << "0";
}

void TestSimServer::delayerStopRule()
{
    QFETCH(QString, rule);
    QFETCH(bool, stops);
    QFETCH(QString, finalState);
    QFETCH(QString, finalOutput);
    sendAll({":VOLT 12", ":CURR 5", ":DELAY:PARA 0,OFF,2", ":DELAY:PARA 1,ON,2", ":DELAY:START 0",
             ":DELAY:GROUPS 2", ":DELAY:CYCLES 0", ":DELAY:ENDSTATE LAST", ":DELAY:STOP " + rule});
    QCOMPARE(m_client->query(":DELAY:STOP?"), rule);
    QCOMPARE(m_client->query(":DELAY:CYCLE?") + m_client->query(":DELAY:ENDS?")
                 + m_client->query(":DELAY:GROUP?"),
             QStringLiteral("0LAST2"));
    sendAll({":DELAY:STAT ON"});
    advance(1900);
    QCOMPARE(m_client->query(":DELAY:STAT?"), QStringLiteral("1,12.000,0,1,0,LAST"));
    QCOMPARE(m_client->query(":OUTP?"), QStringLiteral("0"));
    // Settings of a running delayer are locked.
    m_client->send(":DELAY:CYCLE 3");
    QCOMPARE(m_client->query(":SYST:ERR?"), errorAnswer(-221));
    advance(200);
    QCOMPARE(m_client->query(":DELAY:STAT?").section(QLatin1Char(','), 0, 0),
             stops ? QStringLiteral("0") : QStringLiteral("1"));
    QCOMPARE(m_client->query(":OUTP?"), QStringLiteral("1"));
    advance(2000);
    // An endless delayer goes on to its next cycle; a stopped one stays as it ended (LAST).
    QCOMPARE(m_client->query(":DELAY:STAT?"), finalState);
    QCOMPARE(m_client->query(":OUTP?"), finalOutput);
}

// ---- errors

void TestSimServer::badLines_data()
{
    QTest::addColumn<QString>("line");
    QTest::addColumn<int>("error");

    QTest::newRow("unknown keyword") << ":SOUR:VOLTX 5" << -113;
    QTest::newRow("not a short form") << ":SOUR:VOL 5" << -113;
    QTest::newRow("empty keyword") << ":SOUR::VOLT 5" << -113;
    QTest::newRow("query of a command") << "*RST?" << -113;
    QTest::newRow("command of a query") << ":MEAS:ALL" << -113;
    QTest::newRow("garbage") << "hello world" << -113;
    QTest::newRow("value with unit") << ":SOUR:VOLT 5V" << -104;
    QTest::newRow("value with two points") << ":SOUR:VOLT 1.2.3" << -104;
    QTest::newRow("boolean word") << ":OUTP:STAT maybe" << -104;
    QTest::newRow("parameter on a query") << ":SOUR:VOLT? 5" << -108;
    QTest::newRow("item query short") << ":LIST:PARA? 0" << -109;
    QTest::newRow("item query beyond memory") << ":LIST:PARA? 127,2" << -222;
    QTest::newRow("item query not integer") << ":DELAY:PARA? 0.5,1" << -104;
    QTest::newRow("delayer stop rule") << ":DELAY:STOP X<,1" << -104;
    QTest::newRow("delayer row index") << ":DELAY:PARA 200,1,1" << -222;
    QTest::newRow("list base short") << ":LIST:BASE 0,1,1" << -109;
}

void TestSimServer::badLines()
{
    QFETCH(QString, line);
    QFETCH(int, error);
    sendAll({":VOLT 12", ":CURR 2", ":OUTP ON"});
    QStringList const before = snapshot();
    m_client->send(line);
    // Nothing answers the bad line: the next answer is that of the next query.
    QCOMPARE(m_client->query(":SYST:ERR?"), errorAnswer(error));
    QCOMPARE(m_client->query(":SYST:ERR?"), errorAnswer(0));
    QCOMPARE(snapshot(), before);
}

void TestSimServer::errorQueueLimit()
{
    for (int i = 0; i < 20; ++i)
        m_client->send(i % 2 ? ":BOGUS" : ":SOUR:VOLT 99");
    for (int i = 0; i < 15; ++i)
        QCOMPARE(m_client->query(":SYST:ERR?"), errorAnswer(i % 2 ? -113 : -222));
    QCOMPARE(m_client->query(":SYST:ERR?"), errorAnswer(-350));
    QCOMPARE(m_client->query(":SYST:ERR?"), errorAnswer(0));

    m_client->send(":BOGUS");
    m_client->send("*CLS");
    QCOMPARE(m_client->query(":SYST:ERR?"), errorAnswer(0));
}

void TestSimServer::noise()
{
    auto readings = [this](quint32 seed, double noise) {
        SimOptions options;
        options.seed = seed;
        options.noise = noise;
        if (!restart(options))
            return QStringList();
        sendAll({":VOLT 20", ":CURR 10", ":OUTP ON"});
        QStringList answers;
        for (int i = 0; i < 20; ++i)
            answers.append(m_client->query(":MEAS:ALL?"));
        return answers;
    };
    QStringList const first = readings(7, 0.0005);
    QCOMPARE(first.size(), 20);
    QCOMPARE(readings(7, 0.0005), first);
    QVERIFY(readings(8, 0.0005) != first);
    QStringList exact = readings(7, 0);
    exact.removeDuplicates();
    QCOMPARE(exact, QStringList {"20.000,2.000,40.000"});
    bool varies = false;
    for (QString const& answer : first) {
        QStringList const fields = answer.split(QLatin1Char(','));
        QCOMPARE(fields.size(), 3);
        // 0.05 % of 40 V and of 40 A.
        QVERIFY2(qAbs(fields[0].toDouble() - 20.0) <= 0.0201, qPrintable(answer));
        QVERIFY2(qAbs(fields[1].toDouble() - 2.0) <= 0.0201, qPrintable(answer));
        varies = varies || answer != first.first();
    }
    QVERIFY(varies);
}

// ---- clients and faults

void TestSimServer::twoClients()
{
    LineClient other;
    QVERIFY(other.connectTo(m_server->port()));
    sendAll({":SOUR:VOLT 12"});
    QCOMPARE(other.query(":SOUR:VOLT?"), QStringLiteral("12.000"));

    // Each client has its own line buffer: half a line of one doesn't disturb the other.
    m_client->sendRaw(":SOUR:CU");
    other.send(":SYST:BRIG 33");
    QCOMPARE(other.query(":SYST:BRIG?"), QStringLiteral("33"));
    m_client->sendRaw("RR?\n");
    QCOMPARE(m_client->nextLine().value_or(QString()), QStringLiteral("0.000"));

    // Answers go to the client that asked, in its order.
    m_client->send("*IDN?");
    other.send(":SYST:BRIG?");
    m_client->send(":SOUR:VOLT?");
    QCOMPARE(other.nextLine().value_or(QString()), QStringLiteral("33"));
    QVERIFY(m_client->nextLine().value_or(QString()).startsWith(QLatin1String("KVR,KVR9040-40,")));
    QCOMPARE(m_client->nextLine().value_or(QString()), QStringLiteral("12.000"));
    QCOMPARE(m_server->connectionCount(), 2);
}

void TestSimServer::dropEvery()
{
    m_server->setDropEvery(3);
    QStringList const queries
        = {"*IDN?", ":SOUR:VOLT?", ":SYST:BRIG?", ":OUTP:MODE?", ":SYST:POWER:MODE?", ":SYST:POWER:OVPD?"};
    for (QString const& query : queries)
        m_client->send(query);
    QStringList answers;
    for (int i = 0; i < 4; ++i)
        answers.append(m_client->nextLine().value_or(QString()));
    QVERIFY(answers[0].startsWith(QLatin1String("KVR,")));
    QCOMPARE(answers.mid(1), (QStringList {"0.100", "VHS", "Normal"}));
    // The sixth was dropped too: the next answer is the marker's.
    QTRY_COMPARE(m_server->receivedLines().size(), 6);
    m_server->setDropEvery(0);
    QCOMPARE(m_client->query("*OPC?"), QStringLiteral("1"));
    QCOMPARE(m_server->receivedLines().mid(0, 6), queries);
}

void TestSimServer::malformEvery()
{
    sendAll({":VOLT 12", ":CURR 2", ":OUTP ON"});
    m_server->setMalformEvery(2);
    QStringList answers;
    for (int i = 0; i < 8; ++i)
        answers.append(m_client->query(":MEAS:ALL?"));
    QString const good = QStringLiteral("12.000,1.200,14.400");
    QCOMPARE(
        answers,
        (QStringList {good, "12.000,1.200", good, "BC.AAA,B.CAA,BE.EAA", good, "", good, "12.000,1.200"}));
    m_server->setMalformEvery(1);
    QCOMPARE(m_client->query(":SYST:BRIG?"), QStringLiteral("80,0"));
}

void TestSimServer::closeAfterLines()
{
    m_server->setCloseAfterLines(3);
    QSignalSpy gone(&m_client->socket(), &QTcpSocket::disconnected);
    m_client->send(":VOLT 5");
    QCOMPARE(m_client->query(":SOUR:VOLT?"), QStringLiteral("5.000"));
    // The third line is still served; the fourth, in the same packet, no longer is.
    m_client->sendRaw(":SYST:BRIG?\n:SYST:BRIG 20\n");
    QCOMPARE(m_client->nextLine().value_or(QString()), QStringLiteral("80"));
    QVERIFY(gone.count() == 1 || gone.wait(2000));
    QCOMPARE(m_server->receivedLines(), (QStringList {":VOLT 5", ":SOUR:VOLT?", ":SYST:BRIG?"}));
    QTRY_COMPARE(m_server->connectionCount(), 0);

    // The limit is per connection: a new one is served again.
    LineClient fresh;
    QVERIFY(fresh.connectTo(m_server->port()));
    QCOMPARE(fresh.query(":SYST:BRIG?"), QStringLiteral("80"));
}

void TestSimServer::latencyKeepsOrder()
{
    m_server->setLatency(60);
    QElapsedTimer timer;
    timer.start();
    m_client->send(":SOUR:VOLT?");
    m_client->send(":SYST:BRIG?");
    QTRY_COMPARE(m_server->receivedLines().size(), 2);
    m_server->setLatency(0);
    m_client->send(":OUTP:MODE?");
    QCOMPARE(m_client->nextLine().value_or(QString()), QStringLiteral("0.100"));
    QVERIFY2(timer.elapsed() >= 55, qPrintable(QString::number(timer.elapsed())));
    // The answer without latency waited for those before it.
    QCOMPARE(m_client->nextLine().value_or(QString()), QStringLiteral("80"));
    QCOMPARE(m_client->nextLine().value_or(QString()), QStringLiteral("VHS"));
}

void TestSimServer::logAndSignal()
{
    QSignalSpy received(m_server, &SimServer::lineReceived);
    m_clock.setNow(m_clock.nowMsecs() + 1000);
    qint64 const t0 = m_clock.nowMsecs();
    m_client->sendRaw(":SOUR:VOLT 3\r\n");
    QTRY_COMPARE(received.count(), 1);
    advance(250);
    QCOMPARE(m_client->query(":sour:volt?"), QStringLiteral("3.000"));
    QList<SimServer::LogEntry> const log = m_server->log();
    QCOMPARE(log.size(), 2);
    QCOMPARE(log[0].line, QStringLiteral(":SOUR:VOLT 3"));
    QCOMPARE(log[0].msecs, t0);
    QCOMPARE(log[1].line, QStringLiteral(":sour:volt?"));
    QCOMPARE(log[1].msecs, t0 + 250);
    QCOMPARE(received.count(), 2);
    QCOMPARE(received.at(1).at(0).toString(), QStringLiteral(":sour:volt?"));
    m_server->clearLog();
    QVERIFY(m_server->receivedLines().isEmpty());
    QCOMPARE(m_server->resourceString(),
             QStringLiteral("TCPIP0::127.0.0.1::%1::SOCKET").arg(m_server->port()));
}

void TestSimServer::startFailures()
{
    SimServer second;
    SimOptions options;
    options.model = QStringLiteral("KVR9999-1");
    QVERIFY(!second.start(options));
    QVERIFY(second.errorString().contains(QLatin1String("KVR9999-1")));
    QVERIFY(!second.isListening());

    options.model = QStringLiteral("KVR9040-40");
    options.port = m_server->port();
    QVERIFY(!second.start(options));
    QVERIFY(!second.errorString().isEmpty());

    options.port = 0;
    QVERIFY(second.start(options));
    QVERIFY(second.port() != 0);
}

void TestSimServer::workerThread()
{
    // A host may make the simulator inside a worker thread and talk to it from its own.
    QThread thread;
    QObject context;
    context.moveToThread(&thread);
    thread.start();
    SimServer* server = nullptr;
    QMetaObject::invokeMethod(
        &context,
        [&server] {
            server = new SimServer;
            SimOptions options;
            options.latencyMs = 5;
            server->start(options);
        },
        Qt::BlockingQueuedConnection);
    QVERIFY(server && server->port() != 0);
    LineClient client;
    QVERIFY(client.connectTo(server->port()));
    client.send(":SOUR:VOLT 12");
    QCOMPARE(client.query(":SOUR:VOLT?"), QStringLiteral("12.000"));
    QCOMPARE(client.query("*IDN?").section(QLatin1Char(','), 0, 1), QStringLiteral("KVR,KVR9040-40"));
    QMetaObject::invokeMethod(
        &context, [server] { delete server; }, Qt::BlockingQueuedConnection);
    thread.quit();
    QVERIFY(thread.wait(5000));
}

QTEST_GUILESS_MAIN(TestSimServer)
#include "tst_sim_server.moc"
