// The instrument model without a socket: ratings and reset levels per model.

#include "simulator/kvrinstrument.h"
#include "simulator/kvrratings.h"
#include "simulator/manualclock.h"

#include <QTest>

using namespace kvrsim;

class TestSimInstrument : public QObject
{
    Q_OBJECT

private Q_SLOTS:
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
        row("trailing text", "KVR9040-40X");
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
};

QTEST_GUILESS_MAIN(TestSimInstrument)
#include "tst_sim_instrument.moc"
