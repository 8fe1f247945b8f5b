#include "dmmhelper.h"

#include <QTest>

#include <cmath>

using zelt::measure::QUnitValueBox;
using zelt::measure::QValueBox;

class TestDmmHelper : public QObject
{
    Q_OBJECT
private slots:
    void powerModeText_data();
    void powerModeText();
    void vbText_data();
    void vbText();
    void makeUVB_data();
    void makeUVB();
    void unitsAreShared();
    void internWord_data();
    void internWord();
};

void TestDmmHelper::powerModeText_data()
{
    QTest::addColumn<QString>("mode");
    QTest::addColumn<QString>("text");
    QTest::newRow("Normal") << "Normal"
                            << "Normal";
    QTest::newRow("PARAMaster") << "PARAMaster"
                                << "Parallel Master";
    QTest::newRow("PARASlave") << "PARASlave"
                               << "Parallel Slave";
    QTest::newRow("SERMaster") << "SERMaster"
                               << "Series Master";
    QTest::newRow("SERSlave") << "SERSlave"
                              << "Series Slave";
    QTest::newRow("EXT_V") << "EXT_V"
                           << "Ext-V";
    QTest::newRow("lower case") << "normal"
                                << "";
    QTest::newRow("upper case") << "PARAMASTER"
                                << "";
    QTest::newRow("trailing blank") << "SERSlave "
                                    << "";
    QTest::newRow("display text is no word") << "Ext-V"
                                             << "";
    QTest::newRow("empty") << ""
                           << "";
}

void TestDmmHelper::powerModeText()
{
    QFETCH(QString, mode);
    QFETCH(QString, text);
    QCOMPARE(dmmhelper::getPowerModeText(mode), text);
}

void TestDmmHelper::vbText_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("suffix");
    QTest::addColumn<QString>("expected");
    QTest::newRow("default box") << QString() << QString() << "";
    QTest::newRow("text only") << "12.000" << QString() << "12.000";
    QTest::newRow("text and suffix") << "3.200"
                                     << "mA"
                                     << "3.200mA";
}

void TestDmmHelper::vbText()
{
    QFETCH(QString, text);
    QFETCH(QString, suffix);
    QFETCH(QString, expected);
    QValueBox box;
    box.text = text;
    box.suffix = suffix;
    QCOMPARE(dmmhelper::VBText(box), expected);
}

void TestDmmHelper::makeUVB_data()
{
    QTest::addColumn<QString>("input");
    QTest::addColumn<int>("precision");
    QTest::addColumn<int>("kind");
    QTest::addColumn<double>("value");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("suffix");

    QTest::newRow("fixed") << "12.000" << 3 << 0 << 12.0 << "12.000"
                           << "";
    QTest::newRow("exponent") << "1.25E1" << 3 << 0 << 12.5 << "12.500"
                              << "";
    QTest::newRow("rounded to precision") << "0.12345" << 3 << 0 << 0.12345 << "0.123"
                                          << "";
    QTest::newRow("finer precision") << "1.23456" << 4 << 0 << 1.23456 << "1.2346"
                                     << "";
    QTest::newRow("with suffix") << "3.2 mA" << 3 << 0 << 3.2 << "3.200"
                                 << "mA";
    QTest::newRow("not a number") << "abc" << 3 << 1 << qQNaN() << ""
                                  << "";
    QTest::newRow("empty") << "" << 3 << 1 << qQNaN() << ""
                           << "";
}

void TestDmmHelper::makeUVB()
{
    QFETCH(QString, input);
    QFETCH(int, precision);
    QFETCH(int, kind);
    QFETCH(double, value);
    QFETCH(QString, text);
    QFETCH(QString, suffix);

    QUnitValueBox const box = dmmhelper::makeUVB(input, 0, precision, QStringLiteral("V/s"));
    QCOMPARE(box.kind, kind);
    if (std::isnan(value))
        QVERIFY(std::isnan(box.value));
    else
        QCOMPARE(box.value, value);
    QCOMPARE(box.text, text);
    QCOMPARE(box.suffix, suffix);
    QCOMPARE(box.unit, QStringLiteral("V/s"));
    // Every call sets both, so the factory keeps the last ones.
    QCOMPARE(dmmhelper::vbFactory.precision(), precision);
    QCOMPARE(dmmhelper::vbFactory.width(), 0);
}

void TestDmmHelper::unitsAreShared()
{
    // A history of samples must not hold a unit string per box.
    QUnitValueBox const volts = dmmhelper::makeVUVB(QStringLiteral("12.000"));
    QUnitValueBox const amperes = dmmhelper::makeAUVB(QStringLiteral("1.500"));
    QCOMPARE(volts.unit, QStringLiteral("V"));
    QCOMPARE(amperes.unit, QStringLiteral("A"));
    QCOMPARE(volts.unit.constData(), dmmhelper::kUnitVolt.constData());
    QCOMPARE(amperes.unit.constData(), dmmhelper::kUnitAmpere.constData());
    QCOMPARE(dmmhelper::makeVUVB(QStringLiteral("12.000")).text.constData(), volts.text.constData());
}

void TestDmmHelper::internWord_data()
{
    QTest::addColumn<QString>("word");
    QTest::addColumn<bool>("known");
    QTest::newRow("CV") << "CV" << true;
    QTest::newRow("CC") << "CC" << true;
    QTest::newRow("VSR") << "VSR" << true;
    QTest::newRow("SERSlave") << "SERSlave" << true;
    QTest::newRow("EXT_V") << "EXT_V" << true;
    QTest::newRow("KEEP") << "KEEP" << true;
    QTest::newRow("OFF") << "OFF" << true;
    QTest::newRow("other case") << "cv" << false;
    QTest::newRow("unknown") << "BOOST" << false;
    QTest::newRow("empty") << "" << false;
}

void TestDmmHelper::internWord()
{
    QFETCH(QString, word);
    QFETCH(bool, known);
    // Built at run time, as an answer from the instrument is.
    QString const fresh = QString::fromUtf8(word.toUtf8());
    QString const first = dmmhelper::internWord(fresh);
    QString const second = dmmhelper::internWord(QString::fromUtf8(word.toUtf8()));
    QCOMPARE(first, word);
    QCOMPARE(second, word);
    if (known)
        QCOMPARE(first.constData(), second.constData());
    else
        QCOMPARE(first.constData(), fresh.constData());
}

QTEST_GUILESS_MAIN(TestDmmHelper)
#include "tst_dmmhelper.moc"
