#include "util/commandhandler.h"
#include "util/statemonitor.h"

#include <QTest>

using zelt::util::gadget::CommandHandler;
using zelt::util::gadget::StateMonitor;

class TestGadget : public QObject
{
    Q_OBJECT

private slots:
    void countdown_data();
    void countdown();
    void idleCallsNothing();
    void rearmRestartsCount();
    void disarm_data();
    void disarm();
    void releaseFunction();

    void dispatch_data();
    void dispatch();
    void laterHandlerReplaces();
};

void TestGadget::countdown_data()
{
    QTest::addColumn<int>("rounds");
    QTest::newRow("1") << 1;
    QTest::newRow("2") << 2;
    QTest::newRow("3") << 3;
}

void TestGadget::countdown()
{
    QFETCH(int, rounds);
    int calls = 0;
    auto const count = [&calls] {
        ++calls;
    };
    StateMonitor monitor;
    monitor.in(rounds);
    QVERIFY(monitor.armed());
    for (int i = 1; i < rounds; ++i) {
        QVERIFY2(!monitor.out(count), qPrintable(QStringLiteral("call %1").arg(i)));
        QCOMPARE(calls, 0);
    }
    QVERIFY(monitor.out(count));
    QCOMPARE(calls, 1);
    QVERIFY(!monitor.armed());
    // From then on the caller may refresh, and the function is not run again.
    QVERIFY(monitor.out(count));
    QVERIFY(monitor.out(count));
    QCOMPARE(calls, 1);
}

void TestGadget::idleCallsNothing()
{
    int released = 0;
    int calls = 0;
    StateMonitor monitor([&released] { ++released; });
    QVERIFY(!monitor.armed());
    QVERIFY(monitor.out([&calls] { ++calls; }));
    QVERIFY(monitor.out());
    QCOMPARE(calls, 0);
    QCOMPARE(released, 0);
}

void TestGadget::rearmRestartsCount()
{
    int calls = 0;
    auto const count = [&calls] {
        ++calls;
    };
    StateMonitor monitor;
    monitor.in(2);
    QVERIFY(!monitor.out(count));
    monitor.in(3); // a new setting during the hold-off: count from the start again
    QCOMPARE(monitor.remaining(), 3);
    QVERIFY(!monitor.out(count));
    QVERIFY(!monitor.out(count));
    QCOMPARE(calls, 0);
    QVERIFY(monitor.out(count));
    QCOMPARE(calls, 1);

    // Armed again after a finished count.
    monitor.in(2);
    QVERIFY(!monitor.out(count));
    QVERIFY(monitor.out(count));
    QCOMPARE(calls, 2);
}

void TestGadget::disarm_data()
{
    QTest::addColumn<int>("rounds");
    QTest::newRow("0") << 0;
    QTest::newRow("negative") << -1;
}

void TestGadget::disarm()
{
    QFETCH(int, rounds);
    int released = 0;
    StateMonitor monitor([&released] { ++released; });
    monitor.in(3);
    QVERIFY(!monitor.out());
    monitor.in(rounds);
    QVERIFY(!monitor.armed());
    QVERIFY(monitor.out());
    QCOMPARE(released, 0);
}

void TestGadget::releaseFunction()
{
    int released = 0;
    int calls = 0;
    StateMonitor monitor([&released] { ++released; });
    monitor.in(2);
    QVERIFY(!monitor.out());
    QVERIFY(monitor.out()); // no function given: the constructor's runs
    QCOMPARE(released, 1);

    monitor.in(1);
    QVERIFY(monitor.out([&calls] { ++calls; })); // a given function takes its place
    QCOMPARE(calls, 1);
    QCOMPARE(released, 1);
}

void TestGadget::dispatch_data()
{
    QTest::addColumn<QString>("word");
    QTest::addColumn<QString>("handler");
    QTest::addColumn<bool>("result");

    QTest::newRow("first key") << "MEAS:ALL?"
                               << "measure" << true;
    QTest::newRow("handler says false") << "SOUR:VOLT?"
                                        << "voltage" << false;
    QTest::newRow("unknown key") << "SOUR:CURR?"
                                 << "" << false;
    QTest::newRow("key with argument is another key") << "SOUR:VOLT? MAX"
                                                      << "" << false;
    QTest::newRow("case matters") << "meas:all?"
                                  << "" << false;
    QTest::newRow("registered but empty") << "OUTP?"
                                          << "" << false;
    QTest::newRow("empty word") << ""
                                << "" << false;
}

void TestGadget::dispatch()
{
    QFETCH(QString, word);
    QFETCH(QString, handler);
    QFETCH(bool, result);

    QString called;
    QString gotWord;
    QString gotResponse;
    auto const handle = [&](QString const& name, bool answer) {
        return [&, name, answer](QString const& w, QString const& r) {
            called = name;
            gotWord = w;
            gotResponse = r;
            return answer;
        };
    };
    CommandHandler handlers;
    handlers.add(QStringLiteral("MEAS:ALL?"), handle(QStringLiteral("measure"), true));
    handlers.add(QStringLiteral("SOUR:VOLT?"), handle(QStringLiteral("voltage"), false));
    handlers.add(QStringLiteral("OUTP?"), {});
    QCOMPARE(handlers.size(), 3);

    QCOMPARE(handlers.run(word, QStringLiteral("12.000,1.000,12.000")), result);
    QCOMPARE(called, handler);
    if (!handler.isEmpty()) {
        QCOMPARE(gotWord, word);
        QCOMPARE(gotResponse, QStringLiteral("12.000,1.000,12.000"));
    }
}

void TestGadget::laterHandlerReplaces()
{
    int first = 0;
    int second = 0;
    CommandHandler handlers;
    handlers.add(QStringLiteral("OUTP?"), [&first](QString const&, QString const&) {
        ++first;
        return true;
    });
    handlers.add(QStringLiteral("OUTP?"), [&second](QString const&, QString const&) {
        ++second;
        return true;
    });
    QCOMPARE(handlers.size(), 1);
    QVERIFY(handlers.run(QStringLiteral("OUTP?"), QStringLiteral("1")));
    QCOMPARE(first, 0);
    QCOMPARE(second, 1);
}

QTEST_GUILESS_MAIN(TestGadget)
#include "tst_gadget.moc"
