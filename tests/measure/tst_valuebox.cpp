#include "measure/qvaluebox.h"

#include <QTest>

#include <cmath>

using zelt::measure::QUnitValueBox;
using zelt::measure::QValueBox;
using zelt::measure::QValueBoxFactory;

class TestValueBox : public QObject
{
    Q_OBJECT

private slots:
    void makeLazy_data();
    void makeLazy();
    void notANumber_data();
    void notANumber();
    void roundsLikeQString_data();
    void roundsLikeQString();
    void repeatedTextsShareBuffers();
    void cacheSlotTakesNewText();
    void steadyTextsStayShared();
    void unitBox();
};

void TestValueBox::makeLazy_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("width");
    QTest::addColumn<int>("precision");
    QTest::addColumn<double>("value");
    QTest::addColumn<QString>("boxText");
    QTest::addColumn<QString>("suffix");

    QTest::newRow("plain") << "12.000" << 0 << 3 << 12.0 << "12.000"
                           << "";
    QTest::newRow("integer") << "5" << 0 << 3 << 5.0 << "5.000"
                             << "";
    QTest::newRow("answer line") << "  40.000\r\n"
                                 << 0 << 3 << 40.0 << "40.000"
                                 << "";
    QTest::newRow("plus sign and exponent") << "+1.25E1" << 0 << 3 << 12.5 << "12.500"
                                            << "";
    QTest::newRow("negative exponent") << "4.2e-2" << 0 << 3 << 0.042 << "0.042"
                                       << "";
    QTest::newRow("exponent with plus") << "1e+3" << 0 << 3 << 1000.0 << "1000.000"
                                        << "";
    QTest::newRow("minus with unit") << "-0.5 V" << 0 << 3 << -0.5 << "-0.500"
                                     << "V";
    QTest::newRow("glued suffix") << "3.2mA" << 0 << 3 << 3.2 << "3.200"
                                  << "mA";
    QTest::newRow("suffix after exponent") << "1.5E3V" << 0 << 3 << 1500.0 << "1500.000"
                                           << "V";
    QTest::newRow("exponent mark without digits") << "2e" << 0 << 3 << 2.0 << "2.000"
                                                  << "e";
    QTest::newRow("suffix blanks trimmed") << "7.5  V/s \n"
                                           << 0 << 3 << 7.5 << "7.500"
                                           << "V/s";
    QTest::newRow("fraction only") << ".5" << 0 << 3 << 0.5 << "0.500"
                                   << "";
    QTest::newRow("signed fraction only") << "-.25" << 0 << 3 << -0.25 << "-0.250"
                                          << "";
    QTest::newRow("trailing point") << "5." << 0 << 3 << 5.0 << "5.000"
                                    << "";
    QTest::newRow("rest of a list") << "1.000,2.000" << 0 << 3 << 1.0 << "1.000"
                                    << ",2.000";
    QTest::newRow("value not rounded") << "1.23456" << 0 << 3 << 1.23456 << "1.235"
                                       << "";
    QTest::newRow("precision 0") << "7.6" << 0 << 0 << 7.6 << "8"
                                 << "";
    QTest::newRow("precision 1") << "0.04" << 0 << 1 << 0.04 << "0.0"
                                 << "";
    QTest::newRow("width pads left") << "1.5" << 8 << 2 << 1.5 << "    1.50"
                                     << "";
    QTest::newRow("negative width pads right") << "1.5" << -8 << 2 << 1.5 << "1.50    "
                                               << "";
    QTest::newRow("width below length") << "123.5" << 3 << 1 << 123.5 << "123.5"
                                        << "";
    QTest::newRow("shortest form") << "12.50" << 0 << -1 << 12.5 << "12.5"
                                   << "";
    QTest::newRow("shortest small") << "1E-7" << 0 << -1 << 1e-7 << "0.0000001"
                                    << "";
    QTest::newRow("shortest integer") << "40" << 0 << -1 << 40.0 << "40"
                                      << "";
    QTest::newRow("rounds to zero, no sign") << "-0.0001" << 0 << 3 << -0.0001 << "0.000"
                                             << "";
    QTest::newRow("negative zero") << "-0" << 0 << 2 << 0.0 << "0.00"
                                   << "";
    QTest::newRow("rounds away from zero") << "-0.0006" << 0 << 3 << -0.0006 << "-0.001"
                                           << "";
}

void TestValueBox::makeLazy()
{
    QFETCH(QString, text);
    QFETCH(int, width);
    QFETCH(int, precision);
    QFETCH(double, value);
    QFETCH(QString, boxText);
    QFETCH(QString, suffix);

    QValueBoxFactory factory;
    QValueBox const box = factory.setWidth(width).setPrecision(precision).makeLazy(text);
    QCOMPARE(box.kind, 0);
    QCOMPARE(box.value, value);
    QCOMPARE(box.raw, value);
    QCOMPARE(box.text, boxText);
    QCOMPARE(box.suffix, suffix);
}

void TestValueBox::notANumber_data()
{
    QTest::addColumn<QString>("text");

    QTest::newRow("empty") << "";
    QTest::newRow("blanks") << "  \r\n";
    QTest::newRow("word") << "ON";
    QTest::newRow("unit first") << "V 12";
    QTest::newRow("sign only") << "+";
    QTest::newRow("sign and point") << "-.";
    QTest::newRow("point only") << ".";
    QTest::newRow("exponent only") << "e5";
    QTest::newRow("NaN") << "NaN";
    QTest::newRow("INF") << "INF";
    QTest::newRow("overflow") << "1E999";
    QTest::newRow("hex") << "#H1F";
    QTest::newRow("double sign") << "--1";
}

void TestValueBox::notANumber()
{
    QFETCH(QString, text);
    QValueBoxFactory factory;
    QValueBox const box = factory.makeLazy(text);
    QCOMPARE(box.kind, 1);
    QVERIFY(std::isnan(box.value));
    QVERIFY(std::isnan(box.raw));
    QVERIFY(box.text.isEmpty());
    QVERIFY(box.suffix.isEmpty());
    QCOMPARE(box.scale, 1.0);
}

void TestValueBox::roundsLikeQString_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("precision");

    // Exact halves in binary, where rounding to even and away from zero differ.
    QTest::newRow("0.0625 at 3") << "0.0625" << 3;
    QTest::newRow("0.125 at 2") << "0.125" << 2;
    QTest::newRow("2.5 at 0") << "2.5" << 0;
    QTest::newRow("-2.5 at 0") << "-2.5" << 0;
    QTest::newRow("2.25 at 1") << "2.25" << 1;
    // Looks like a half in decimal, lies below it in binary.
    QTest::newRow("1.0005 at 3") << "1.0005" << 3;
    QTest::newRow("carry") << "9.9996" << 3;
    QTest::newRow("large") << "123456789.987654321" << 4;
}

void TestValueBox::roundsLikeQString()
{
    QFETCH(QString, text);
    QFETCH(int, precision);
    QValueBoxFactory factory;
    QValueBox const box = factory.setPrecision(precision).makeLazy(text);
    QCOMPARE(box.text, QString::number(text.toDouble(), 'f', precision));
}

void TestValueBox::repeatedTextsShareBuffers()
{
    QValueBoxFactory factory;
    QValueBox const a = factory.makeLazy(QStringLiteral("12.000 V"));
    QValueBox const b = factory.makeLazy(QStringLiteral("12.000 V"));
    QValueBox const c = factory.makeLazy(QStringLiteral("+1.2E1V")); // another text, same display
    QValueBox const d = factory.makeLazy(QStringLiteral("13.000 V"));

    QCOMPARE(a.text, QStringLiteral("12.000"));
    QVERIFY(a.text.isSharedWith(b.text));
    QVERIFY(a.text.isSharedWith(c.text));
    QVERIFY(a.suffix.isSharedWith(b.suffix));
    QVERIFY(a.suffix.isSharedWith(d.suffix));
    QVERIFY(!a.text.isSharedWith(d.text));
    QCOMPARE(d.text, QStringLiteral("13.000"));

    // The sharing is per factory, and a box outlives it.
    QValueBox kept;
    {
        QValueBoxFactory other;
        kept = other.makeLazy(QStringLiteral("12.000 V"));
        QVERIFY(!kept.text.isSharedWith(a.text));
    }
    QCOMPARE(kept.text, QStringLiteral("12.000"));
    QCOMPARE(kept.suffix, QStringLiteral("V"));
}

void TestValueBox::cacheSlotTakesNewText()
{
    // Many different texts pass through the small cache; each box keeps its own
    // text whatever happens to the cache afterwards.
    QValueBoxFactory factory;
    QList<QValueBox> boxes;
    for (int i = 0; i < 500; ++i)
        boxes.append(factory.makeLazy(QString::number(i * 0.5, 'f', 1)));
    for (int i = 0; i < boxes.size(); ++i)
        QCOMPARE(boxes.at(i).text, QString::number(i * 0.5, 'f', 3));
    QValueBox const again = factory.makeLazy(QStringLiteral("249.5"));
    QCOMPARE(again.text, QStringLiteral("249.500"));
    QVERIFY(again.text.isSharedWith(boxes.last().text));
}

void TestValueBox::steadyTextsStayShared()
{
    // A sample as the driver reads it: set values that repeat every cycle beside
    // readings that change. Every repeat of a set value must hand out the buffer of
    // the first, however the readings pass through the cache.
    int const steady = 33;
    QValueBoxFactory factory;
    QList<QValueBox> first;
    for (int i = 0; i < steady; ++i)
        first.append(factory.makeLazy(QString::number(10 + i * 0.25, 'f', 3)));
    for (int round = 0; round < 30; ++round) {
        for (int k = 0; k < 9; ++k)
            factory.makeLazy(QString::number(100 + round * 9 + k + 0.001 * k, 'f', 3) + QStringLiteral(" V"));
        for (int i = 0; i < steady; ++i) {
            QValueBox const box = factory.makeLazy(QString::number(10 + i * 0.25, 'f', 3));
            QVERIFY2(box.text.isSharedWith(first.at(i).text),
                     qPrintable(QStringLiteral("round %1, text %2").arg(round).arg(box.text)));
        }
    }
}

void TestValueBox::unitBox()
{
    QValueBoxFactory factory;
    QUnitValueBox box(factory.makeLazy(QStringLiteral("3.2mA")), QStringLiteral("A"));
    QCOMPARE(box.kind, 0);
    QCOMPARE(box.value, 3.2);
    QCOMPARE(box.text, QStringLiteral("3.200"));
    QCOMPARE(box.suffix, QStringLiteral("mA"));
    QCOMPARE(box.unit, QStringLiteral("A"));

    QUnitValueBox copy;
    QCOMPARE(copy.kind, 1);
    QVERIFY(std::isnan(copy.value));
    copy = box;
    QCOMPARE(copy.unit, QStringLiteral("A"));
    QCOMPARE(copy.text, QStringLiteral("3.200"));

    QUnitValueBox moved;
    moved = std::move(copy);
    QCOMPARE(moved.unit, QStringLiteral("A"));
    QCOMPARE(moved.value, 3.2);
    QCOMPARE(moved.suffix, QStringLiteral("mA"));
}

QTEST_GUILESS_MAIN(TestValueBox)
#include "tst_valuebox.moc"
