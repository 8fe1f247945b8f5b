// The window when the instrument stops answering, with the word time cut short.

#include "tests/window/windowharness.h"

class TestKvr9000WindowFailure : public QObject, WindowFixture
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        isolateSettings(QStringLiteral("tst_kvr9000windowfailure"));
        QVERIFY2(startSimulator(QStringLiteral("KVR9080-20")), qPrintable(m_server.errorString()));
    }
    void cleanup() { QVERIFY(closeWindow()); }
    void nineTimeOutsStopTheRun();
};

void TestKvr9000WindowFailure::nineTimeOutsStopTheRun()
{
    DialogScript boxes;
    m_server.setDropEvery(1); // every query goes unanswered
    QVERIFY(open(QStringLiteral("KVR9080-20")));
    auto* start = child<QAction>("actionStart");
    QSignalSpy errors(driver(), &zelt::measure::MeasureInst::processError);
    QSignalSpy stopped(driver(), &zelt::measure::MeasureInst::stoped);
    int const wordTime = 200;
    driver()->setWordTimeLimit(wordTime);
    QVERIFY(waitUntil([&] { return start->isChecked(); }));

    // The ninth error ends the run: every barrier that goes unanswered after the first
    // time-out counts as one, so nine word times pass, however loaded the machine.
    QVERIFY(waitUntil([&] { return !boxes.shown.isEmpty(); }, 40 * wordTime));
    QCOMPARE(errors.count(), 9);
    QCOMPARE(boxes.shown,
             QStringList {"Critical [] The communication is failed and the application is stoped."});
    QVERIFY(waitUntil([&] { return stopped.count() == 1; }));
    QVERIFY(!driver()->active());
    QVERIFY(start->isEnabled() && start->isCheckable() && !start->isChecked());
    QVERIFY(!child<QAction>("actionProgrammer")->isEnabled());
    QVERIFY(!child<QGroupBox>("widgetOption")->isEnabled());

    // A new start counts from 0: one more time-out shows no box.
    errors.clear();
    start->trigger();
    QVERIFY(waitUntil([&] { return start->isChecked(); }));
    QVERIFY(errors.wait(5 * wordTime));
    QCOMPARE(boxes.shown.size(), 1);
    QVERIFY(driver()->active());
    m_server.setDropEvery(0);
}

QTEST_MAIN(TestKvr9000WindowFailure)
#include "tst_kvr9000windowfailure.moc"
