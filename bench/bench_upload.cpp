// A 128-row list and a 128-row delayer uploaded to the simulator the way a user does it: the
// programmer's Upload button, the window's turn-taking, the driver's queue. Rows per second,
// lines on the wire per row, and the share of the upload's wall time in which a word awaited
// the instrument's answer, at 0 ms and at 2 ms answer latency. The simulator runs on a thread
// of its own, as an instrument on the bench is a device of its own: whatever the host draws
// while a query is out costs the instrument nothing.

#include "driver/mydmm.h"
#include "plugin/kvr9000.h"
#include "programmer/dialogprogrammer.h"
#include "simulator/simserver.h"
#include "tests/common/eventwait.h"
#include "window/kvr9000window.h"

#include "widget/equipmentinfo.h"

#include <QAction>
#include <QApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QMutex>
#include <QProgressBar>
#include <QPushButton>
#include <QStandardPaths>
#include <QTabWidget>
#include <QTableView>
#include <QThread>
#include <QTimer>

#include <cstdio>
#include <mutex>

namespace {

QString const kModel = QStringLiteral("KVR9040-40");
constexpr int kRows = 128;

struct Figures
{
    double rowsPerSecond = 0;
    double linesPerRow = 0;
    double sequenceLinesPerRow = 0;
    double busyShare = 0;
};

// What the instrument sees of an upload, counted on its own thread as the lines come. A query
// keeps the client waiting until the simulator has actually sent its answer (its latency timer
// may fire late, and that wait is still the instrument's); from then, and after a line that
// awaits nothing, the time until the next line is the client's own.
class Meter
{
public:
    // Before the server goes, the meter must not: its thread may count a line at any time.
    void watch(kvrsim::SimServer* server)
    {
        QObject::connect(server, &kvrsim::SimServer::lineReceived, server, [this](QString const& line) {
            std::lock_guard<QMutex> lock(m_mutex);
            if (!m_counting)
                return;
            qint64 const now = m_clock.nsecsElapsed();
            if (!m_awaiting)
                m_idle += now - m_freeSince;
            m_awaiting = line.contains(QLatin1Char('?'));
            m_freeSince = now;
            ++m_lines;
            if (line.startsWith(m_prefix))
                ++m_sequenceLines;
        });
        QObject::connect(server, &kvrsim::SimServer::answerSent, server, [this] {
            std::lock_guard<QMutex> lock(m_mutex);
            m_awaiting = false;
            m_freeSince = m_clock.nsecsElapsed();
        });
    }

    void begin(QString const& prefix)
    {
        std::lock_guard<QMutex> lock(m_mutex);
        m_prefix = prefix;
        m_lines = m_sequenceLines = 0;
        m_idle = m_freeSince = 0;
        m_awaiting = false;
        m_counting = true;
        m_clock.start();
    }

    void end(Figures& out)
    {
        std::lock_guard<QMutex> lock(m_mutex);
        m_counting = false;
        qint64 const total = m_clock.nsecsElapsed();
        if (!m_awaiting)
            m_idle += total - m_freeSince;
        out.rowsPerSecond = kRows / (double(total) / 1e9);
        out.linesPerRow = double(m_lines) / kRows;
        out.sequenceLinesPerRow = double(m_sequenceLines) / kRows;
        out.busyShare = 1.0 - double(std::min(m_idle, total)) / double(total);
    }

private:
    QMutex m_mutex;
    QElapsedTimer m_clock;
    QString m_prefix;
    bool m_counting = false;
    bool m_awaiting = false;
    qint64 m_idle = 0;
    qint64 m_freeSince = 0; // when the client last became free to send
    int m_lines = 0;
    int m_sequenceLines = 0;
};

// The simulator with its own event loop; it is made, started and removed on that thread.
class InstrumentThread
{
public:
    ~InstrumentThread()
    {
        if (m_server)
            QMetaObject::invokeMethod(
                m_server, [this] { delete m_server; }, Qt::BlockingQueuedConnection);
        m_thread.quit();
        m_thread.wait();
    }

    // The server, null when it could not listen; resource is the address to open.
    kvrsim::SimServer* start(kvrsim::SimOptions const& options, QString& resource)
    {
        m_thread.start();
        auto* server = new kvrsim::SimServer;
        server->moveToThread(&m_thread);
        m_server = server;
        bool started = false;
        QMetaObject::invokeMethod(
            server,
            [&] {
                started = server->start(options);
                resource = server->resourceString();
                if (!started)
                    std::fprintf(stderr, "simulator: %s\n", qPrintable(server->errorString()));
            },
            Qt::BlockingQueuedConnection);
        return started ? server : nullptr;
    }

private:
    QThread m_thread;
    kvrsim::SimServer* m_server = nullptr;
};

// One upload from the dialog's button until the dialog is usable again.
bool upload(Meter& meter, DialogProgrammer* dialog, bool delayer, Figures& out)
{
    // The user watches the tab that uploads: its table follows the row in transit.
    dialog->findChild<QTabWidget*>(QStringLiteral("tabWidget"))->setCurrentIndex(delayer ? 1 : 0);
    // The switch is drawn before the user clicks, not inside the upload.
    QCoreApplication::processEvents();
    auto* bar = dialog->findChild<QProgressBar*>();
    auto* button = dialog->findChild<QPushButton*>(delayer ? "btnDelayerUpload" : "btnListUpload");
    // Waits on the dialog's own end of the run: a polling loop would take the processor from
    // the very exchange it measures.
    QEventLoop loop;
    QObject::connect(dialog, &DialogProgrammer::uploaderStoped, &loop, &QEventLoop::quit,
                     Qt::QueuedConnection);
    QTimer::singleShot(120000, &loop, &QEventLoop::quit);
    meter.begin(delayer ? QStringLiteral(":DELAY") : QStringLiteral(":LIST"));
    button->click();
    loop.exec();
    meter.end(out);
    return dialog->isEnabled() && !bar->isVisible() && bar->value() == kRows;
}

bool measure(int latencyMs, Figures& list, Figures& delayer)
{
    kvrsim::SimOptions options;
    options.model = kModel;
    options.noise = 0.0;
    options.latencyMs = latencyMs;
    Meter meter;
    InstrumentThread instrument;
    QString resource;
    kvrsim::SimServer* server = instrument.start(options, resource);
    if (!server)
        return false;
    meter.watch(server);
    KVR9000 plugin;
    auto const info
        = zelt::widget::EquipmentInfo::makeVisa(kModel, QStringLiteral("KVR9000"), kModel, resource);
    QPointer<KVR9000Window> window = qobject_cast<KVR9000Window*>(plugin.window(info));
    if (!window)
        return false;
    window->show();
    // The first pass learns the power mode and rebuilds the ring, which drops whatever is
    // queued then: the uploads begin once a sample has been published.
    int samples = 0;
    QObject::connect(window->findChild<MyDMM*>(), &MyDMM::updateData, window, [&samples] { ++samples; });
    auto* programmer = window->findChild<QAction*>(QStringLiteral("actionProgrammer"));
    if (!waitUntil([&] { return programmer->isEnabled() && samples > 0; }, 10000))
        return false;
    programmer->trigger();
    auto* dialog = window->findChild<DialogProgrammer*>();
    auto* listView = dialog->findChild<QTableView*>(QStringLiteral("tvList"));
    auto* delayerView = dialog->findChild<QTableView*>(QStringLiteral("tvDelayer"));
    listView->model()->insertRows(0, kRows);
    delayerView->model()->insertRows(0, kRows);

    bool const ok = upload(meter, dialog, false, list) && upload(meter, dialog, true, delayer);
    window->close();
    waitUntil([&] { return window.isNull(); }, 10000);
    return ok;
}

void print(char const* what, int latencyMs, Figures const& f)
{
    std::printf("%-8s latency %d ms: %.1f rows/s, %.2f lines on the wire per row (%.2f of the sequence), "
                "busy %.3f\n",
                what, latencyMs, f.rowsPerSecond, f.linesPerRow, f.sequenceLinesPerRow, f.busyShare);
}

} // namespace

int main(int argc, char** argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    QStandardPaths::setTestModeEnabled(true); // the window and dialog keep their settings apart
    QCoreApplication::setOrganizationName(QStringLiteral("zelt-bench"));
    QCoreApplication::setApplicationName(QStringLiteral("bench_upload"));

    Figures list[2];
    Figures delayer[2];
    int const latencies[2] = {0, 2};
    for (int i = 0; i < 2; ++i) {
        if (!measure(latencies[i], list[i], delayer[i])) {
            std::fprintf(stderr, "upload at %d ms did not complete\n", latencies[i]);
            return 1;
        }
        print("list", latencies[i], list[i]);
        print("delayer", latencies[i], delayer[i]);
    }
    // The headline is at 2 ms, the pace of an instrument on a LAN.
    std::printf("list_rows_per_s=%.1f delayer_rows_per_s=%.1f lines_per_row=%.2f busy_share=%.3f\n",
                list[1].rowsPerSecond, delayer[1].rowsPerSecond,
                (list[1].linesPerRow + delayer[1].linesPerRow) / 2.0,
                std::min(list[1].busyShare, delayer[1].busyShare));
    return 0;
}
