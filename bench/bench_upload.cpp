// A 128-row list and a 128-row delayer uploaded to the in-process simulator the way a user
// does it: the programmer's Upload button, the window's turn-taking, the driver's queue. Rows
// per second, lines on the wire per row, and the share of the upload's wall time in which a
// word awaited the instrument's answer, at 0 ms and at 2 ms answer latency.

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
#include <QProgressBar>
#include <QPushButton>
#include <QStandardPaths>
#include <QTabWidget>
#include <QTableView>
#include <QTimer>

#include <cstdio>

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

// One upload from the dialog's button until the dialog is usable again. A query keeps the
// client waiting until the simulator has actually sent its answer (its latency timer may fire
// late, and that wait is still the instrument's); from then, and after a line that awaits
// nothing, the time until the next line is the client's own.
bool upload(kvrsim::SimServer& server, DialogProgrammer* dialog, bool delayer, Figures& out)
{
    int lines = 0;
    int sequenceLines = 0;
    QString const prefix = delayer ? QStringLiteral(":DELAY") : QStringLiteral(":LIST");
    QElapsedTimer clock;
    qint64 idle = 0;
    qint64 freeSince = 0; // when the client last became free to send
    bool awaiting = false;
    auto const watch = QObject::connect(&server, &kvrsim::SimServer::lineReceived, [&](QString const& line) {
        qint64 const now = clock.nsecsElapsed();
        if (!awaiting)
            idle += now - freeSince;
        awaiting = line.contains(QLatin1Char('?'));
        freeSince = now;
        ++lines;
        if (line.startsWith(prefix))
            ++sequenceLines;
    });
    auto const answered = QObject::connect(&server, &kvrsim::SimServer::answerSent, [&] {
        awaiting = false;
        freeSince = clock.nsecsElapsed();
    });
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
    clock.start();
    button->click();
    loop.exec();
    bool const done = dialog->isEnabled() && !bar->isVisible();
    qint64 const total = clock.nsecsElapsed();
    QObject::disconnect(watch);
    QObject::disconnect(answered);
    if (!done || bar->value() != kRows)
        return false;
    if (!awaiting)
        idle += total - freeSince;
    out.rowsPerSecond = kRows / (double(total) / 1e9);
    out.linesPerRow = double(lines) / kRows;
    out.sequenceLinesPerRow = double(sequenceLines) / kRows;
    out.busyShare = 1.0 - double(std::min(idle, total)) / double(total);
    return true;
}

bool measure(int latencyMs, Figures& list, Figures& delayer)
{
    kvrsim::SimServer server;
    kvrsim::SimOptions options;
    options.model = kModel;
    options.noise = 0.0;
    options.latencyMs = latencyMs;
    if (!server.start(options)) {
        std::fprintf(stderr, "simulator: %s\n", qPrintable(server.errorString()));
        return false;
    }
    KVR9000 plugin;
    auto const info = zelt::widget::EquipmentInfo::makeVisa(kModel, QStringLiteral("KVR9000"), kModel,
                                                            server.resourceString());
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

    bool const ok = upload(server, dialog, false, list) && upload(server, dialog, true, delayer);
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
