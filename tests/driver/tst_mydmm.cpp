// The driver on a real socket against a scripted instrument that records every line it receives.

#include "driver/mydmm.h"

#include "driver/dmmhelper.h"
#include "measure/io/visa/visaio.h"
#include "tests/common/linepeer.h"
#include "tests/common/pollingring.h"
#include "tests/driver/sampledump.h"

#include <QSignalSpy>
#include <QTest>

#include <functional>

using zelt::measure::io::visa::VisaIO;

using Action = std::function<void(MyDMM*)>;
using Toggle = void (MyDMM::*)(bool);
Q_DECLARE_METATYPE(Action)

namespace {

QString const kModeQuery = QStringLiteral(":SYSTem:POWER:MODE?");
QString const kParallelQuery = QStringLiteral(":MEASure:PARALLEL:ALL?");
QString const kSeriesQuery = QStringLiteral(":MEASure:SERIES:ALL?");
QStringList const kRing = pollingRing();

QStringList ringWith(QString const& group)
{
    return group.isEmpty() ? kRing : kRing + QStringList {group};
}

// No box without a reading and no empty word: nothing of the pass is missing.
bool complete(DmmData const& d)
{
    QStringList const fields = dump(d);
    return std::none_of(fields.cbegin(), fields.cend(),
                        [](QString const& f) { return f.contains('!') || f.endsWith('='); });
}

QString describe(ListAndDelayer const& ld)
{
    return QStringLiteral("%1|%2|%3|%4|%5|%6|%7|")
               .arg(ld.running)
               .arg(ld.listValue)
               .arg(ld.stateNumber)
               .arg(ld.stateCount)
               .arg(ld.start)
               .arg(ld.count)
               .arg(ld.cycles)
        + ld.endState + '|' + ld.stopCondition;
}

QStringList g_messages;
QtMessageHandler g_previousHandler = nullptr;

void captureMessage(QtMsgType type, QMessageLogContext const& context, QString const& message)
{
    g_messages.append(message);
    g_previousHandler(type, context, message);
}

qsizetype handlerErrors()
{
    return g_messages.filter("Command Handler Error:").size();
}

} // namespace

class TestMyDmm : public QObject
{
    Q_OBJECT

    LinePeer* m_peer = nullptr;
    MyDMM* m_dmm = nullptr;
    QHash<QString, QString> m_answers;
    // Lines the peer had received when each sample was published.
    QList<int> m_linesAtSample;

    // QSignalSpy::wait, unlike QTRY_, does not sleep between the turns of the ping-pong.
    bool waitSamples(int count)
    {
        QSignalSpy spy(m_dmm, &MyDMM::updateData);
        while (m_dmm->getMeasureData().size() < count) {
            if (!spy.wait(5000))
                return false;
        }
        return true;
    }
    QStringList const& lines() const { return m_peer->lines(); }
    QStringList linesOfSample(int i) const
    {
        return lines().mid(m_linesAtSample[i], m_linesAtSample[i + 1] - m_linesAtSample[i]);
    }
    // Lines received from index from on that are no queries of a ring.
    QStringList extraLines(int from) const
    {
        QStringList extra = lines().mid(from);
        extra.removeIf(
            [](QString const& l) { return kRing.contains(l) || l == kParallelQuery || l == kSeriesQuery; });
        return extra;
    }

private Q_SLOTS:
    void init()
    {
        g_messages.clear();
        g_previousHandler = qInstallMessageHandler(captureMessage);
        m_answers = {{kModeQuery, "Normal"},
                     {":MEASure:ALL?", "12.001,1.200,14.401"},
                     {kParallelQuery, "12.001,2.400,28.802"},
                     {kSeriesQuery, "24.002,1.200,28.802"},
                     {":LISTout:STATe?", "1,12.500,3,7,2.9,ON"},
                     {":LISTout:BASE?", "4,10,5,OFF"},
                     {":DELAY:STATe?", "0, 0.500 ,6,1,3.9,LAST"},
                     {":DELAY:CYCLEs?", "7"},
                     {":DELAY:ENDState?", "ON"},
                     {":DELAY:STARt?", "2"},
                     {":DELAY:GROUPs?", "9"},
                     {":DELAY:STOP?", "V<,1.5"}};
        m_linesAtSample.clear();
        m_peer = new LinePeer(this);
        QVERIFY(m_peer->listen());
        // Any other query reads "0".
        m_peer->setResponder([this](QString const& line) {
            return line.contains('?') ? m_answers.value(line, QStringLiteral("0")) : QString();
        });
        m_dmm = new MyDMM(ChannelLimitRange(), QSharedPointer<VisaIO>::create(m_peer->resource()), true);
        m_dmm->setInterval(0);
        connect(m_dmm, &MyDMM::updateData, this, [this] { m_linesAtSample.append(int(lines().size())); });
    }

    void cleanup()
    {
        if (m_dmm && m_dmm->active())
            m_dmm->closeForce();
        delete m_dmm;
        m_dmm = nullptr;
        delete m_peer;
        qInstallMessageHandler(g_previousHandler);
    }

    void ringPerPowerMode_data()
    {
        QTest::addColumn<QString>("mode");
        QTest::addColumn<QString>("group"); // the query that the mode adds to the ring
        for (char const* mode : {"Normal", "EXT_V"})
            QTest::newRow(mode) << mode << QString();
        for (char const* mode : {"PARAMaster", "PARASlave"})
            QTest::newRow(mode) << mode << kParallelQuery;
        for (char const* mode : {"SERMaster", "SERSlave"})
            QTest::newRow(mode) << mode << kSeriesQuery;
    }

    void ringPerPowerMode()
    {
        QFETCH(QString, mode);
        QFETCH(QString, group);
        m_answers[kModeQuery] = mode;
        QVERIFY(m_dmm->open());
        QVERIFY(waitSamples(2));

        // The first pass ends at its first answer, when the ring for the mode goes in: the first
        // sample comes from the second pass.
        QCOMPARE(lines().mid(0, m_linesAtSample[0]), QStringList {kModeQuery} + ringWith(group));
        QCOMPARE(linesOfSample(0), ringWith(group));

        QList<QSharedPointer<DmmData>> const samples = m_dmm->getMeasureData();
        QVERIFY(samples[0] != samples[1]);
        QCOMPARE(m_dmm->lastMeasureData(), samples[1]);
        // Stamped at the end of the pass, in local wall-clock time.
        QCOMPARE(samples[0]->dateTime().timeSpec(), Qt::LocalTime);
        QVERIFY(qAbs(samples[1]->dateTime().secsTo(QDateTime::currentDateTime())) < 60);
        QCOMPARE(samples[0]->config().powerMode, mode);
        QVERIFY(complete(*samples[0]));
        // Group readings never land in the unit's own.
        Channel const* ch = samples[0]->activeChannel();
        QString const none = "! ! !";
        QCOMPARE(readings(ch->voltage, ch->current, ch->power), "12.001V 1.200A 14.401W");
        QCOMPARE(readings(ch->parallelVoltage, ch->parallelCurrent, ch->parallelPower),
                 group == kParallelQuery ? "12.001V 2.400A 28.802W" : none);
        QCOMPARE(readings(ch->seriesVoltage, ch->seriesCurrent, ch->seriesPower),
                 group == kSeriesQuery ? "24.002V 1.200A 28.802W" : none);
        QCOMPARE(handlerErrors(), 0);
    }

    void decoding_data()
    {
        QTest::addColumn<QString>("query");
        QTest::addColumn<QString>("answer");
        QTest::addColumn<QString>("field");
        auto const row = [](char const* name, char const* query, char const* answer, char const* field) {
            QTest::newRow(name) << QString(query) << QString(answer) << QString(field);
        };
        row("measure with blanks", ":MEASure:ALL?", " 5 , 0.25 ,1.25 ", "meas=5.000V 0.250A 1.250W");
        row("measure four fields", ":MEASure:ALL?", "1,2,3,4", "meas=! ! !");
        row("measure empty", ":MEASure:ALL?", "", "meas=! ! !");
        row("cvcc trailing blanks", ":OUTPut:CVCC?", "CC   \t", "cvcc=CC");
        row("voltage level unreadable", ":SOURce:VOLTage:LEVel?", "high", "vLevel=!V");
        row("ovp on as word", ":SOURce:VOLTage:PROTection:STATe?", "ON", "ovpOn=on");
        row("ovp tripped", ":OUTPut:OVP:TRIPed?", "1", "ovpTrip=on");
        row("ocp junk", ":SOURce:CURRent:PROTection:STATe?", "2", "ocpOn=off");
        row("ocp tripped", ":OUTPut:OCP:TRIPed?", "1", "ocpTrip=on");
        row("brightness decimal", ":SYSTem:BRIGhtness?", "80.5", "bright=0");
    }

    void decoding()
    {
        QFETCH(QString, query);
        QFETCH(QString, answer);
        QFETCH(QString, field);
        m_answers[query] = answer;
        QSignalSpy errors(m_dmm, &MyDMM::processError);
        QVERIFY(m_dmm->open());
        // A bad answer never stops the cycle, and is no handler error.
        QVERIFY(waitSamples(3));
        QCOMPARE(errors.size(), 0);
        for (QSharedPointer<DmmData> const& sample : m_dmm->getMeasureData())
            QVERIFY2(dump(*sample).contains(field), qPrintable(dump(*sample).join(' ')));
        QCOMPARE(handlerErrors(), 0);
    }

    void modeChangeDropsPassInProgress_data()
    {
        QTest::addColumn<QString>("from");
        QTest::addColumn<QString>("to");
        QTest::addColumn<QString>("group");
        QTest::newRow("Normal to SERSlave") << "Normal" << QString("SERSlave") << kSeriesQuery;
        QTest::newRow("PARAMaster to EXT_V") << "PARAMaster" << QString("EXT_V") << QString();
        QTest::newRow("SERMaster to PARASlave") << "SERMaster" << QString("PARASlave") << kParallelQuery;
    }

    void modeChangeDropsPassInProgress()
    {
        QFETCH(QString, from);
        QFETCH(QString, to);
        QFETCH(QString, group);
        m_answers[kModeQuery] = from;
        QVERIFY(m_dmm->open());
        QVERIFY(waitSamples(2));
        // In the third pass, with its voltage level stored, the instrument takes the new mode and a new
        // level.
        connect(m_peer, &LinePeer::lineReceived, this, [&](QString const& line) {
            if (line != ":SOURce:CURRent:LEVel?" || m_answers[kModeQuery] == to)
                return;
            m_answers[kModeQuery] = to;
            m_answers[":SOURce:VOLTage:LEVel?"] = "24";
            m_dmm->cmdPowerMode(to);
            // Waiting behind the mode's read-back: dropped with the ring.
            m_dmm->cmdVoltage(7);
            m_dmm->listQueryOptions();
        });
        QSignalSpy listouts(m_dmm, &MyDMM::updateListout);
        QVERIFY(waitSamples(4));
        QVERIFY(!lines().contains(":SOURce:VOLTage:LEVel 7"));
        QCOMPARE(listouts.size(), 0);

        // The read-back of the setting rebuilds the ring at once: the rest of the pass is never sent.
        qsizetype const at = lines().indexOf(":SYSTem:POWER:MODE " + to);
        QVERIFY(at > 0);
        QCOMPARE(lines().mid(at - 1, 5),
                 (QStringList {":SOURce:CURRent:LEVel?", lines().at(at), kModeQuery, kModeQuery,
                               ":MEASure:ALL?"}));
        // The dropped pass is never published: no sample mixes the modes or is half filled.
        QList<QSharedPointer<DmmData>> const samples = m_dmm->getMeasureData();
        for (int i = 0; i < samples.size(); ++i) {
            QCOMPARE(samples[i]->config().powerMode, i < 2 ? from : to);
            QCOMPARE(samples[i]->activeChannel()->voltage.level.value, i < 2 ? 0.0 : 24.0);
            QVERIFY(complete(*samples[i]));
        }
        Channel const* ch = samples[2]->activeChannel();
        QCOMPARE(ch->parallelVoltage.measured.kind == 0, group == kParallelQuery);
        QCOMPARE(ch->seriesVoltage.measured.kind == 0, group == kSeriesQuery);
        QCOMPARE(linesOfSample(2), ringWith(group));
    }

    void settingCommands_data()
    {
        QTest::addColumn<QString>("state"); // a query of the ring that reads "1" instead of "0"
        QTest::addColumn<Action>("action");
        QTest::addColumn<QStringList>("expected");
        auto const row = [](char const* name, Action action, QStringList expected) {
            QTest::newRow(name) << QString() << action << expected;
        };
        row("power mode and its read-back", [](MyDMM* d) { d->cmdPowerMode("PARASlave"); },
            {":SYSTem:POWER:MODE PARASlave", kModeQuery});
        row("real to six digits", [](MyDMM* d) { d->cmdVoltage(12.3456789); },
            {":SOURce:VOLTage:LEVel 12.3457"});
        row("bare commands in order",
            [](MyDMM* d) {
                d->cmdOVPClear();
                d->cmdOCPClear();
                d->cmdRemote();
                d->cmdLocal();
            },
            {":SOURce:VOLTage:PROTection:CLEar", ":CURRent:PROTection:CLEar", ":SYSTem:REMote",
             ":SYSTem:LOCal"});
        row("list item", [](MyDMM* d) { d->cmdListSetItem(3, 12.3456789, 1.5, 0.1); },
            {":LISTout:PARAmeter 3,12.3457,1.5,0.1"});
        row("delayer queries",
            [](MyDMM* d) {
                d->cmdDelayQueryCycles();
                d->cmdDelayQueryEndState();
                d->cmdDelayQueryGroupStartNum();
                d->cmdDelayQueryGroupCount();
                d->cmdDelayQueryGroupStopCondition();
            },
            {":DELAY:CYCLEs?", ":DELAY:ENDState?", ":DELAY:STARt?", ":DELAY:GROUPs?", ":DELAY:STOP?"});
        // An answer that no handler takes is logged, and the cycle goes on.
        row("unknown word",
            [](MyDMM* d) {
                QTest::ignoreMessage(QtDebugMsg, "Command Handler Error:XXX? 0");
                d->cmdSetXXX(1.23456789);
            },
            {"XXX 1.23457", "XXX?"});
        // A toggle inverts the state of the last sample whatever its argument; the other states read "0",
        // so a toggle that reads the wrong one sends ON where OFF is due.
        auto const toggle = [](char const* name, QString const& command, bool on, Toggle t, QString sent) {
            QTest::newRow(name) << (on ? command + '?' : QString())
                                << Action([t](MyDMM* d) { std::invoke(t, d, true); })
                                << QStringList {command + ' ' + sent};
        };
        toggle("output off goes on", ":OUTPut:STATe", false, &MyDMM::cmdToggleOutput, "ON");
        toggle("output on goes off", ":OUTPut:STATe", true, &MyDMM::cmdToggleOutput, "OFF");
        toggle("ovp on goes off", ":SOURce:VOLTage:PROTection:STATe", true, &MyDMM::cmdToggleOVP, "OFF");
        toggle("ocp on goes off", ":SOURce:CURRent:PROTection:STATe", true, &MyDMM::cmdToggleOCP, "OFF");
    }

    void settingCommands()
    {
        QFETCH(QString, state);
        QFETCH(Action, action);
        QFETCH(QStringList, expected);
        if (!state.isEmpty())
            m_answers[state] = "1";
        QVERIFY(m_dmm->open());
        QVERIFY(waitSamples(1));
        int const from = int(lines().size());
        action(m_dmm);
        QVERIFY(waitSamples(3));

        // The lines go out together, between two entries of the ring, and nothing else is sent.
        QCOMPARE(lines().mid(lines().indexOf(expected.first(), from), expected.size()), expected);
        QCOMPARE(handlerErrors(), expected.contains("XXX?") ? 1 : 0);
        expected.removeAll(kModeQuery);
        QCOMPARE(extraLines(from), expected);
    }

    void queryGroups_data()
    {
        QTest::addColumn<Action>("action");
        QTest::addColumn<QStringList>("wire");
        QTest::addColumn<int>("kind");
        QTest::addColumn<QString>(
            "record"); // running|value|state number|state count|start|count|cycles|end|stop

        QStringList const list = {":LISTout:STATe?", ":LISTout:BASE?"};
        QString const untouched = "0|0|0|0|0|0|0||";
        // The base answer comes after the state answer, so its end state stays.
        QTest::newRow("list options")
            << Action([](MyDMM* d) { d->listQueryOptions(); }) << list << 1 << "1|12.5|3|2|4|10|5|OFF|";
        QTest::newRow("delayer options")
            << Action([](MyDMM* d) { d->delayQueryOptions(); })
            << QStringList {":DELAY:STATe?", ":DELAY:CYCLEs?", ":DELAY:ENDState?",
                            ":DELAY:STARt?", ":DELAY:GROUPs?", ":DELAY:STOP?"}
            << 3 << "0|0.5|6|3|2|9|7|ON|V<,1.5";
        // An item answer only acknowledges the rows.
        QTest::newRow("list item") << Action([](MyDMM* d) { d->listQueryItem(2, 3); })
                                   << QStringList {":LISTout:PARAmeter? 2,3"} << 2 << untouched;
        QTest::newRow("delayer item") << Action([](MyDMM* d) { d->delayQueryItem(0, 128); })
                                      << QStringList {":DELAY:PARAmeter? 0,128"} << 4 << untouched;
        // A state answer needs six fields and a base answer four; shorter ones are left unread.
        QTest::newRow("short list answers") << Action([this](MyDMM* d) {
            m_answers[":LISTout:STATe?"] = "1,1.000,9,9,9";
            m_answers[":LISTout:BASE?"] = "1,2,3";
            d->listQueryOptions();
        }) << list << 1 << untouched;
    }

    void queryGroups()
    {
        QFETCH(Action, action);
        QFETCH(QStringList, wire);
        QFETCH(int, kind);
        QFETCH(QString, record);

        QSignalSpy reports(m_dmm, &MyDMM::updateListout);
        QVERIFY(m_dmm->open());
        QVERIFY(waitSamples(1));
        int const from = int(lines().size());
        action(m_dmm);
        QVERIFY(reports.wait(5000));
        QCOMPARE(reports.size(), 1);
        ListAndDelayer const report = reports[0][0].value<ListAndDelayer>();
        QCOMPARE(report.kind, kind);
        QCOMPARE(describe(report), record);
        // A group runs in one piece between two entries of the ring.
        QCOMPARE(lines().mid(lines().indexOf(wire.first(), from), wire.size()), wire);
        QCOMPARE(handlerErrors(), 0);
    }

    void readingBox()
    {
        // The factory is shared: a width left by another caller must not pad the text.
        dmmhelper::vbFactory.setWidth(12);
        auto const box = dmmhelper::makeUVB(QStringLiteral("1.23456 mA"), 0, 4, QStringLiteral("A"));
        QCOMPARE((QVariantList {box.kind, box.value, box.raw}), (QVariantList {0, 1.23456, 1.23456}));
        QCOMPARE(dmmhelper::VBText(box) + box.unit, QStringLiteral("1.2346mAA"));
        auto const bad = dmmhelper::makeUVB(QStringLiteral("abc"), 0, 3, QStringLiteral("V/s"));
        QVERIFY(bad.kind == 1 && qIsNaN(bad.value) && bad.unit == QStringLiteral("V/s"));
    }

    void historySurvivesCloseAndOpen()
    {
        m_answers[kModeQuery] = "PARAMaster";
        QVERIFY(!m_dmm->close());
        QVERIFY(m_dmm->open());
        QVERIFY(waitSamples(1));
        // Opening again while running changes nothing: the pass goes on, no restart.
        QVERIFY(!m_dmm->open());
        QVERIFY(waitSamples(2));
        QCOMPARE(linesOfSample(0), ringWith(kParallelQuery));

        QSignalSpy stopped(m_dmm, &MyDMM::stoped);
        QVERIFY(m_dmm->close());
        QVERIFY(stopped.wait());
        QList<QSharedPointer<DmmData>> const before = m_dmm->getMeasureData();
        m_peer->clearLines();
        QVERIFY(m_dmm->open());
        QVERIFY(waitSamples(int(before.size()) + 1));
        QCOMPARE(m_dmm->getMeasureData().mid(0, before.size()), before);

        // A new run starts from the normal ring and learns the mode again. The query that the
        // stopped run sent after its last sample may reach the peer after the stop.
        QStringList run = lines();
        if (run.mid(1, 3) == QStringList {kModeQuery, kModeQuery, ":MEASure:ALL?"})
            run.removeFirst();
        QCOMPARE(run.mid(0, 3), (QStringList {kModeQuery, kModeQuery, ":MEASure:ALL?"}));
        QSharedPointer<DmmData> const firstOfRun = m_dmm->getMeasureData().at(before.size());
        QCOMPARE(firstOfRun->activeChannel()->parallelVoltage.measured.kind, 0);
        QVERIFY(firstOfRun->dateTime() >= before.last()->dateTime());
    }
};

QTEST_GUILESS_MAIN(TestMyDmm)
#include "tst_mydmm.moc"
