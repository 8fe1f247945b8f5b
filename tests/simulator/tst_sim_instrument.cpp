// The instrument model without a socket: ratings per model, number words, header forms.

#include "kvrinstrument.h"
#include "kvrratings.h"
#include "manualclock.h"
#include "scpipattern.h"
#include "scpivalue.h"

#include <QTest>

using namespace kvrsim;

class TestSimInstrument : public QObject
{
    Q_OBJECT

private slots:
    void ratings_data();
    void ratings();
    void number_data();
    void number();
    void pattern_data();
    void pattern();
    void slewWithProtectionStaysExact();
};

void TestSimInstrument::ratings_data()
{
    QTest::addColumn<QString>("model");
    QTest::addColumn<bool>("valid");
    QTest::addColumn<double>("voltage");
    QTest::addColumn<double>("current");
    QTest::addColumn<double>("power");
    QTest::addColumn<double>("minVoltage");
    QTest::addColumn<int>("currentDecimals");

    QTest::newRow("400 snaps to 800") << "KVR9040-40" << true << 40.0 << 40.0 << 800.0 << 0.1 << 3;
    QTest::newRow("320 snaps to 400") << "KVR9160-8" << true << 160.0 << 8.0 << 400.0 << 0.5 << 4;
    QTest::newRow("750 snaps to 800") << "KVR9250-12" << true << 250.0 << 12.0 << 800.0 << 0.5 << 3;
    QTest::newRow("800 snaps to 1200") << "KVR9800-4" << true << 800.0 << 4.0 << 1200.0 << 0.1 << 4;
    QTest::newRow("1200 kept") << "KVR9080-60" << true << 80.0 << 60.0 << 1200.0 << 0.1 << 3;
    QTest::newRow("2000 kept") << "KVR9040-200" << true << 40.0 << 200.0 << 2000.0 << 0.1 << 3;
    QTest::newRow("10 A has 4 decimals") << "KVR9800-10" << true << 800.0 << 10.0 << 2000.0 << 0.1 << 4;
    QTest::newRow("lower case") << "kvr9160-16" << true << 160.0 << 16.0 << 800.0 << 0.5 << 3;
    QTest::newRow("other family") << "PXN3040-40" << false << 0.0 << 0.0 << 0.0 << 0.0 << 0;
    QTest::newRow("unknown voltage class") << "KVR9999-1" << false << 0.0 << 0.0 << 0.0 << 0.0 << 0;
    QTest::newRow("no current") << "KVR9040-" << false << 0.0 << 0.0 << 0.0 << 0.0 << 0;
    QTest::newRow("zero current") << "KVR9040-0" << false << 0.0 << 0.0 << 0.0 << 0.0 << 0;
    QTest::newRow("trailing text") << "KVR9040-40X" << false << 0.0 << 0.0 << 0.0 << 0.0 << 0;
}

void TestSimInstrument::ratings()
{
    QFETCH(QString, model);
    QFETCH(bool, valid);
    std::optional<KvrRatings> const ratings = KvrRatings::fromModel(model);
    QCOMPARE(ratings.has_value(), valid);
    if (!valid)
        return;
    QFETCH(double, voltage);
    QFETCH(double, current);
    QFETCH(double, power);
    QFETCH(double, minVoltage);
    QFETCH(int, currentDecimals);
    QCOMPARE(ratings->voltage, voltage);
    QCOMPARE(ratings->current, current);
    QCOMPARE(ratings->power, power);
    QCOMPARE(ratings->minVoltage, minVoltage);
    QCOMPARE(ratings->maxVoltage(), voltage * 1.05);
    QCOMPARE(ratings->currentDecimals(), currentDecimals);
    QCOMPARE(ratings->model, model.toUpper());

    // The reset values follow the rating.
    ManualClock clock;
    KvrInstrument instrument(*ratings, &clock);
    QCOMPARE(instrument.settings().voltage, minVoltage);
    QCOMPARE(instrument.settings().ovpLevel, voltage * 1.05);
    QCOMPARE(instrument.settings().ocpLevel, current * 1.05);
    QCOMPARE(
        instrument.handleLine(QStringLiteral("*IDN?")).value_or(QString()).section(QLatin1Char(','), 0, 1),
        QStringLiteral("KVR,%1").arg(model.toUpper()));
}

void TestSimInstrument::number_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("valid");
    QTest::addColumn<double>("value");

    QTest::newRow("integer") << "12" << true << 12.0;
    QTest::newRow("decimal") << "12.5" << true << 12.5;
    QTest::newRow("exponent") << "1.25E1" << true << 12.5;
    QTest::newRow("lower exponent with sign") << "1e-05" << true << 0.00001;
    QTest::newRow("plus sign") << "+0.5" << true << 0.5;
    QTest::newRow("leading point") << ".5" << true << 0.5;
    QTest::newRow("trailing point") << "5." << true << 5.0;
    QTest::newRow("negative") << "-3" << true << -3.0;
    QTest::newRow("blanks around") << " 7 " << true << 7.0;
    QTest::newRow("letters") << "abc" << false << 0.0;
    QTest::newRow("unit suffix") << "5V" << false << 0.0;
    QTest::newRow("two points") << "1.2.3" << false << 0.0;
    QTest::newRow("bare exponent") << "1E" << false << 0.0;
    QTest::newRow("only point") << "." << false << 0.0;
    QTest::newRow("infinity") << "inf" << false << 0.0;
    QTest::newRow("hex") << "0x10" << false << 0.0;
    QTest::newRow("empty") << "" << false << 0.0;
}

void TestSimInstrument::number()
{
    QFETCH(QString, text);
    QFETCH(bool, valid);
    QFETCH(double, value);
    std::optional<double> const parsed = ScpiValue::toNumber(text);
    QCOMPARE(parsed.has_value(), valid);
    if (valid)
        QCOMPARE(*parsed, value);
}

void TestSimInstrument::pattern_data()
{
    QTest::addColumn<QString>("pattern");
    QTest::addColumn<QString>("header");
    QTest::addColumn<bool>("matches");

    QString const level = QStringLiteral("[SOURce]:VOLTage:[LEVel]");
    QTest::newRow("long") << level << "SOURce:VOLTage:LEVel" << true;
    QTest::newRow("short") << level << "SOUR:VOLT:LEV" << true;
    QTest::newRow("mixed case") << level << "sour:Voltage:lev" << true;
    QTest::newRow("optional left out") << level << "VOLT" << true;
    QTest::newRow("partial keyword") << level << "SOURC:VOLT" << false;
    QTest::newRow("extra keyword") << level << "SOUR:VOLT:LEV:X" << false;
    QTest::newRow("empty keyword") << level << "SOUR::VOLT" << false;
    QString const powerDown = QStringLiteral("SYSTem:POWER:POWERDown");
    QTest::newRow("short of capitals") << powerDown << "SYST:POWER:POWERD" << true;
    QTest::newRow("short is not prefix") << powerDown << "SYST:POWER:POWER" << false;
    QTest::newRow("common") << "*IDN"
                            << "*idn" << true;
}

void TestSimInstrument::pattern()
{
    QFETCH(QString, pattern);
    QFETCH(QString, header);
    QFETCH(bool, matches);
    QCOMPARE(ScpiPattern(pattern).matches(header.split(QLatin1Char(':'))), matches);
}

void TestSimInstrument::slewWithProtectionStaysExact()
{
    // A slow ramp through the OVP level: the delay counts from the crossing, not from the end of the ramp.
    ManualClock clock;
    KvrInstrument instrument(*KvrRatings::fromModel(QStringLiteral("KVR9040-40")), &clock);
    instrument.setNoise(0);
    for (char const* line : {":OUTP:MODE VSR", ":VOLT:SLEW:RIS 10", ":CURR 5", ":VOLT 20", ":VOLT:PROT 10",
                             ":VOLT:PROT:STAT ON", ":OUTP ON"})
        instrument.handleLine(QString::fromLatin1(line));
    clock.advance(1000 + 99); // 10 V at 1000 ms, above it from 1001 ms
    instrument.advance();
    QVERIFY(!instrument.ovpTripped());
    QVERIFY(instrument.output().volts > 10.9);
    clock.advance(3);
    instrument.advance();
    QVERIFY(instrument.ovpTripped());
    QVERIFY(!instrument.outputOn());
}

QTEST_GUILESS_MAIN(TestSimInstrument)
#include "tst_sim_instrument.moc"
