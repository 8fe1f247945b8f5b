#include "util/commandhandler.h"
#include "util/statemonitor.h"

#include <QTest>

using zelt::util::gadget::CommandHandler;
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

    void dispatch_data()
    {
        QTest::addColumn<QString>("word");
        QTest::addColumn<bool>("result");
        QTest::addColumn<QString>("called"); // what the handler was given
        QTest::newRow("handler says true") << "MEAS:ALL?" << true << "MEAS:ALL?|12.0";
        QTest::newRow("handler says false") << "SOUR:VOLT?" << false << "SOUR:VOLT?|12.0";
        QTest::newRow("unknown key") << "SOUR:CURR?" << false << "";
        QTest::newRow("case matters") << "meas:all?" << false << "";
    }

    void dispatch()
    {
        QFETCH(QString, word);
        QFETCH(bool, result);
        QFETCH(QString, called);
        QString log;
        auto const handler = [&log](bool answer) {
            return [&log, answer](QString const& w, QString const& r) {
                log = w + '|' + r;
                return answer;
            };
        };
        CommandHandler handlers;
        handlers.add(QStringLiteral("MEAS:ALL?"), handler(true));
        handlers.add(QStringLiteral("SOUR:VOLT?"), handler(false));
        QCOMPARE(handlers.run(word, QStringLiteral("12.0")), result);
        QCOMPARE(log, called);
    }
};

QTEST_GUILESS_MAIN(TestGadget)
#include "tst_gadget.moc"
