#include "measure/qvaluebox.h"

#include <QTest>

using zelt::measure::QValueBox;
using zelt::measure::QValueBoxFactory;

class TestValueBox : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void makeLazy_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<int>("width");
        QTest::addColumn<int>("precision");
        QTest::addColumn<double>("value"); // NaN: not a number, an empty box
        QTest::addColumn<QString>("boxText");
        QTest::addColumn<QString>("suffix");
        auto const row = [](char const* text, int width, int precision, double value, QString const& boxText,
                            char const* suffix) {
            QByteArray const tag = QByteArray(text).replace('\r', "\\r").replace('\n', "\\n");
            QTest::addRow("'%s'", tag.constData())
                << QString(text) << width << precision << value << boxText << QString(suffix);
        };

        row("  40.000\r\n", 0, 3, 40.0, "40.000", "");
        row("+1.25E1", 0, 3, 12.5, "12.500", "");
        row("1e+3", 0, 3, 1000.0, "1000.000", "");
        row("-0.5 V", 0, 3, -0.5, "-0.500", "V");
        row("3.2mA", 0, 3, 3.2, "3.200", "mA");
        row("2e", 0, 3, 2.0, "2.000", "e"); // an exponent needs digits
        row("7.5  V/s \n", 0, 3, 7.5, "7.500", "V/s");
        row(".5", 0, 3, 0.5, "0.500", "");
        // The value is kept as read; only the text is rounded.
        row("1.23456", 0, 3, 1.23456, "1.235", "");
        row("7.6", 0, 0, 7.6, "8", "");
        row("1.5", 8, 2, 1.5, "    1.50", "");
        // A negative precision gives the shortest text that reads back the same.
        row("12.50", 0, -1, 12.5, "12.5", "");
        row("1E-7", 0, -1, 1e-7, "0.0000001", "");
        row("-0.0001", 0, 3, -0.0001, "0.000", "");
        row("-0.000", 0, 3, -0.0, "0.000", "");
        row("-0.0006", 0, 3, -0.0006, "-0.001", "");
        // Rounding as QString::number does it: an exact binary half, and a decimal half that lies below.
        row("0.125", 0, 2, 0.125, QString::number(0.125, 'f', 2), "");
        row("1.0005", 0, 3, 1.0005, QString::number(1.0005, 'f', 3), "");

        for (char const* bad : {"", "  \r\n", "ON", "+", ".", "e5", "--1", "NaN", "INF", "1E999", "#H1F"})
            row(bad, 0, 3, qQNaN(), "", "");
    }

    void makeLazy()
    {
        QFETCH(QString, text);
        QFETCH(int, width);
        QFETCH(int, precision);
        QFETCH(double, value);
        QFETCH(QString, boxText);
        QFETCH(QString, suffix);

        QValueBoxFactory factory;
        QValueBox const box = factory.setWidth(width).setPrecision(precision).makeLazy(text);
        QCOMPARE(box.kind, qIsNaN(value) ? 1 : 0);
        QCOMPARE(box.value, value);
        QCOMPARE(box.raw, value);
        QCOMPARE(box.text, boxText);
        QCOMPARE(box.suffix, suffix);
    }

    // Set values that repeat every cycle beside readings that change, as the driver reads them,
    // from a factory that is gone before the boxes are read: no box loses or changes its text
    // when the factory's cache gives way or goes.
    void boxesKeepTheirTextsThroughTheCache()
    {
        QList<QValueBox> boxes;
        QStringList texts;
        {
            QValueBoxFactory factory;
            for (int round = 0; round < 60; ++round) {
                for (int k = 0; k < 42; ++k) {
                    texts << QString::number(k < 33 ? 10 + k * 0.25 : 100 + round * 9 + k + 0.001 * k, 'f',
                                             3);
                    boxes << factory.makeLazy(texts.last() + " V");
                }
            }
        }
        for (int i = 0; i < boxes.size(); ++i)
            QCOMPARE(boxes.at(i).text, texts.at(i));
    }
};

QTEST_GUILESS_MAIN(TestValueBox)
#include "tst_valuebox.moc"
