// The simulated instrument where the driver relies on it: ratings and reset levels per model,
// answer forms, settings and their refusals, readings with a manual clock, list and delayer runs
// and the error queue. Its socket is exercised by the driver and window suites.

#include "simulator/kvrinstrument.h"
#include "simulator/kvrratings.h"
#include "simulator/manualclock.h"
#include "tests/common/pollingring.h"

#include <QTest>

#include <memory>

using namespace kvrsim;

namespace {

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

class TestSimInstrument : public QObject
{
    Q_OBJECT

    ManualClock m_clock;
    std::unique_ptr<KvrInstrument> m_unit;
    QStringList m_stray; // answers to lines that must have none

    QString query(QString const& line) { return m_unit->handleLine(line).value_or(QStringLiteral("<none>")); }
    // The answers to the queries in turn, joined by ';'.
    QString ask(QStringList const& queries)
    {
        QStringList answers;
        for (QString const& line : queries)
            answers.append(query(line));
        return answers.join(QLatin1Char(';'));
    }
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
    // Settings, and lines the instrument refuses, answer nothing.
    void send(QStringList const& lines)
    {
        for (QString const& line : lines) {
            if (std::optional<QString> const answer = m_unit->handleLine(line))
                m_stray << line + " -> " + *answer;
        }
    }
    void send(QString const& line) { send(QStringList {line}); }

private Q_SLOTS:
    void init()
    {
        m_stray.clear();
        m_unit
            = std::make_unique<KvrInstrument>(*KvrRatings::fromModel(QStringLiteral("KVR9040-40")), &m_clock);
        m_unit->setNoise(0);
    }
    void cleanup() { QCOMPARE(m_stray, QStringList()); }

    void ratings_data()
    {
        QTest::addColumn<QString>("model");
        QTest::addColumn<QString>("ratings"); // volts, amps, watts, minimum volts; empty: not of the family
        QTest::addColumn<QString>("reset"); // voltage, OVP and OCP levels, reading
        auto row = [](char const* name, char const* model, char const* ratings = "", char const* reset = "") {
            QTest::newRow(name) << QString(model) << QString(ratings) << QString(reset);
        };
        row("320 snaps to 400", "KVR9160-8", "160,8,400,0.5", "0.500;168.000;8.4000;0.000,0.0000,0.000");
        row("400 snaps to 800", "KVR9040-40", "40,40,800,0.1", "0.100;42.000;42.000;0.000,0.000,0.000");
        row("750 snaps to 800", "kvr9250-12", "250,12,800,0.5", "0.500;262.500;12.600;0.000,0.000,0.000");
        row("800 snaps to 1200", "KVR9800-4", "800,4,1200,0.1", "0.100;840.000;4.2000;0.000,0.0000,0.000");
        row("1200 kept", "KVR9080-60", "80,60,1200,0.1", "0.100;84.000;63.000;0.000,0.000,0.000");
        row("10 A has 4 decimals", "KVR9800-10", "800,10,2000,0.1",
            "0.100;840.000;10.5000;0.000,0.0000,0.000");
        row("other family", "PXN3040-40");
        row("no current", "KVR9040-");
    }

    void ratings()
    {
        QFETCH(QString, model);
        QFETCH(QString, ratings);
        QFETCH(QString, reset);
        std::optional<KvrRatings> const rated = KvrRatings::fromModel(model);
        QCOMPARE(rated.has_value(), !ratings.isEmpty());
        if (!rated)
            return;
        QCOMPARE(
            QString::asprintf("%g,%g,%g,%g", rated->voltage, rated->current, rated->power, rated->minVoltage),
            ratings);

        ManualClock clock;
        KvrInstrument instrument(*rated, &clock);
        QStringList answers;
        for (char const* query : {":SOUR:VOLT?", ":SOUR:VOLT:PROT?", ":SOUR:CURR:PROT?", ":MEAS:ALL?"})
            answers.append(instrument.handleLine(QString::fromLatin1(query)).value_or(QString()));
        QCOMPARE(answers.join(QLatin1Char(';')), reset);
        QCOMPARE(instrument.handleLine(QStringLiteral("*IDN?"))
                     .value_or(QString())
                     .section(QLatin1Char(','), 0, 1),
                 "KVR," + model.toUpper());
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
        row("voltage rounded, lower case", {":SOURce:VOLTage:LEVel 12.3457"}, ":sour:volt?", "12.346");
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
        row("brightness rounded up", {":SYST:BRIG 50.6"}, ":SYST:BRIG?", "51");
        row("power mode any case", {":SYST:POWER:MODE paramaster"}, ":SYST:POWER:MODE?", "PARAMaster");
        row("power mode unknown", {":SYST:POWER:MODE Triple"}, ":SYST:POWER:MODE?", "Normal", -104);
        QByteArray const polled = kPollingSet.join(';').toLatin1();
        row("fresh", {}, polled.constData(), kResetAnswers);
        row("reset", {":SOUR:VOLT 12", ":SYST:BRIG 30", ":OUTP ON", "*RST"}, polled.constData(),
            kResetAnswers);
        row("unknown keyword", {":SOUR:VOLTX 5"}, ":SOUR:VOLT?", "0.100", -113);
        row("short form is not any prefix", {":SYST:POWER:POWER ON"}, ":SYST:POWER:POWERD?", "0", -113);
        row("query of a command", {"*RST?"}, ":SYST:BRIG?", "80", -113);
        row("parameter on a query", {":SOUR:VOLT? 5"}, ":SYST:BRIG?", "80", -108);

        // Readings into the default 10 ohms.
        QStringList const on = {":VOLT 12", ":CURR 2", ":OUTP ON"};
        QString const single = QStringLiteral("12.000,1.200,14.400");
        char const* const cvcc = ":MEAS:ALL?;:OUTP:CVCC?";
        row("constant voltage", on, cvcc, single + ";CV");
        row("constant current", {":VOLT 12", ":CURR 0.5", ":OUTP ON"}, cvcc, "5.000,0.500,2.500;CC");
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
        send(lines);
        QCOMPARE(ask(queries.split(QLatin1Char(';'))), answers);
        QCOMPARE(errors(), error ? QString::number(error) : QString());
    }

    void listRun_data()
    {
        QTest::addColumn<QString>("endState");
        QTest::addColumn<int>("cycles");
        QTest::addColumn<QString>("finalOutput");
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
        send({":LIST:PARA 2,5,1,1", ":LIST:PARA 3,10,1,2", ":LISTout:PARAmeter 4,15,1.5,0.5",
              QStringLiteral(":LIST:BASE 2,3,%1,%2").arg(cycles).arg(endState)});
        QCOMPARE(query(":LIST:BASE?"), QStringLiteral("2,3,%1,%2").arg(cycles).arg(end));
        QCOMPARE(query(":LIST:STAT?"), QStringLiteral("0,0.100,0,0,0,%1").arg(end));

        send(":LIST:STAT ON");
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
        send({":LIST:PARA 0,5,1,1", ":LIST:PARA 1,10.25,2.5,2.04", ":LIST:PARA 2,42,42,99999.9",
              ":LIST:BASE 0,3,0,ON"});
        QCOMPARE(query(":LIST:PARA? 0,3"),
                 QStringLiteral("5.000,1.000,1.0;10.250,2.500,2.0;42.000,42.000,99999.9"));
        QCOMPARE(query(":LIST:PARA? 127,1"), QStringLiteral("0.100,0.000,1.0"));
        QCOMPARE(query(":SYST:ERR?"), errorAnswer(0));

        // While the (endless) list runs, its rows and base are locked and the delayer can't start.
        send(":LIST:STAT ON");
        send({":LIST:PARA 0,7,1,1", ":LIST:BASE 0,1,1,OFF", ":DELAY:STAT ON"});
        QCOMPARE(errors(), "-221,-221,-221");
        QCOMPARE(query(":LIST:PARA? 0,1"), QStringLiteral("5.000,1.000,1.0"));
        m_clock.advance(qint64(3600) * 1000);
        QCOMPARE(query(":LIST:STAT?").section(QLatin1Char(','), 0, 0), QStringLiteral("1"));
        send(":OUTP OFF"); // switching by hand ends the list
        send(":LIST:PARA 0,7,1,1");
        QCOMPARE(query(":LIST:PARA? 0,1"), QStringLiteral("7.000,1.000,1.0"));

        // Delayer items, in both boolean forms.
        send({":DELAY:PARA 0,ON,0.5", ":DELAY:PARA 1,0,1.25"});
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
        send({":VOLT 12", ":CURR 5", ":DELAY:PARA 0,OFF,2", ":DELAY:PARA 1,ON,2", ":DELAY:START 0",
              ":DELAY:GROUPS 2", ":DELAY:CYCLES 0", ":DELAY:ENDSTATE LAST", ":DELAY:STOP " + rule});
        QCOMPARE(query(":DELAY:STOP?"), rule);
        QCOMPARE(ask({":DELAY:CYCLE?", ":DELAY:ENDS?", ":DELAY:GROUP?"}), QStringLiteral("0;LAST;2"));
        send(":DELAY:STAT ON");
        m_clock.advance(1900);
        QCOMPARE(ask({":DELAY:STAT?", ":OUTP?"}), QStringLiteral("1,12.000,0,1,0,LAST;0"));
        // Settings of a running delayer are locked.
        send(":DELAY:CYCLE 3");
        QCOMPARE(query(":SYST:ERR?"), errorAnswer(-221));
        m_clock.advance(200);
        QCOMPARE(query(":DELAY:STAT?").section(QLatin1Char(','), 0, 0), stateAt2s);
        QCOMPARE(query(":OUTP?"), QStringLiteral("1"));
        m_clock.advance(2000);
        QCOMPARE(ask({":DELAY:STAT?", ":OUTP?"}), finalState);
    }
};

QTEST_GUILESS_MAIN(TestSimInstrument)
#include "tst_sim_instrument.moc"
