// The host's main window when it quits: every instrument window closes through its own
// close first, and one that never finishes closing holds the quit back only so long.

#include "host/mainwindow.h"
#include "host/pluginmanager.h"

#include <QtTest>
#include <QtWidgets>

namespace {

// Closes as an instrument window does while its driver runs: the first close is refused,
// and the window closes itself once the driver has stopped, stopMs later (never for -1).
// A stopMs of 0 accepts the first close.
class StoppingWindow : public QMdiSubWindow
{
public:
    StoppingWindow(int stopMs, QStringList* closed, QString const& name)
        : m_stopMs(stopMs)
        , m_closed(closed)
    {
        setObjectName(name);
        setAttribute(Qt::WA_DeleteOnClose);
    }

protected:
    void closeEvent(QCloseEvent* event) override
    {
        if (m_stopMs != 0 && !m_stopped) {
            event->ignore();
            if (m_stopMs > 0 && !std::exchange(m_stopping, true)) {
                QTimer::singleShot(m_stopMs, this, [this] {
                    m_stopped = true;
                    close();
                });
            }
            return;
        }
        m_closed->append(objectName());
        QMdiSubWindow::closeEvent(event);
    }

private:
    int m_stopMs;
    QStringList* m_closed;
    bool m_stopping = false;
    bool m_stopped = false;
};

} // namespace

class TestMainWindow : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QApplication::setQuitOnLastWindowClosed(false); }
    void quitClosesInstruments_data()
    {
        QTest::addColumn<int>("stopMs"); // of the second window; the first closes at once
        QTest::addColumn<QStringList>("closed"); // windows that went through their own close
        QTest::addColumn<int>("waitedMs"); // at least, before the main window went
        QTest::newRow("both close at once") << 0 << QStringList {"first", "second"} << 0;
        QTest::newRow("second stops its driver first") << 300 << QStringList {"first", "second"} << 300;
        QTest::newRow("second never stops")
            << -1 << QStringList {"first"} << zelt::host::MainWindow::kCloseBoundMs;
    }

    void quitClosesInstruments()
    {
        QFETCH(int, stopMs);
        QFETCH(QStringList, closed);
        QFETCH(int, waitedMs);
        zelt::host::PluginManager plugins;
        zelt::host::MainWindow window(&plugins);
        QStringList closedNow;
        window.mdiArea()->addSubWindow(new StoppingWindow(0, &closedNow, QStringLiteral("first")))->show();
        window.mdiArea()
            ->addSubWindow(new StoppingWindow(stopMs, &closedNow, QStringLiteral("second")))
            ->show();
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));

        // The Quit action, as a user chooses it from the menu.
        auto const actions = window.findChildren<QAction*>();
        auto const quit = std::find_if(actions.begin(), actions.end(), [](QAction* action) {
            return action->text() == QLatin1String("&Quit");
        });
        QVERIFY(quit != actions.end());
        QElapsedTimer elapsed;
        elapsed.start();
        (*quit)->trigger();
        int const bound = zelt::host::MainWindow::kCloseBoundMs;
        QTRY_VERIFY_WITH_TIMEOUT(window.isHidden(), bound + 10000);
        // Coarse timers may fire 5 % early; windows that close by themselves never wait out the bound.
        QVERIFY2(elapsed.elapsed() >= waitedMs * 19 / 20, qPrintable(QString::number(elapsed.elapsed())));
        QVERIFY2(waitedMs == bound || elapsed.elapsed() < bound,
                 qPrintable(QString::number(elapsed.elapsed())));
        QCOMPARE(closedNow, closed);
    }
};

QTEST_MAIN(TestMainWindow)
#include "tst_mainwindow.moc"
