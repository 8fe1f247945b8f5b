// The driver on a real socket against a scripted instrument that answers what each
// test sets up and records every line it receives.

#include "mydmm.h"

#include "linepeer.h"
#include "measure/io/visa/visaio.h"

#include <QEventLoop>
#include <QSignalSpy>
#include <QTest>
#include <QTimer>

#include <cmath>
#include <functional>

using zelt::measure::QUnitValueBox;
using zelt::measure::io::visa::VisaIO;

using Action = std::function<void(MyDMM*)>;
using Getter = std::function<QString(DmmData const&)>;
Q_DECLARE_METATYPE(Action)
Q_DECLARE_METATYPE(Getter)

namespace {

// The polling ring as the instrument sees it, written out independently of the driver.
QStringList const kRing = {
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
};
QString const kModeQuery = QStringLiteral(":SYSTem:POWER:MODE?");
QString const kParallelQuery = QStringLiteral(":MEASure:PARALLEL:ALL?");
QString const kSeriesQuery = QStringLiteral(":MEASure:SERIES:ALL?");

QHash<QString, QString> defaultAnswers()
{
    return {
        {kModeQuery, "Normal"},
        {":MEASure:ALL?", "12.001,1.200,14.401"},
        {kParallelQuery, "12.001,2.400,28.802"},
        {kSeriesQuery, "24.002,1.200,28.802"},
        {":OUTPut:MODE?", "VHS"},
        {":OUTPut:STATe?", "1"},
        {":OUTPut:CVCC?", "CV"},
        {":SOURce:VOLTage:LEVel?", "12.000"},
        {":SOURce:CURRent:LEVel?", "1.500"},
        {":SOURce:VOLTage:PROTection:LEVel?", "42.000"},
        {":SOURce:VOLTage:PROTection:STATe?", "0"},
        {":OUTPut:OVP:TRIPed?", "0"},
        {":SOURce:CURRent:PROTection:LEVel?", "41.000"},
        {":SOURce:CURRent:PROTection:STATe?", "0"},
        {":OUTPut:OCP:TRIPed?", "0"},
        {":SOURce:VOLTage:SLEW:RISing?", "1.000"},
        {":SOURce:VOLTage:SLEW:FALLing?", "2.000"},
        {":SOURce:CURRent:SLEW:RISing?", "3.000"},
        {":SOURce:CURRent:SLEW:FALLing?", "4.000"},
        {":RESistance?", "0.000"},
        {":SYSTem:BEEPer:STATe?", "0"},
        {":SYSTem:BRIGhtness?", "80"},
        {":SYSTem:POWER:POWERDown?", "0"},
        {":SYSTem:POWER:ID?", "1"},
        {":SYSTem:POWER:POWEROut?", "OFF"},
        {":SYSTem:POWER:OVPDelay?", "100"},
        {":SYSTem:POWER:OCPDelay?", "100"},
        {":SYSTem:POWER:ELOAD:STATe?", "OFF"},
        {":LISTout:STATe?", "1,12.500,3,7,2.9,ON"},
        {":LISTout:BASE?", "4,10,5,OFF"},
        {":DELAY:STATe?", "0, 0.500 ,6,1,3.9,LAST"},
        {":DELAY:CYCLEs?", "7"},
        {":DELAY:ENDState?", "ON"},
        {":DELAY:STARt?", "2"},
        {":DELAY:GROUPs?", "9"},
        {":DELAY:STOP?", "V<,1.5"},
        {":LISTout:PARAmeter? 2,3", "1.000,0.500,1.0;2.000,0.500,1.0;3.000,0.500,1.0"},
        {":DELAY:PARAmeter? 0,128", "1,0.5,0,0.5"},
    };
}

QString box(QUnitValueBox const& b)
{
    return QStringLiteral("%1|%2|%3").arg(b.kind).arg(b.text, b.unit);
}

QString flag(bool on)
{
    return on ? QStringLiteral("true") : QStringLiteral("false");
}

// Every value that one pass of the ring writes holds a reading.
bool complete(DmmData const& d)
{
    Channel const* c = d.activeChannel();
    QList<QUnitValueBox const*> const boxes = {
        &c->voltage.level,
        &c->voltage.slewRising,
        &c->voltage.slewFalling,
        &c->voltage.protectionLevel,
        &c->voltage.measured,
        &c->current.level,
        &c->current.slewRising,
        &c->current.slewFalling,
        &c->current.protectionLevel,
        &c->current.measured,
        &c->power,
        &d.config().resistance,
    };
    for (QUnitValueBox const* b : boxes) {
        if (b->kind != 0)
            return false;
    }
    Config const& cfg = d.config();
    return !c->cvcc.isEmpty() && !cfg.outputMode.isEmpty() && !cfg.powerMode.isEmpty()
        && !cfg.powerOut.isEmpty() && !cfg.eloadState.isEmpty() && cfg.brightness != 0 && cfg.ovpDelay != 0
        && cfg.ocpDelay != 0;
}

QStringList g_messages;
QtMessageHandler g_previousHandler = nullptr;

void captureMessage(QtMsgType type, QMessageLogContext const& context, QString const& message)
{
    g_messages.append(message);
    if (g_previousHandler)
        g_previousHandler(type, context, message);
}

} // namespace

class TestMyDmm : public QObject
{
    Q_OBJECT
private slots:
    void init();
    void cleanup();

    void firstSampleComesFromSecondPass();
    void decoding_data();
    void decoding();
    void ringPerPowerMode_data();
    void ringPerPowerMode();
    void modeChangeDropsPassInProgress_data();
    void modeChangeDropsPassInProgress();
    void unknownWordIsLoggedAndCycleGoesOn();
    void settingCommands_data();
    void settingCommands();
    void toggles_data();
    void toggles();
    void queryGroups_data();
    void queryGroups();
    void shortStateAnswerLeavesRunning();
    void historySurvivesCloseAndOpen();

private:
    // Runs the event loop until done holds, checking it whenever the driver or the peer makes
    // progress. qWaitFor would sleep between rounds of events, 10 ms a turn of the ping-pong.
    bool waitFor(std::function<bool()> const& done, int timeout = 5000)
    {
        if (done())
            return true;
        QEventLoop loop;
        auto const check = [&] {
            if (done())
                loop.quit();
        };
        connect(m_dmm, &MyDMM::updateData, &loop, check);
        connect(m_dmm, &MyDMM::updateListout, &loop, check);
        connect(m_dmm, &MyDMM::stoped, &loop, check);
        connect(m_peer, &LinePeer::lineReceived, &loop, check);
        QTimer::singleShot(timeout, &loop, &QEventLoop::quit);
        loop.exec();
        return done();
    }
    bool waitSamples(int count)
    {
        return waitFor([&] { return m_dmm->getMeasureData().size() >= count; });
    }
    // Lines received from index from on that are not queries of the ring.
    QStringList extraLines(int from) const;
    int indexOf(QString const& line, int from = 0) const { return int(m_peer->lines().indexOf(line, from)); }

    LinePeer* m_peer = nullptr;
    MyDMM* m_dmm = nullptr;
    QHash<QString, QString> m_answers;
    // Lines the peer had received when each sample was published.
    QList<int> m_linesAtSample;
};

void TestMyDmm::init()
{
    g_messages.clear();
    g_previousHandler = qInstallMessageHandler(captureMessage);
    m_answers = defaultAnswers();
    m_linesAtSample.clear();
    m_peer = new LinePeer(this);
    QVERIFY(m_peer->listen());
    m_peer->setResponder([this](QString const& line) { return m_answers.value(line); });

    ChannelLimitRange limit;
    limit.voltageRange = {0.1, 40.0};
    limit.currentRange = {0.0, 40.0};
    limit.powerRange = {0.0, 400.0};
    m_dmm = new MyDMM(limit, QSharedPointer<VisaIO>::create(m_peer->resource()), true);
    m_dmm->setInterval(0);
    connect(m_dmm, &MyDMM::updateData, this, [this] { m_linesAtSample.append(int(m_peer->lines().size())); });
}

void TestMyDmm::cleanup()
{
    if (m_dmm->active())
        m_dmm->closeForce();
    delete m_dmm;
    m_dmm = nullptr;
    delete m_peer;
    m_peer = nullptr;
    qInstallMessageHandler(g_previousHandler);
}

QStringList TestMyDmm::extraLines(int from) const
{
    QStringList extra;
    QStringList const& lines = m_peer->lines();
    for (int i = from; i < lines.size(); ++i) {
        if (!kRing.contains(lines.at(i)) && lines.at(i) != kParallelQuery && lines.at(i) != kSeriesQuery)
            extra.append(lines.at(i));
    }
    return extra;
}

void TestMyDmm::firstSampleComesFromSecondPass()
{
    QVERIFY(m_dmm->lastMeasureData().isNull());
    QSignalSpy started(m_dmm, &MyDMM::started);
    QVERIFY(m_dmm->open());
    QVERIFY(waitSamples(1));
    QCOMPARE(started.size(), 1);

    // The first pass ends at its first answer, when the ring for the instrument's mode goes in.
    QCOMPARE(m_peer->lines().mid(0, m_linesAtSample.at(0)), QStringList {kModeQuery} + kRing);
    QSharedPointer<DmmData> const first = m_dmm->getMeasureData().first();
    QVERIFY(first->dateTime().isValid());
    QVERIFY(complete(*first));
    QVERIFY(waitSamples(3));
    QCOMPARE(m_linesAtSample.at(1) - m_linesAtSample.at(0), kRing.size());
    QCOMPARE(m_dmm->lastMeasureData(), m_dmm->getMeasureData().last());
    // Each pass is a record of its own.
    QVERIFY(m_dmm->getMeasureData().at(1) != first);
    QVERIFY(g_messages.filter("Command Handler Error").isEmpty());
}

void TestMyDmm::decoding_data()
{
    QTest::addColumn<QString>("query");
    QTest::addColumn<QString>("answer");
    QTest::addColumn<Getter>("field");
    QTest::addColumn<QString>("expected");

    auto const row
        = [](char const* name, char const* query, char const* answer, Getter get, char const* expected) {
              QTest::newRow(name) << QString(query) << QString(answer) << get << QString::fromUtf8(expected);
          };
    auto const measured = [](DmmData const& d) {
        Channel const* c = d.activeChannel();
        return box(c->voltage.measured) + " " + box(c->current.measured) + " " + box(c->power);
    };

    row(
        "power mode", ":SYSTem:POWER:MODE?", "Normal", [](auto& d) { return d.config().powerMode; },
        "Normal");
    row("measure", ":MEASure:ALL?", "12.001,1.200,14.401", measured, "0|12.001|V 0|1.200|A 0|14.401|W");
    row("measure with blanks", ":MEASure:ALL?", " 5 , 0.25 ,1.25 ", measured,
        "0|5.000|V 0|0.250|A 0|1.250|W");
    row("measure four fields", ":MEASure:ALL?", "1,2,3,4", measured, "1|| 1|| 1||");
    row("measure two fields", ":MEASure:ALL?", "1,2", measured, "1|| 1|| 1||");
    row("measure empty field", ":MEASure:ALL?", "1,,3", measured, "0|1.000|V 1||A 0|3.000|W");
    row(
        "voltage level", ":SOURce:VOLTage:LEVel?", "12.345",
        [](auto& d) { return box(d.activeChannel()->voltage.level); }, "0|12.345|V");
    row(
        "voltage level trailing blanks", ":SOURce:VOLTage:LEVel?", "12.000   \t",
        [](auto& d) { return box(d.activeChannel()->voltage.level); }, "0|12.000|V");
    row(
        "voltage level unreadable", ":SOURce:VOLTage:LEVel?", "high",
        [](auto& d) { return box(d.activeChannel()->voltage.level); }, "1||V");
    row(
        "current level", ":SOURce:CURRent:LEVel?", "1.5",
        [](auto& d) { return box(d.activeChannel()->current.level); }, "0|1.500|A");
    row(
        "ovp level", ":SOURce:VOLTage:PROTection:LEVel?", "33.300",
        [](auto& d) { return box(d.activeChannel()->voltage.protectionLevel); }, "0|33.300|V");
    row(
        "ovp on", ":SOURce:VOLTage:PROTection:STATe?", "1",
        [](auto& d) { return flag(d.activeChannel()->voltage.protectionOn); }, "true");
    row(
        "ovp on as word", ":SOURce:VOLTage:PROTection:STATe?", "ON",
        [](auto& d) { return flag(d.activeChannel()->voltage.protectionOn); }, "true");
    row(
        "ovp junk", ":SOURce:VOLTage:PROTection:STATe?", "2",
        [](auto& d) { return flag(d.activeChannel()->voltage.protectionOn); }, "false");
    row(
        "ovp tripped", ":OUTPut:OVP:TRIPed?", "1",
        [](auto& d) { return flag(d.activeChannel()->voltage.protectionTripped); }, "true");
    row(
        "ocp level", ":SOURce:CURRent:PROTection:LEVel?", "20.250",
        [](auto& d) { return box(d.activeChannel()->current.protectionLevel); }, "0|20.250|A");
    row(
        "ocp on", ":SOURce:CURRent:PROTection:STATe?", "1",
        [](auto& d) { return flag(d.activeChannel()->current.protectionOn); }, "true");
    row(
        "ocp tripped", ":OUTPut:OCP:TRIPed?", "1",
        [](auto& d) { return flag(d.activeChannel()->current.protectionTripped); }, "true");
    row(
        "voltage rising", ":SOURce:VOLTage:SLEW:RISing?", "0.5",
        [](auto& d) { return box(d.activeChannel()->voltage.slewRising); }, "0|0.500|V/s");
    row(
        "voltage falling", ":SOURce:VOLTage:SLEW:FALLing?", "840",
        [](auto& d) { return box(d.activeChannel()->voltage.slewFalling); }, "0|840.000|V/s");
    row(
        "current rising", ":SOURce:CURRent:SLEW:RISing?", "0.01",
        [](auto& d) { return box(d.activeChannel()->current.slewRising); }, "0|0.010|A/s");
    row(
        "current falling", ":SOURce:CURRent:SLEW:FALLing?", "9.5",
        [](auto& d) { return box(d.activeChannel()->current.slewFalling); }, "0|9.500|A/s");
    row(
        "resistance", ":RESistance?", "0.125", [](auto& d) { return box(d.config().resistance); },
        "0|0.125|Ω");
    row(
        "output mode", ":OUTPut:MODE?", "VSR", [](auto& d) { return d.config().outputMode; }, "VSR");
    row(
        "output on", ":OUTPut:STATe?", "1", [](auto& d) { return flag(d.activeChannel()->outputOn); },
        "true");
    row(
        "output off", ":OUTPut:STATe?", "0", [](auto& d) { return flag(d.activeChannel()->outputOn); },
        "false");
    row(
        "cvcc", ":OUTPut:CVCC?", "CC", [](auto& d) { return d.activeChannel()->cvcc; }, "CC");
    row(
        "cvcc trailing blanks", ":OUTPut:CVCC?", "CV    ", [](auto& d) { return d.activeChannel()->cvcc; },
        "CV");
    row(
        "beeper", ":SYSTem:BEEPer:STATe?", "1", [](auto& d) { return flag(d.config().beeper); }, "true");
    row(
        "brightness", ":SYSTem:BRIGhtness?", "55",
        [](auto& d) { return QString::number(d.config().brightness); }, "55");
    row(
        "brightness abc", ":SYSTem:BRIGhtness?", "abc",
        [](auto& d) { return QString::number(d.config().brightness); }, "0");
    row(
        "brightness decimal", ":SYSTem:BRIGhtness?", "80.5",
        [](auto& d) { return QString::number(d.config().brightness); }, "0");
    row(
        "brightness beyond int", ":SYSTem:BRIGhtness?", "2147483648",
        [](auto& d) { return QString::number(d.config().brightness); }, "0");
    row(
        "power down", ":SYSTem:POWER:POWERDown?", "1", [](auto& d) { return flag(d.config().powerDown); },
        "true");
    row(
        "power id", ":SYSTem:POWER:ID?", "2", [](auto& d) { return QString::number(d.config().powerId); },
        "2");
    row(
        "power out", ":SYSTem:POWER:POWEROut?", "KEEP", [](auto& d) { return d.config().powerOut; }, "KEEP");
    row(
        "ovp delay", ":SYSTem:POWER:OVPDelay?", "150",
        [](auto& d) { return QString::number(d.config().ovpDelay); }, "150");
    row(
        "ocp delay", ":SYSTem:POWER:OCPDelay?", "250",
        [](auto& d) { return QString::number(d.config().ocpDelay); }, "250");
    row(
        "eload", ":SYSTem:POWER:ELOAD:STATe?", "ON", [](auto& d) { return d.config().eloadState; }, "ON");
}

void TestMyDmm::decoding()
{
    QFETCH(QString, query);
    QFETCH(QString, answer);
    QFETCH(Getter, field);
    QFETCH(QString, expected);

    m_answers[query] = answer;
    QVERIFY(m_dmm->open());
    // A bad answer never stops the cycle.
    QVERIFY(waitSamples(3));
    for (QSharedPointer<DmmData> const& sample : m_dmm->getMeasureData())
        QCOMPARE(field(*sample), expected);
    // Malformed answers are no handler errors: nothing is logged for them.
    QVERIFY(g_messages.filter("Command Handler Error").isEmpty());
}

void TestMyDmm::ringPerPowerMode_data()
{
    QTest::addColumn<QString>("mode");
    QTest::addColumn<QString>("groupQuery");
    QTest::newRow("Normal") << "Normal" << QString();
    QTest::newRow("PARAMaster") << "PARAMaster" << kParallelQuery;
    QTest::newRow("PARASlave") << "PARASlave" << kParallelQuery;
    QTest::newRow("SERMaster") << "SERMaster" << kSeriesQuery;
    QTest::newRow("SERSlave") << "SERSlave" << kSeriesQuery;
    QTest::newRow("EXT_V") << "EXT_V" << QString();
    QTest::newRow("unknown word") << "Boost" << QString();
}

void TestMyDmm::ringPerPowerMode()
{
    QFETCH(QString, mode);
    QFETCH(QString, groupQuery);
    m_answers[kModeQuery] = mode;

    QVERIFY(m_dmm->open());
    QVERIFY(waitSamples(2));
    QStringList ring = kRing;
    if (!groupQuery.isEmpty())
        ring.append(groupQuery);
    QStringList const& lines = m_peer->lines();
    QCOMPARE(lines.mid(0, m_linesAtSample.at(0)), QStringList {kModeQuery} + ring);
    QCOMPARE(lines.mid(m_linesAtSample.at(0), m_linesAtSample.at(1) - m_linesAtSample.at(0)), ring);

    QSharedPointer<DmmData> const first = m_dmm->getMeasureData().first();
    Channel const* ch = first->activeChannel();
    QCOMPARE(first->config().powerMode, mode);
    QVERIFY(complete(*first));
    bool const parallel = groupQuery == kParallelQuery;
    bool const series = groupQuery == kSeriesQuery;
    QCOMPARE(ch->parallelVoltage.measured.kind == 0, parallel);
    QCOMPARE(ch->parallelCurrent.measured.kind == 0, parallel);
    QCOMPARE(ch->parallelPower.kind == 0, parallel);
    QCOMPARE(ch->seriesVoltage.measured.kind == 0, series);
    QCOMPARE(ch->seriesPower.kind == 0, series);
    if (parallel)
        QCOMPARE(ch->parallelCurrent.measured.value, 2.4);
    if (series)
        QCOMPARE(ch->seriesVoltage.measured.value, 24.002);
    // Group readings never land in the unit's own.
    QCOMPARE(ch->voltage.measured.value, 12.001);
    QCOMPARE(ch->current.measured.value, 1.2);
    // The one mode change is the first answer after open.
    QCOMPARE(g_messages.filter("change power mode ====== ").size(), 1);
}

void TestMyDmm::modeChangeDropsPassInProgress_data()
{
    QTest::addColumn<QString>("from");
    QTest::addColumn<QString>("to");
    QTest::addColumn<QString>("groupQuery");
    QTest::newRow("Normal to SERSlave") << "Normal"
                                        << "SERSlave" << kSeriesQuery;
    QTest::newRow("PARAMaster to EXT_V") << "PARAMaster"
                                         << "EXT_V" << QString();
    QTest::newRow("SERMaster to PARASlave") << "SERMaster"
                                            << "PARASlave" << kParallelQuery;
}

void TestMyDmm::modeChangeDropsPassInProgress()
{
    QFETCH(QString, from);
    QFETCH(QString, to);
    QFETCH(QString, groupQuery);
    m_answers[kModeQuery] = from;
    QString const setting = QStringLiteral(":SYSTem:POWER:MODE ") + to;
    // The instrument takes the new mode, and its readings move with it.
    m_peer->setResponder([this, setting, to](QString const& line) {
        if (line == setting) {
            m_answers[kModeQuery] = to;
            m_answers[":SOURce:VOLTage:LEVel?"] = "24.000";
        }
        return m_answers.value(line);
    });

    QVERIFY(m_dmm->open());
    QVERIFY(waitSamples(2));
    // Change the mode in the middle of a pass: its voltage level is stored already.
    bool triggered = false;
    connect(m_peer, &LinePeer::lineReceived, this, [&](QString const& line) {
        if (!triggered && line == ":SOURce:CURRent:LEVel?") {
            triggered = true;
            m_dmm->cmdPowerMode(to);
        }
    });
    QVERIFY(waitFor([&] {
        auto const last = m_dmm->lastMeasureData();
        return last && last->config().powerMode == to && m_dmm->getMeasureData().size() >= 2;
    }));
    QVERIFY(waitSamples(m_dmm->getMeasureData().size() + 1));

    // The read-back of the setting rebuilds the ring at once: the rest of the pass is never sent.
    QStringList const& lines = m_peer->lines();
    int const at = indexOf(setting);
    QVERIFY(at > 0);
    QCOMPARE(lines.at(at - 1), ":SOURce:CURRent:LEVel?");
    QCOMPARE(lines.mid(at + 1, 3), (QStringList {kModeQuery, kModeQuery, ":MEASure:ALL?"}));

    // No published sample mixes the two modes, and none is half filled.
    for (QSharedPointer<DmmData> const& sample : m_dmm->getMeasureData()) {
        Channel const* ch = sample->activeChannel();
        bool const after = sample->config().powerMode == to;
        QVERIFY2(after || sample->config().powerMode == from, qPrintable(sample->config().powerMode));
        QCOMPARE(ch->voltage.level.value, after ? 24.0 : 12.0);
        QVERIFY(complete(*sample));
        if (after) {
            QCOMPARE(ch->parallelVoltage.measured.kind == 0, groupQuery == kParallelQuery);
            QCOMPARE(ch->seriesVoltage.measured.kind == 0, groupQuery == kSeriesQuery);
        }
    }
    // The new ring polls the group of the new mode, and only that.
    int const newRing = m_linesAtSample.last() - int(kRing.size()) - (groupQuery.isEmpty() ? 0 : 1);
    QStringList expected = kRing;
    if (!groupQuery.isEmpty())
        expected.append(groupQuery);
    QCOMPARE(lines.mid(newRing, m_linesAtSample.last() - newRing), expected);
}

void TestMyDmm::unknownWordIsLoggedAndCycleGoesOn()
{
    m_answers["XXX?"] = "42";
    QVERIFY(m_dmm->open());
    QVERIFY(waitSamples(1));
    QTest::ignoreMessage(QtDebugMsg, "Command Handler Error:XXX? 42");
    m_dmm->cmdSetXXX(1.23456789);
    QVERIFY(waitFor([&] { return m_peer->lines().contains("XXX?"); }));
    int const count = int(m_dmm->getMeasureData().size());
    QVERIFY(waitSamples(count + 2));
    int const at = indexOf("XXX 1.23457");
    QVERIFY(at >= 0);
    QCOMPARE(m_peer->lines().at(at + 1), "XXX?");
    QCOMPARE(g_messages.filter("Command Handler Error").size(), 1);
}

void TestMyDmm::settingCommands_data()
{
    QTest::addColumn<Action>("action");
    QTest::addColumn<QStringList>("expected");

    auto const row = [](char const* name, Action action, QStringList expected) {
        QTest::newRow(name) << action << expected;
    };
    row("power mode", [](MyDMM* d) { d->cmdPowerMode("PARASlave"); },
        {":SYSTem:POWER:MODE PARASlave", ":SYSTem:POWER:MODE?"});
    row("output on", [](MyDMM* d) { d->cmdOutput(true); }, {":OUTPut:STATe ON"});
    row("output off", [](MyDMM* d) { d->cmdOutput(false); }, {":OUTPut:STATe OFF"});
    row("voltage six digits", [](MyDMM* d) { d->cmdVoltage(12.3456789); }, {":SOURce:VOLTage:LEVel 12.3457"});
    row("voltage integral", [](MyDMM* d) { d->cmdVoltage(12); }, {":SOURce:VOLTage:LEVel 12"});
    row("voltage tiny", [](MyDMM* d) { d->cmdVoltage(0.00001); }, {":SOURce:VOLTage:LEVel 1e-05"});
    row("voltage large", [](MyDMM* d) { d->cmdVoltage(1234567.0); }, {":SOURce:VOLTage:LEVel 1.23457e+06"});
    row("ovp value", [](MyDMM* d) { d->cmdOVPValue(42.5); }, {":SOURce:VOLTage:PROTection:LEVel 42.5"});
    row("ovp on", [](MyDMM* d) { d->cmdOVP(true); }, {":SOURce:VOLTage:PROTection:STATe ON"});
    row("ovp clear", [](MyDMM* d) { d->cmdOVPClear(); }, {":SOURce:VOLTage:PROTection:CLEar"});
    row("current", [](MyDMM* d) { d->cmdCurrent(1.23456789); }, {":SOURce:CURRent:LEVel 1.23457"});
    row("ocp value", [](MyDMM* d) { d->cmdOCPValue(5); }, {":SOURce:CURRent:PROTection:LEVel 5"});
    row("ocp off", [](MyDMM* d) { d->cmdOCP(false); }, {":SOURce:CURRent:PROTection:STATe OFF"});
    row("ocp clear", [](MyDMM* d) { d->cmdOCPClear(); }, {":CURRent:PROTection:CLEar"});
    row("slew-rate mode", [](MyDMM* d) { d->cmdSetSRMode("VSR"); }, {":OUTPut:MODE VSR"});
    row("voltage rising", [](MyDMM* d) { d->cmdSetVSRRising(0.5); }, {":SOURce:VOLTage:SLEW:RISing 0.5"});
    row("voltage falling", [](MyDMM* d) { d->cmdSetVSRFalling(840); }, {":SOURce:VOLTage:SLEW:FALLing 840"});
    row("current rising", [](MyDMM* d) { d->cmdSetISRRising(100.25); },
        {":SOURce:CURRent:SLEW:RISing 100.25"});
    row("current falling", [](MyDMM* d) { d->cmdSetISRFalling(0.01); },
        {":SOURce:CURRent:SLEW:FALLing 0.01"});
    row("resistance", [](MyDMM* d) { d->cmdSetInternalRES(0.125); }, {":RESistance 0.125"});
    row("brightness", [](MyDMM* d) { d->cmdSetBrightness(80.6); }, {":SYSTem:BRIGhtness 80.6"});
    row("power down", [](MyDMM* d) { d->cmdSetPowerDown(true); }, {":SYSTem:POWER:POWERDown ON"});
    row("beeper", [](MyDMM* d) { d->cmdSetBeeper(false); }, {":SYSTem:BEEPer:STATe OFF"});
    row("power id", [](MyDMM* d) { d->cmdPowerID(2); }, {":SYSTem:POWER:ID 2"});
    row("power out", [](MyDMM* d) { d->cmdPowerPowerOut("KEEP"); }, {":SYSTem:POWER:POWEROut KEEP"});
    row("ovp delay", [](MyDMM* d) { d->cmdPowerOVPDelay(150); }, {":SYSTem:POWER:OVPDelay 150"});
    row("ocp delay negative", [](MyDMM* d) { d->cmdPowerOCPDelay(-5); }, {":SYSTem:POWER:OCPDelay -5"});
    row("eload", [](MyDMM* d) { d->cmdPowerEload(QStringLiteral("ON")); }, {":SYSTem:POWER:ELOAD:STATe ON"});
    row("remote", [](MyDMM* d) { d->cmdRemote(); }, {":SYSTem:REMote"});
    row("local", [](MyDMM* d) { d->cmdLocal(); }, {":SYSTem:LOCal"});
    row("list item", [](MyDMM* d) { d->cmdListSetItem(3, 12.3456789, 1.5, 0.1); },
        {":LISTout:PARAmeter 3,12.3457,1.5,0.1"});
    row("list base", [](MyDMM* d) { d->cmdListSetBase(0, 10, 0, "OFF"); }, {":LISTout:BASE 0,10,0,OFF"});
    row("delayer item", [](MyDMM* d) { d->cmdDelaySetItem(5, true, 2.5); }, {":DELAY:PARAmeter 5,ON,2.5"});
    row("delayer item off", [](MyDMM* d) { d->cmdDelaySetItem(0, false, 99999.9); },
        {":DELAY:PARAmeter 0,OFF,99999.9"});
    row("delayer cycles", [](MyDMM* d) { d->cmdDelaySetCycles(3); }, {":DELAY:CYCLEs 3"});
    row("delayer end state", [](MyDMM* d) { d->cmdDelaySetEndState("LAST"); }, {":DELAY:ENDState LAST"});
    row("delayer start", [](MyDMM* d) { d->cmdDelaySetGroupStartNum(1); }, {":DELAY:STARt 1"});
    row("delayer groups", [](MyDMM* d) { d->cmdDelaySetGroupCount(4); }, {":DELAY:GROUPs 4"});
    row("delayer stop", [](MyDMM* d) { d->cmdDelaySetGroupStopCondition("V<,1.5"); }, {":DELAY:STOP V<,1.5"});
    row("delayer query cycles", [](MyDMM* d) { d->cmdDelayQueryCycles(); }, {":DELAY:CYCLEs?"});
    row("delayer query end state", [](MyDMM* d) { d->cmdDelayQueryEndState(); }, {":DELAY:ENDState?"});
    row("delayer query start", [](MyDMM* d) { d->cmdDelayQueryGroupStartNum(); }, {":DELAY:STARt?"});
    row("delayer query groups", [](MyDMM* d) { d->cmdDelayQueryGroupCount(); }, {":DELAY:GROUPs?"});
    row("delayer query stop", [](MyDMM* d) { d->cmdDelayQueryGroupStopCondition(); }, {":DELAY:STOP?"});
    row("in order",
        [](MyDMM* d) {
            d->cmdVoltage(5);
            d->cmdCurrent(2);
            d->cmdOutput(true);
        },
        {":SOURce:VOLTage:LEVel 5", ":SOURce:CURRent:LEVel 2", ":OUTPut:STATe ON"});
}

void TestMyDmm::settingCommands()
{
    QFETCH(Action, action);
    QFETCH(QStringList, expected);

    QVERIFY(m_dmm->open());
    QVERIFY(waitSamples(1));
    int const from = int(m_peer->lines().size());
    action(m_dmm);
    QVERIFY(waitFor([&] { return m_peer->lines().indexOf(expected.last(), from) >= 0; }));
    QVERIFY(waitSamples(int(m_dmm->getMeasureData().size()) + 2));

    // The words go out together, between two entries of the ring, and nothing else is sent.
    int const at = indexOf(expected.first(), from);
    QCOMPARE(m_peer->lines().mid(at, expected.size()), expected);
    QStringList expectedExtra;
    for (QString const& line : expected) {
        if (!kRing.contains(line))
            expectedExtra.append(line);
    }
    QCOMPARE(extraLines(from), expectedExtra);
    QVERIFY(g_messages.filter("Command Handler Error").isEmpty());
}

void TestMyDmm::toggles_data()
{
    QTest::addColumn<Action>("toggle");
    QTest::addColumn<QString>("query");
    QTest::addColumn<QString>("state"); // empty: before the first sample
    QTest::addColumn<int>("times");
    QTest::addColumn<QString>("expected");

    Action const output = [](MyDMM* d) {
        d->cmdToggleOutput(false);
    };
    Action const outputOn = [](MyDMM* d) {
        d->cmdToggleOutput(true);
    };
    Action const ovp = [](MyDMM* d) {
        d->cmdToggleOVP(false);
    };
    Action const ocp = [](MyDMM* d) {
        d->cmdToggleOCP(true);
    };
    QString const out = ":OUTPut:STATe?";
    QString const ovpState = ":SOURce:VOLTage:PROTection:STATe?";
    QString const ocpState = ":SOURce:CURRent:PROTection:STATe?";

    QTest::newRow("output on goes off") << output << out << "1" << 1 << ":OUTPut:STATe OFF";
    QTest::newRow("output off goes on") << output << out << "0" << 1 << ":OUTPut:STATe ON";
    QTest::newRow("output argument ignored") << outputOn << out << "1" << 1 << ":OUTPut:STATe OFF";
    QTest::newRow("output before a sample") << output << out << "" << 1 << ":OUTPut:STATe OFF";
    QTest::newRow("output on before a sample") << outputOn << out << "" << 1 << ":OUTPut:STATe ON";
    QTest::newRow("twice in one cycle") << output << out << "1" << 2 << ":OUTPut:STATe OFF";
    QTest::newRow("ovp on goes off") << ovp << ovpState << "1" << 1 << ":SOURce:VOLTage:PROTection:STATe OFF";
    QTest::newRow("ovp off goes on") << ovp << ovpState << "0" << 1 << ":SOURce:VOLTage:PROTection:STATe ON";
    QTest::newRow("ovp before a sample")
        << ovp << ovpState << "" << 1 << ":SOURce:VOLTage:PROTection:STATe OFF";
    QTest::newRow("ocp on goes off") << ocp << ocpState << "1" << 1 << ":SOURce:CURRent:PROTection:STATe OFF";
    QTest::newRow("ocp off goes on") << ocp << ocpState << "0" << 1 << ":SOURce:CURRent:PROTection:STATe ON";
    QTest::newRow("ocp before a sample")
        << ocp << ocpState << "" << 1 << ":SOURce:CURRent:PROTection:STATe ON";
}

void TestMyDmm::toggles()
{
    QFETCH(Action, toggle);
    QFETCH(QString, query);
    QFETCH(QString, state);
    QFETCH(int, times);
    QFETCH(QString, expected);

    bool done = false;
    auto const run = [&] {
        if (done)
            return;
        done = true;
        for (int i = 0; i < times; ++i)
            toggle(m_dmm);
    };
    if (state.isEmpty()) {
        // The second line is the first query of the ring built for the mode: no sample exists yet,
        // and what is queued now survives.
        connect(m_peer, &LinePeer::lineReceived, this, [&] {
            if (m_peer->lines().size() == 2) {
                QVERIFY(m_dmm->lastMeasureData().isNull());
                run();
            }
        });
    } else {
        m_answers[query] = state;
        // While the sample is published the next pass has not begun.
        connect(m_dmm, &MyDMM::updateData, this, run);
    }
    QVERIFY(m_dmm->open());
    QVERIFY(waitSamples(3));
    QVERIFY(done);
    QStringList const expectedLines(times, expected);
    QCOMPARE(extraLines(0), expectedLines);
}

void TestMyDmm::queryGroups_data()
{
    QTest::addColumn<Action>("action");
    QTest::addColumn<QStringList>("wire");
    QTest::addColumn<QList<int>>("kinds");
    QTest::addColumn<ListAndDelayer>("expected");

    ListAndDelayer list;
    list.running = true;
    list.listValue = 12.5;
    list.stateNumber = 3;
    list.stateCount = 2;
    list.start = 4;
    list.count = 10;
    list.cycles = 5;
    list.endState = "OFF"; // the base answer comes after the state answer

    ListAndDelayer delayer;
    delayer.running = false;
    delayer.listValue = 0.5;
    delayer.stateNumber = 6;
    delayer.stateCount = 3;
    delayer.cycles = 7;
    delayer.endState = "ON";
    delayer.start = 2;
    delayer.count = 9;
    delayer.stopCondition = "V<,1.5";

    QStringList const listWire = {":LISTout:STATe?", ":LISTout:BASE?"};
    QStringList const delayerWire = {":DELAY:STATe?", ":DELAY:CYCLEs?", ":DELAY:ENDState?",
                                     ":DELAY:STARt?", ":DELAY:GROUPs?", ":DELAY:STOP?"};

    QTest::newRow("list options") << Action([](MyDMM* d) { d->listQueryOptions(); }) << listWire
                                  << QList<int> {1} << list;
    QTest::newRow("delayer options") << Action([](MyDMM* d) { d->delayQueryOptions(); }) << delayerWire
                                     << QList<int> {3} << delayer;
    QTest::newRow("list item") << Action([](MyDMM* d) { d->listQueryItem(2, 3); })
                               << QStringList {":LISTout:PARAmeter? 2,3"} << QList<int> {2}
                               << ListAndDelayer();
    QTest::newRow("delayer item") << Action([](MyDMM* d) { d->delayQueryItem(0, 128); })
                                  << QStringList {":DELAY:PARAmeter? 0,128"} << QList<int> {4}
                                  << ListAndDelayer();

    // Both sequences write the same record: the delayer's answers overwrite the list's.
    ListAndDelayer both = delayer;
    QTest::newRow("list then delayer") << Action([](MyDMM* d) {
        d->listQueryOptions();
        d->delayQueryOptions();
    }) << listWire + delayerWire << QList<int> {1, 3}
                                       << both;
    QTest::newRow("setting then read-back") << Action([](MyDMM* d) {
        d->cmdListSetItem(2, 5, 0.5, 1);
        d->listQueryItem(2, 3);
    }) << QStringList {":LISTout:PARAmeter 2,5,0.5,1", ":LISTout:PARAmeter? 2,3"}
                                            << QList<int> {2} << ListAndDelayer();
}

void TestMyDmm::queryGroups()
{
    QFETCH(Action, action);
    QFETCH(QStringList, wire);
    QFETCH(QList<int>, kinds);
    QFETCH(ListAndDelayer, expected);

    QList<int> seen;
    ListAndDelayer last;
    connect(m_dmm, &MyDMM::updateListout, this, [&](ListAndDelayer const& ld) {
        seen.append(ld.kind);
        last = ld;
    });
    QVERIFY(m_dmm->open());
    QVERIFY(waitSamples(1));
    int const from = int(m_peer->lines().size());
    action(m_dmm);
    QVERIFY(waitFor([&] { return seen.size() >= kinds.size(); }));
    QVERIFY(waitSamples(int(m_dmm->getMeasureData().size()) + 1));

    QCOMPARE(seen, kinds);
    // A group runs in one piece between two entries of the ring.
    int const at = indexOf(wire.first(), from);
    QVERIFY(at >= from);
    QCOMPARE(m_peer->lines().mid(at, wire.size()), wire);

    QCOMPARE(last.running, expected.running);
    QCOMPARE(last.listValue, expected.listValue);
    QCOMPARE(last.stateNumber, expected.stateNumber);
    QCOMPARE(last.stateCount, expected.stateCount);
    QCOMPARE(last.start, expected.start);
    QCOMPARE(last.count, expected.count);
    QCOMPARE(last.cycles, expected.cycles);
    QCOMPARE(last.endState, expected.endState);
    QCOMPARE(last.stopCondition, expected.stopCondition);
    QVERIFY(g_messages.filter("Command Handler Error").isEmpty());
}

void TestMyDmm::shortStateAnswerLeavesRunning()
{
    QList<ListAndDelayer> reports;
    connect(m_dmm, &MyDMM::updateListout, this, [&](ListAndDelayer const& ld) { reports.append(ld); });
    QVERIFY(m_dmm->open());
    QVERIFY(waitSamples(1));
    m_dmm->listQueryOptions();
    QVERIFY(waitFor([&] { return reports.size() == 1; }));
    QVERIFY(reports.at(0).running);

    m_answers[":LISTout:STATe?"] = "0,1.000,9,9,9";
    m_answers[":LISTout:BASE?"] = "1,2,3";
    m_dmm->listQueryOptions();
    QVERIFY(waitFor([&] { return reports.size() == 2; }));
    ListAndDelayer const& second = reports.at(1);
    QCOMPARE(second.kind, 1);
    QVERIFY(second.running);
    QCOMPARE(second.listValue, 12.5);
    QCOMPARE(second.stateNumber, 3);
    QCOMPARE(second.start, 4);
    QCOMPARE(second.endState, "OFF");
}

void TestMyDmm::historySurvivesCloseAndOpen()
{
    m_answers[kModeQuery] = "PARAMaster";
    QVERIFY(!m_dmm->close());
    QVERIFY(m_dmm->open());
    QVERIFY(!m_dmm->open());
    QVERIFY(waitSamples(2));
    QVERIFY(!m_dmm->open());

    QSignalSpy stopped(m_dmm, &MyDMM::stoped);
    QVERIFY(m_dmm->close());
    QVERIFY(stopped.wait());
    QVERIFY(!m_dmm->active());
    QList<QSharedPointer<DmmData>> const before = m_dmm->getMeasureData();
    QVERIFY(before.size() >= 2);
    QCOMPARE(m_dmm->lastMeasureData(), before.last());

    m_peer->clearLines();
    QVERIFY(m_dmm->open());
    QVERIFY(waitSamples(int(before.size()) + 2));
    QCOMPARE(m_dmm->getMeasureData().mid(0, before.size()), before);

    // A new run starts from the normal ring and learns the mode again.
    QCOMPARE(m_peer->lines().mid(0, 3), (QStringList {kModeQuery, kModeQuery, ":MEASure:ALL?"}));
    QSharedPointer<DmmData> const firstOfRun = m_dmm->getMeasureData().at(before.size());
    QCOMPARE(firstOfRun->activeChannel()->parallelVoltage.measured.kind, 0);
    QVERIFY(firstOfRun->dateTime() >= before.last()->dateTime());
    QCOMPARE(g_messages.filter("change power mode ====== ").size(), 2);
}

QTEST_GUILESS_MAIN(TestMyDmm)
#include "tst_mydmm.moc"
