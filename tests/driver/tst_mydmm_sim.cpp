// The driver on a VISA socket against the simulated instrument, in process.

#include "driver/mydmm.h"

#include "measure/io/visa/visaio.h"
#include "simulator/simserver.h"

#include <QSignalSpy>
#include <QTest>

#include <memory>

using zelt::measure::QUnitValueBox;
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
        QVERIFY(waitSamples(3));

        // Every field of the ring, in its order; neighbours differ, so an answer one word off shows.
        auto const fields = [](DmmData const& data) {
            Channel const* c = data.activeChannel();
            Config const& g = data.config();
            auto const b = [](QUnitValueBox const& box) {
                return (box.kind == 0 ? box.text : "!") + box.unit;
            };
            auto const n = [](auto v) {
                return QString::number(v);
            };
            return QStringList {g.powerMode,
                                b(c->voltage.measured),
                                b(c->current.measured),
                                b(c->power),
                                g.outputMode,
                                n(c->outputOn),
                                c->cvcc,
                                b(c->voltage.level),
                                b(c->current.level),
                                b(c->voltage.protectionLevel),
                                n(c->voltage.protectionOn),
                                b(c->current.protectionLevel),
                                n(c->current.protectionOn),
                                b(c->voltage.slewRising),
                                b(c->voltage.slewFalling),
                                b(c->current.slewRising),
                                b(c->current.slewFalling),
                                b(g.resistance),
                                n(g.beeper),
                                n(g.brightness),
                                n(g.powerDown),
                                n(g.powerId),
                                g.powerOut,
                                n(g.ovpDelay),
                                n(g.ocpDelay),
                                g.eloadState};
        };
        QStringList const expected
            = {"Normal",     "12.193V",    "1.219A",   "14.868W", "IHS",    "1",  "CV",
               "12.346V",    "1.500A",     "30.000V",  "1",       "2.000A", "1",  "0.500V/s",
               "840.000V/s", "100.250A/s", "0.010A/s", "0.125Ω",  "0",      "55", "1",
               "2",          "KEEP",       "150",      "250",     "ON"};
        QCOMPARE(fields(*d.lastMeasureData()), expected);

        d.setWordTimeLimit(300);
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
        QStringList const atFault = fields(*samples.at(faultAt));
        for (int i = 0; i < expected.size(); ++i) {
            QString const& field = atFault.at(i);
            QVERIFY2(field == expected.at(i) || field.startsWith('!') || field == "0" || field.isEmpty(),
                     qPrintable(atFault.join(' ')));
        }
        for (qsizetype i = faultAt + 1; i < samples.size(); ++i)
            QCOMPARE(fields(*samples.at(i)), expected);
        QCOMPARE(m_sim->receivedLines().count(QStringLiteral("*IDN?")), 1);
    }
};

QTEST_GUILESS_MAIN(TestMyDmmSim)
#include "tst_mydmm_sim.moc"
