// The driver on a VISA socket against the simulated instrument, in process.

#include "mydmm.h"

#include "measure/io/visa/visaio.h"
#include "simserver.h"

#include <QEventLoop>
#include <QSignalSpy>
#include <QTest>
#include <QTimer>

#include <cmath>
#include <functional>
#include <memory>

using zelt::measure::io::visa::VisaIO;

class TestMyDmmSim : public QObject
{
    Q_OBJECT
private slots:
    void init();
    void cleanup();

    void pollsTheInstrument();
    void settingsReachTheInstrument();
    void powerModeChangesTheRing_data();
    void powerModeChangesTheRing();
    void listAndDelayerRoundTrip();
    void faultyAnswersNeverStopTheCycle();

private:
    // Runs the event loop until done holds, checking it whenever the driver or the instrument makes
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
        connect(m_sim.get(), &kvrsim::SimServer::lineReceived, &loop, check);
        QTimer::singleShot(timeout, &loop, &QEventLoop::quit);
        loop.exec();
        return done();
    }
    bool waitForSample(std::function<bool(DmmData const&)> const& fits)
    {
        return waitFor([&] {
            auto const last = m_dmm->lastMeasureData();
            return last && fits(*last);
        });
    }
    bool waitSamples(int count)
    {
        return waitFor([&] { return m_dmm->getMeasureData().size() >= count; });
    }

    std::unique_ptr<kvrsim::SimServer> m_sim;
    MyDMM* m_dmm = nullptr;
};

void TestMyDmmSim::init()
{
    m_sim = std::make_unique<kvrsim::SimServer>();
    kvrsim::SimOptions options;
    options.model = QStringLiteral("KVR9040-40");
    options.latencyMs = 0;
    QVERIFY2(m_sim->start(options), qPrintable(m_sim->errorString()));

    ChannelLimitRange limit;
    limit.voltageRange = {0.1, 40.0};
    limit.currentRange = {0.0, 40.0};
    limit.powerRange = {0.0, 400.0};
    m_dmm = new MyDMM(limit, QSharedPointer<VisaIO>::create(m_sim->resourceString()), true);
    m_dmm->setInterval(0);
    QVERIFY(m_dmm->open());
    QVERIFY(waitSamples(1));
}

void TestMyDmmSim::cleanup()
{
    if (m_dmm && m_dmm->active())
        m_dmm->closeForce();
    delete m_dmm;
    m_dmm = nullptr;
    m_sim.reset();
}

void TestMyDmmSim::pollsTheInstrument()
{
    QStringList const lines = m_sim->receivedLines();
    QVERIFY(lines.size() >= 27);
    // The first pass is cut at its first answer; the second is complete.
    QCOMPARE(lines.at(0), ":SYSTem:POWER:MODE?");
    QCOMPARE(lines.at(1), ":SYSTem:POWER:MODE?");
    QCOMPARE(lines.at(26), ":SYSTem:POWER:ELOAD:STATe?");

    // An instrument fresh from power-up.
    QSharedPointer<DmmData> const first = m_dmm->getMeasureData().first();
    Config const& cfg = first->config();
    Channel const* ch = first->activeChannel();
    QCOMPARE(cfg.powerMode, "Normal");
    QCOMPARE(cfg.outputMode, "VHS");
    QCOMPARE(cfg.brightness, 80);
    QCOMPARE(cfg.ovpDelay, 100);
    QCOMPARE(cfg.ocpDelay, 100);
    QCOMPARE(cfg.powerOut, "OFF");
    QCOMPARE(cfg.eloadState, "OFF");
    QVERIFY(cfg.beeper);
    QCOMPARE(cfg.resistance.kind, 0);
    QVERIFY(!ch->outputOn);
    QCOMPARE(ch->cvcc, "CV");
    QCOMPARE(ch->voltage.protectionLevel.value, 42.0);
    QCOMPARE(ch->current.protectionLevel.value, 42.0);
    QCOMPARE(ch->voltage.slewRising.text, "1.000");
    QCOMPARE(ch->voltage.measured.kind, 0);
    QCOMPARE(ch->voltage.measured.value, 0.0);
    QCOMPARE(ch->parallelVoltage.measured.kind, 1);
    QCOMPARE(ch->seriesVoltage.measured.kind, 1);
}

void TestMyDmmSim::settingsReachTheInstrument()
{
    m_dmm->cmdVoltage(12.3456789);
    m_dmm->cmdCurrent(1.5);
    m_dmm->cmdOutput(true);
    QVERIFY(waitForSample([](DmmData const& d) {
        Channel const* ch = d.activeChannel();
        return ch->outputOn && ch->voltage.measured.value > 12.0;
    }));
    QStringList const lines = m_sim->receivedLines();
    QVERIFY(lines.contains(":SOURce:VOLTage:LEVel 12.3457"));
    QVERIFY(lines.contains(":SOURce:CURRent:LEVel 1.5"));
    QVERIFY(lines.contains(":OUTPut:STATe ON"));

    // 12.346 V into the 10 ohm load stays below the current limit.
    Channel const* ch = m_dmm->lastMeasureData()->activeChannel();
    QCOMPARE(ch->voltage.level.text, "12.346");
    QCOMPARE(ch->current.level.value, 1.5);
    QCOMPARE(ch->cvcc, "CV");
    QVERIFY(std::abs(ch->current.measured.value - 1.2346) < 0.05);

    // The toggle reads the last sample: the output is on, so it goes off.
    m_dmm->cmdToggleOutput(true);
    QVERIFY(waitForSample([](DmmData const& d) { return !d.activeChannel()->outputOn; }));
    QVERIFY(m_sim->receivedLines().contains(":OUTPut:STATe OFF"));
}

void TestMyDmmSim::powerModeChangesTheRing_data()
{
    QTest::addColumn<QString>("mode");
    QTest::addColumn<bool>("parallel");
    QTest::addColumn<bool>("series");
    QTest::newRow("PARAMaster") << "PARAMaster" << true << false;
    QTest::newRow("SERSlave") << "SERSlave" << false << true;
    QTest::newRow("EXT_V") << "EXT_V" << false << false;
}

void TestMyDmmSim::powerModeChangesTheRing()
{
    QFETCH(QString, mode);
    QFETCH(bool, parallel);
    QFETCH(bool, series);

    // Called between two passes, the read-back lands in the sample just published: that one
    // carries the new word without the group's readings. The ring of the new mode fills the next.
    m_dmm->cmdPowerMode(mode);
    int const published = int(m_dmm->getMeasureData().size());
    QVERIFY(waitFor([&] { return m_dmm->getMeasureData().size() >= published + 3; }));
    QList<QSharedPointer<DmmData>> const samples = m_dmm->getMeasureData();
    QCOMPARE(samples.at(published - 1)->config().powerMode, mode);
    for (int i = published; i < samples.size(); ++i) {
        Channel const* ch = samples.at(i)->activeChannel();
        QCOMPARE(samples.at(i)->config().powerMode, mode);
        QCOMPARE(ch->parallelVoltage.measured.kind == 0, parallel);
        QCOMPARE(ch->parallelPower.kind == 0, parallel);
        QCOMPARE(ch->seriesVoltage.measured.kind == 0, series);
        QCOMPARE(ch->seriesPower.kind == 0, series);
        QCOMPARE(ch->voltage.level.kind, 0);
    }
}

void TestMyDmmSim::listAndDelayerRoundTrip()
{
    QList<ListAndDelayer> reports;
    connect(m_dmm, &MyDMM::updateListout, this, [&](ListAndDelayer const& ld) { reports.append(ld); });

    m_dmm->cmdListSetBase(3, 2, 1, "ON");
    m_dmm->listQueryOptions();
    m_dmm->cmdListSetItem(3, 5, 1, 0.5);
    m_dmm->listQueryItem(3, 1);
    QVERIFY(waitFor([&] { return reports.size() == 2; }));
    QCOMPARE(reports.at(0).kind, 1);
    QVERIFY(!reports.at(0).running);
    QCOMPARE(reports.at(0).start, 3);
    QCOMPARE(reports.at(0).count, 2);
    QCOMPARE(reports.at(0).cycles, 1);
    QCOMPARE(reports.at(0).endState, "ON");
    QCOMPARE(reports.at(1).kind, 2);

    m_dmm->cmdDelaySetGroupStartNum(1);
    m_dmm->cmdDelaySetGroupCount(4);
    m_dmm->cmdDelaySetCycles(3);
    m_dmm->cmdDelaySetEndState("LAST");
    m_dmm->cmdDelaySetGroupStopCondition("V<,1.5");
    m_dmm->delayQueryOptions();
    m_dmm->cmdDelaySetItem(1, true, 2.5);
    m_dmm->delayQueryItem(1, 1);
    QVERIFY(waitFor([&] { return reports.size() == 4; }));
    ListAndDelayer const& delayer = reports.at(2);
    QCOMPARE(delayer.kind, 3);
    QVERIFY(!delayer.running);
    QCOMPARE(delayer.start, 1);
    QCOMPARE(delayer.count, 4);
    QCOMPARE(delayer.cycles, 3);
    QCOMPARE(delayer.endState, "LAST");
    QCOMPARE(delayer.stopCondition, "V<,1.5");
    QCOMPARE(reports.at(3).kind, 4);

    QStringList const lines = m_sim->receivedLines();
    QVERIFY(lines.contains(":LISTout:PARAmeter 3,5,1,0.5"));
    QVERIFY(lines.contains(":DELAY:PARAmeter 1,ON,2.5"));
    QCOMPARE(lines.at(lines.indexOf(":DELAY:PARAmeter 1,ON,2.5") + 1), ":DELAY:PARAmeter? 1,1");
}

void TestMyDmmSim::faultyAnswersNeverStopTheCycle()
{
    // Every fifth answer is malformed: a field too few or too many, or letters for digits.
    m_sim->setMalformEvery(5);
    QSignalSpy errors(m_dmm, &MyDMM::processError);
    int const count = int(m_dmm->getMeasureData().size());
    QVERIFY(waitSamples(count + 5));
    QVERIFY(m_dmm->active());
    QCOMPARE(errors.size(), 0);
    // Some value was left unread, and the samples were published all the same.
    int unread = 0;
    for (QSharedPointer<DmmData> const& sample : m_dmm->getMeasureData().mid(count)) {
        Channel const* ch = sample->activeChannel();
        Config const& cfg = sample->config();
        for (auto const* box :
             {&ch->voltage.measured, &ch->current.measured, &ch->power, &ch->voltage.level,
              &ch->current.level, &ch->voltage.protectionLevel, &ch->current.protectionLevel,
              &ch->voltage.slewRising, &ch->voltage.slewFalling, &ch->current.slewRising,
              &ch->current.slewFalling, &cfg.resistance}) {
            if (box->kind != 0)
                ++unread;
        }
    }
    QVERIFY(unread > 0);
}

QTEST_GUILESS_MAIN(TestMyDmmSim)
#include "tst_mydmm_sim.moc"
