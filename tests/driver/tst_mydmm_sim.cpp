// The driver on a VISA socket against the simulated instrument, in process.

#include "driver/mydmm.h"

#include "measure/io/visa/visaio.h"
#include "simulator/simserver.h"
#include "tests/driver/sampledump.h"

#include <QSignalSpy>
#include <QTest>

#include <memory>

using zelt::measure::io::visa::VisaIO;

class TestMyDmmSim : public QObject
{
    Q_OBJECT

    std::unique_ptr<kvrsim::SimServer> m_sim;
    MyDMM* m_dmm = nullptr;

    // Waits for this many more samples. QSignalSpy::wait, unlike QTRY_, does not sleep between answers.
    bool waitSamples(int more)
    {
        QSignalSpy spy(m_dmm, &MyDMM::updateData);
        while (spy.size() < more) {
            if (!spy.wait(5000))
                return false;
        }
        return true;
    }

private Q_SLOTS:
    void init()
    {
        m_sim = std::make_unique<kvrsim::SimServer>();
        QVERIFY2(m_sim->start(kvrsim::SimOptions()), qPrintable(m_sim->errorString()));
        m_dmm = new MyDMM(ChannelLimitRange(), QSharedPointer<VisaIO>::create(m_sim->resourceString()), true);
        m_dmm->setInterval(0);
        QVERIFY(m_dmm->open());
        QVERIFY(waitSamples(1));
    }

    void cleanup()
    {
        if (m_dmm && m_dmm->active())
            m_dmm->closeForce();
        delete m_dmm;
        m_dmm = nullptr;
        m_sim.reset();
    }

    void lateAnswersNeverShiftTheSamples_data()
    {
        // The word time is cut to 300 ms; one answer comes this late (-1: never).
        QTest::addColumn<int>("lateMs");
        QTest::newRow("past the word time") << 420;
        QTest::newRow("never") << -1;
    }

    // Every setting reaches the instrument and is read back by the ring; then one answer comes late,
    // or never.
    void lateAnswersNeverShiftTheSamples()
    {
        QFETCH(int, lateMs);
        m_sim->setNoise(0.0);
        MyDMM& d = *m_dmm;
        d.cmdVoltage(12.3456789);
        d.cmdCurrent(1.5);
        d.cmdOutput(true);
        d.cmdOVPValue(30);
        d.cmdOVP(true);
        d.cmdOCPValue(2);
        d.cmdOCP(true);
        d.cmdSetSRMode("IHS");
        d.cmdSetVSRRising(0.5);
        d.cmdSetVSRFalling(840);
        d.cmdSetISRRising(100.25);
        d.cmdSetISRFalling(0.01);
        d.cmdSetInternalRES(0.125);
        d.cmdSetBrightness(55);
        d.cmdSetPowerDown(true);
        d.cmdSetBeeper(false);
        d.cmdPowerID(2);
        d.cmdPowerPowerOut("KEEP");
        d.cmdPowerOVPDelay(150);
        d.cmdPowerOCPDelay(250);
        d.cmdPowerEload("ON");
        // Cut before the fault: the pass after a sample is on its way as the sample is published.
        d.setWordTimeLimit(300);
        QVERIFY(waitSamples(3));

        // Neighbours differ, so that an answer one word off shows.
        QStringList const expected
            = QStringLiteral(
                  "mode=Normal|meas=12.193V 1.219A 14.868W|outMode=IHS|out=on|cvcc=CV|vLevel=12.346V|"
                  "iLevel=1.500A|ovp=30.000V|ovpOn=on|ovpTrip=off|ocp=2.000A|ocpOn=on|ocpTrip=off|"
                  "vRise=0.500V/s|vFall=840.000V/s|iRise=100.250A/s|iFall=0.010A/s|res=0.125Ω|"
                  "beep=off|bright=55|pdown=on|id=2|pout=KEEP|ovpDelay=150|ocpDelay=250|eload=ON")
                  .split('|');
        QCOMPARE(dump(*d.lastMeasureData()), expected);

        m_sim->clearLog();
        QSignalSpy errors(m_dmm, &MyDMM::processError);
        qsizetype faultAt = -1;
        connect(m_dmm, &MyDMM::processError, this, [&] {
            faultAt = d.getMeasureData().size();
            m_sim->setDropEvery(0);
            m_sim->setLateEvery(0, 0);
        });
        // The third measure query from here is answered late, or never; the fault is then cleared.
        if (lateMs < 0)
            m_sim->setDropEvery(1);
        else
            m_sim->setLateEvery(3, lateMs, QStringLiteral(":MEASure:ALL?"));
        QVERIFY(errors.wait(5000));
        QVERIFY(waitSamples(6));

        QCOMPARE(errors.size(), 1);
        QCOMPARE(errors.first().at(0).value<QSharedPointer<zelt::util::Word>>()->time(),
                 5000); // only cut here
        // The pass of the time-out is published with what it read: a field is right or unread,
        // never another word's answer. Every pass after it is whole and right.
        QList<QSharedPointer<DmmData>> const samples = d.getMeasureData();
        QStringList const atFault = dump(*samples.at(faultAt));
        for (int i = 0; i < expected.size(); ++i) {
            QString const value = atFault.at(i).section('=', 1);
            QVERIFY2(atFault.at(i) == expected.at(i) || value.startsWith('!') || value == "0"
                         || value == "off" || value.isEmpty(),
                     qPrintable(atFault.join(' ')));
        }
        for (qsizetype i = faultAt + 1; i < samples.size(); ++i)
            QCOMPARE(dump(*samples.at(i)), expected);
        QCOMPARE(m_sim->receivedLines().count(QStringLiteral("*IDN?")), 1);
    }
};

QTEST_GUILESS_MAIN(TestMyDmmSim)
#include "tst_mydmm_sim.moc"
