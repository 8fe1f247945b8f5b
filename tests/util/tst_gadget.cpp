#include "util/statemonitor.h"

#include <QTest>

using zelt::util::gadget::StateMonitor;

class TestGadget : public QObject
{
    Q_OBJECT

    int calls = 0;
    std::function<void()> const count {[this] {
        ++calls;
    }};

private Q_SLOTS:
    void init() { calls = 0; }

    void countdown_data()
    {
        QTest::addColumn<int>("rounds");
        for (int rounds : {1, 2, 3, 0, -1})
            QTest::addRow("%d", rounds) << rounds;
    }

    void countdown()
    {
        QFETCH(int, rounds);
        StateMonitor monitor(std::function<void()> {});
        monitor.in(3);
        QVERIFY(!monitor.out(count));
        // A new setting during the hold-off counts from the start again; none at all disarms.
        monitor.in(rounds);
        QCOMPARE(monitor.armed(), rounds > 0);
        for (int i = 1; i < rounds; ++i)
            QVERIFY2(!monitor.out(count), qPrintable(QStringLiteral("call %1").arg(i)));
        QCOMPARE(calls, 0);
        QVERIFY(monitor.out(count));
        QVERIFY(!monitor.armed());
        // From then on the caller may refresh, and the function is not run again.
        QVERIFY(monitor.out(count));
        QCOMPARE(calls, rounds > 0 ? 1 : 0);
    }
};

QTEST_GUILESS_MAIN(TestGadget)
#include "tst_gadget.moc"
