#include "specific/helper.h"
#include "specific/wavegenerator.h"

#include <QTest>

#include <algorithm>
#include <climits>
#include <cmath>

using namespace zelt::specific::pxn3000s::programmer;

namespace {

// count is what the type repeats (cycles, pulses, steps or groups), shape its
// symmetry or rate; a pulse takes interval as its width. The sweep is 0 to 10 V.
ListTemplateParam wave(int type, double period, double interval, int count, int shape = 0,
                       bool inverted = false)
{
    ListTemplateParam p;
    resetListTemplateParam(p, static_cast<unsigned char>(type));
    p.voltageMin = 0.0;
    p.voltageMax = 10.0;
    p.period = period;
    p.interval = p.width = interval;
    p.cycles = p.pulseCount = p.steps = p.expGroups = count;
    p.symmetry = p.expRate = shape;
    p.inverted = inverted;
    return p;
}

DelayerTemplateParam delayer(int type, int pattern, int groups, double a, double b)
{
    DelayerTemplateParam p;
    resetDelayerTemplateParam(p, static_cast<unsigned char>(type));
    p.pattern = pattern;
    p.groups = groups;
    (type == 0 ? p.onTime : type == 1 ? p.incBase : p.decBase) = a;
    (type == 0 ? p.offTime : type == 1 ? p.incStep : p.decStep) = b;
    return p;
}

void setGrid(int decimals, double shortest)
{
    Helper& h = Helper::getInstance();
    h.timeDecimals = decimals;
    h.timeRange = Range_t(shortest, 99999.9);
}

} // namespace

class TestWaveGenerator : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { setGrid(3, 0.001); }

    void listWave_data()
    {
        using L = QList<double>;
        QTest::addColumn<ListTemplateParam>("param");
        QTest::addColumn<int>("count");
        QTest::addColumn<L>("values"); // repeated over the rows
        QTest::addColumn<L>("times"); // repeated over the rows

        L const sine {5, 8.5355, 10, 8.5355, 5, 1.4645, 0, 1.4645};
        QTest::newRow("sine") << wave(0, 0.8, 0.1, 1) << 8 << sine << L {0.1};
        QTest::newRow("sine, period below interval") << wave(0, 0.05, 0.1, 1) << 2 << L {5} << L {0.1};
        QTest::newRow("sine, interval 0") << wave(0, 0.004, 0, 1) << 4 << L {5, 10, 5, 0} << L {0.001};
        QTest::newRow("pulse") << wave(1, 2, 0.5, 3) << 6 << L {10, 0} << L {0.5, 1.5};
        QTest::newRow("pulse, width over period") << wave(1, 2, 3, 3) << 3 << L {10} << L {2};
        QTest::newRow("ramp, triangle")
            << wave(2, 0.8, 0.1, 1, 50) << 8 << L {0, 2.5, 5, 7.5, 10, 7.5, 5, 2.5} << L {0.1};
        QTest::newRow("ramp, symmetry 25")
            << wave(2, 0.8, 0.1, 1, 25) << 8 << L {0, 5, 10, 8.3333, 6.6667, 5, 3.3333, 1.6667} << L {0.1};
        QTest::newRow("stair up") << wave(3, 5, 0, 5) << 5 << L {0, 2.5, 5, 7.5, 10} << L {1};
        QTest::newRow("stair down") << wave(4, 5, 0, 5) << 5 << L {10, 7.5, 5, 2.5, 0} << L {1};
        QTest::newRow("stair up down")
            << wave(5, 9, 0, 5) << 9 << L {0, 2.5, 5, 7.5, 10, 7.5, 5, 2.5, 0} << L {1};
        QTest::newRow("stair, step time rounded") << wave(3, 1, 0, 3) << 3 << L {0, 5, 10} << L {0.333};
        QTest::newRow("exp rise, rate 5")
            << wave(6, 0, 0.5, 5, 5) << 5 << L {0, 7.1834, 9.2414, 9.8311, 10} << L {0.5};
        QTest::newRow("exp rise, rate 99 taken as 10")
            << wave(6, 0, 0.5, 5, 99) << 5 << L {0, 9.1796, 9.9331, 9.9949, 10} << L {0.5};
        ListTemplateParam floor = wave(0, 0.8, 0.1, 1);
        floor.voltageMin = 2.0;
        QTest::newRow("sine above its minimum")
            << floor << 8 << L {6, 8.8284, 10, 8.8284, 6, 3.1716, 2, 3.1716} << L {0.1};
        ListTemplateParam current = wave(3, 3, 0, 3);
        current.object = 1;
        current.currentMin = 0.5;
        current.currentMax = 1.5;
        QTest::newRow("current swept") << current << 3 << L {0.5, 1, 1.5} << L {1};
        ListTemplateParam mirrored = wave(3, 3, 0, 3);
        std::swap(mirrored.voltageMin, mirrored.voltageMax);
        QTest::newRow("minimum above maximum") << mirrored << 3 << L {10, 5, 0} << L {1};
    }

    void listWave()
    {
        QFETCH(ListTemplateParam, param);
        QFETCH(int, count);
        QFETCH(QList<double>, values);
        QFETCH(QList<double>, times);
        QList<ListData> const rows = make_list_wave(param);
        QCOMPARE(rows.size(), count);
        QCOMPARE(list_wave_length(param), qint64(count));
        for (int i = 0; i < count; ++i) {
            ListData const& r = rows.at(i);
            QVERIFY2(std::abs(r.voltage - values.at(i % values.size())) < 1e-4,
                     qPrintable(QStringLiteral("row %1: %2").arg(i).arg(r.voltage)));
            QCOMPARE(r.time, times.at(i % times.size()));
        }
    }

    // The spin boxes' extremes of every type: never an empty wave, never more than the cap,
    // and the length that the cap cut told.
    void listWaveExtremes()
    {
        for (int t = 0; t < kListWaveTypes; ++t) {
            for (ListTemplateParam const& p :
                 {wave(t, 0.001, 0.001, 1), wave(t, 3600, 0.001, t == 1 ? 256 : 512, t == 2 ? 100 : 10)}) {
                qsizetype const rows = make_list_wave(p).size();
                QVERIFY2(rows > 0 && rows <= kMaxWaveRows, qPrintable(QString::number(t)));
                QVERIFY(rows == kMaxWaveRows ? list_wave_length(p) >= rows : list_wave_length(p) == rows);
            }
        }
        QCOMPARE(list_wave_length(wave(0, 3600, 0.001, 512, 10)), qint64(1843200000));
        QCOMPARE(list_wave_length(wave(0, 1e300, 0.001, INT_MAX)), qint64(1e15)); // a forged record
    }

    // Row times land on the grid of timeDecimals and within timeRange.
    void timeGrid_data()
    {
        QTest::addColumn<int>("decimals");
        QTest::addColumn<double>("interval");
        QTest::addColumn<double>("dwell");
        QTest::newRow("negative takes the shortest") << 1 << -3.0 << 0.1;
        QTest::newRow("rounded to a tenth") << 1 << 0.26 << 0.3;
        QTest::newRow("beyond the longest") << 1 << 1e9 << 99999.9;
        QTest::newRow("three decimals, below the instrument's 0.1 s") << 3 << 0.004 << 0.1;
    }

    void timeGrid()
    {
        QFETCH(int, decimals);
        QFETCH(double, interval);
        QFETCH(double, dwell);
        setGrid(decimals, 0.1);
        QList<ListData> const rows = make_list_wave(wave(6, 0, interval, 2));
        QCOMPARE(rows.size(), 2);
        QCOMPARE(rows.first().time, dwell);
    }

    void delayerWave_data()
    {
        QTest::addColumn<DelayerTemplateParam>("param");
        QTest::addColumn<QList<DelayerData>>("rows");
        using D = DelayerData;
        QTest::newRow("fix time, 10") << delayer(0, kPattern10, 2, 1.0, 2.0)
                                      << QList<D> {D(true, 1), D(false, 2), D(true, 1), D(false, 2)};
        QTest::newRow("increase") << delayer(1, kPattern01, 3, 1.0, 0.5)
                                  << QList<D> {D(false, 1),  D(true, 1),  D(false, 1.5),
                                               D(true, 1.5), D(false, 2), D(true, 2)};
        QTest::newRow("decline") << delayer(2, kPattern10, 3, 3.0, 1.0)
                                 << QList<D> {D(true, 3),  D(false, 3), D(true, 2),
                                              D(false, 2), D(true, 1),  D(false, 1)};
        QTest::newRow("decline to zero") << delayer(2, kPattern01, 4, 3.0, 1.0) << QList<D>();
        QTest::newRow("increase past the longest") << delayer(1, kPattern01, 2, 99999.0, 1.0) << QList<D>();
        QTest::newRow("combo index for a pattern") << delayer(0, 0, 1, 1.0, 1.0) << QList<D>();
    }

    void delayerWave()
    {
        QFETCH(DelayerTemplateParam, param);
        QFETCH(QList<DelayerData>, rows);
        QCOMPARE(make_delayer_wave(param), rows);
        QCOMPARE(delayer_wave_length(param), qint64(rows.size()));
    }

    void delayerCap()
    {
        DelayerTemplateParam const p = delayer(0, kPattern10, 100000, 1.0, 1.0);
        QList<DelayerData> const rows = make_delayer_wave(p);
        QCOMPARE(delayer_wave_length(p), qint64(200000));
        QCOMPARE(rows.size(), qsizetype(kMaxWaveRows));
        QVERIFY(rows.first().state && !rows.last().state); // whole groups
    }

    void plotValues_data()
    {
        using L = QList<double>;
        QTest::addColumn<QList<L>>("rows");
        QTest::addColumn<int>("alignment");
        QTest::addColumn<L>("x");
        QTest::addColumn<L>("y");
        QTest::newRow("steps") << QList<L> {{1, 10}, {0, 5}, {3, 20}} << int(Qt::AlignRight)
                               << L {0, 10, 10, 15, 15, 35} << L {1, 1, 0, 0, 3, 3};
        QTest::newRow("bad dwell counts as none")
            << QList<L> {{2, -3}, {4, qQNaN()}, {5, 2}, {6}} << int(Qt::AlignRight)
            << L {0, 0, 0, 0, 0, 2, 2, 2} << L {2, 2, 4, 4, 5, 5, 6, 6};
        QTest::newRow("lines") << QList<L> {{1, 10}, {0, 5}} << int(Qt::AlignLeft) << L {0, 10, 15}
                               << L {1, 0, 0};
    }

    void plotValues()
    {
        QFETCH(QList<QList<double>>, rows);
        QFETCH(int, alignment);
        QFETCH(QList<double>, x);
        QFETCH(QList<double>, y);
        QList<double> gotX {99}, gotY {99};
        make_plot_values(rows, gotX, gotY, Qt::Alignment(alignment));
        QCOMPARE(gotX, x);
        QCOMPARE(gotY, y);
    }
};

QTEST_GUILESS_MAIN(TestWaveGenerator)
#include "tst_wavegenerator.moc"
