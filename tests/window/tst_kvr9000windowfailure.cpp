// The window when the instrument stops answering: nine time-outs of the driver's queries
// stop the run and tell the user, and a new start counts afresh. The time-outs are the
// driver's real ones of 5 s, so this suite runs for about a minute.

#include "windowharness.h"

#include <QAction>
#include <QGroupBox>
#include <QSignalSpy>
#include <QTest>

class TestKvr9000WindowFailure : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanup();
    void nineTimeOutsStopTheRun();

private:
    KVR9000 m_plugin;
    kvrsim::SimServer m_server;
    QPointer<KVR9000Window> m_window;
};

void TestKvr9000WindowFailure::initTestCase()
{
    isolateSettings(QStringLiteral("tst_kvr9000windowfailure"));
    QVERIFY2(startSimulator(m_server, QStringLiteral("KVR9080-20")), qPrintable(m_server.errorString()));
}

void TestKvr9000WindowFailure::cleanup()
{
    if (m_window) {
        m_window->close();
        QTRY_VERIFY_WITH_TIMEOUT(m_window.isNull(), 10000);
    }
}

void TestKvr9000WindowFailure::nineTimeOutsStopTheRun()
{
    MessageBoxWatcher boxes;
    // Every query goes unanswered.
    m_server.setDropEvery(1);
    m_window = openWindow(m_plugin, m_server, QStringLiteral("KVR9080-20"));
    QVERIFY(m_window);
    auto* dmm = m_window->findChild<MyDMM*>();
    auto* start = m_window->findChild<QAction*>("actionStart");
    auto* programmer = m_window->findChild<QAction*>("actionProgrammer");
    QSignalSpy errors(dmm, &zelt::measure::MeasureInst::processError);
    QSignalSpy stopped(dmm, &zelt::measure::MeasureInst::stoped);
    QTRY_VERIFY(start->isChecked());

    QTRY_VERIFY_WITH_TIMEOUT(!boxes.texts.isEmpty(), 60000);
    QCOMPARE(errors.count(), 9);
    QCOMPARE(boxes.texts,
             QStringList {QStringLiteral("The communication is failed and the application is stoped.")});
    QCOMPARE(boxes.titles, QStringList {QString()});
    QCOMPARE(boxes.icons, QList<QMessageBox::Icon> {QMessageBox::Critical});
    QTRY_COMPARE(stopped.count(), 1);
    QVERIFY(!dmm->active());
    QVERIFY(start->isEnabled());
    QVERIFY(start->isCheckable());
    QVERIFY(!start->isChecked());
    QVERIFY(!programmer->isEnabled());
    QVERIFY(!m_window->findChild<QGroupBox*>("widgetOption")->isEnabled());

    // A new start counts from 0: one more time-out shows no box.
    errors.clear();
    start->trigger();
    QTRY_VERIFY(start->isChecked());
    QVERIFY(errors.wait(10000));
    QCOMPARE(boxes.texts.size(), 1);
    QVERIFY(dmm->active());
    m_server.setDropEvery(0);
}

QTEST_MAIN(TestKvr9000WindowFailure)
#include "tst_kvr9000windowfailure.moc"
