// A rack in one host: N instrument windows in the MDI area of the host's main window, each
// polling its own simulated KVR9040-40 that answers in 10 ms, as a real unit does. For each N:
// the samples that each window records a second (slowest and mean), the slowest against a
// window alone, and the GUI thread's longest stall, the largest gap between the ticks of a
// 5 ms timer. At the largest N, the resident growth per window and hour against the heap that
// the rows recorded in that stretch hold, extrapolated from the measured stretch; --minutes
// makes that stretch as long as a rack runs. Runs offscreen.
//
// bench_rack [--minutes M] [seconds per N] [counts...], by default 20 s and 1 8 16 32; with
// --minutes the largest N runs M minutes.

#include "benchclock.h"
#include "host/mainwindow.h"
#include "host/pluginmanager.h"
#include "widget/isimulatorfactory.h"

#include <QAbstractItemModel>
#include <QApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QSettings>
#include <QStandardPaths>
#include <QTableView>
#include <QTimer>

#include <malloc.h>

#include <algorithm>
#include <cstdio>
#include <functional>
#include <memory>
#include <vector>

namespace {

QString const kModel = QStringLiteral("KVR9040-40");
constexpr int kLatencyMs = 10;
constexpr int kTickMs = 5;

// Runs the event loop for ms, or until done() holds when one is given.
bool runFor(int ms, std::function<bool()> const& done = {})
{
    QEventLoop loop;
    QTimer poll;
    if (done) {
        QObject::connect(&poll, &QTimer::timeout, &loop, [&] {
            if (done())
                loop.quit();
        });
        poll.start(20);
    }
    QTimer::singleShot(ms, &loop, &QEventLoop::quit);
    loop.exec();
    return !done || done();
}

struct Figures
{
    int windows = 0;
    double slowest = 0;
    double mean = 0;
    double stallMs = 0;
    double seconds = 0;
    long rssGrowth = 0;
    long heapGrowth = 0;
    qint64 rows = 0;
};

// The recorded rows of each window: the history table's model.
QList<int> recordedRows(zelt::host::MainWindow const& host)
{
    QList<int> rows;
    for (QMdiSubWindow* sub : host.mdiArea()->subWindowList()) {
        auto* table = sub->widget() ? sub->widget()->findChild<QTableView*>(QStringLiteral("tv1")) : nullptr;
        rows.append(table && table->model() ? table->model()->rowCount() : -1);
    }
    return rows;
}

bool measure(zelt::host::PluginManager* plugins, int windows, int seconds, Figures& out)
{
    QSettings().clear();
    std::vector<std::unique_ptr<zelt::widget::SimulatedInstrument>> units;
    auto host = std::make_unique<zelt::host::MainWindow>(plugins);
    host->resize(1920, 1080);
    host->show();
    bool ok = true;
    for (int i = 0; i < windows && ok; ++i) {
        units.emplace_back(plugins->findSimulator()->create());
        QString error;
        ok = units.back()->start(kModel, kLatencyMs)
            && host->openResource(kModel, units.back()->resourceString(),
                                  QStringLiteral("Unit %1").arg(i + 1), &error);
        if (!ok)
            std::fprintf(stderr, "window %d: %s%s\n", i + 1, qPrintable(units.back()->errorString()),
                         qPrintable(error));
    }
    // Left as the host opens them, overlapping, as a user who has not arranged them sees them.
    // Every window records before the clock starts, and a little more for the first repaints.
    ok = ok && runFor(60000, [&] {
             QList<int> const rows = recordedRows(*host);
             return rows.size() == windows
                 && std::all_of(rows.begin(), rows.end(), [](int n) { return n >= 3; });
         });
    if (!ok) {
        std::fprintf(stderr, "windows=%d: not every window recorded\n", windows);
    } else {
        runFor(1000);
        bench::StallWatch stalls(kTickMs);
        long const rssBefore = bench::trimmedResidentBytes();
        size_t const heapBefore = mallinfo2().uordblks;
        QList<int> const before = recordedRows(*host);
        QElapsedTimer clock;
        clock.start();
        stalls.start();
        runFor(seconds * 1000);
        stalls.stop();
        QList<int> const after = recordedRows(*host);
        out.seconds = double(clock.nsecsElapsed()) / 1e9;
        out.rssGrowth = bench::trimmedResidentBytes() - rssBefore;
        out.heapGrowth = long(mallinfo2().uordblks) - long(heapBefore);

        out.windows = windows;
        out.stallMs = stalls.longestMs();
        double sum = 0;
        out.slowest = -1;
        out.rows = 0;
        for (int i = 0; i < windows; ++i) {
            double const rate = double(after.at(i) - before.at(i)) / out.seconds;
            out.rows += after.at(i) - before.at(i);
            sum += rate;
            out.slowest = out.slowest < 0 ? rate : std::min(out.slowest, rate);
        }
        out.mean = sum / windows;
    }

    host->close();
    runFor(zelt::host::MainWindow::kCloseBoundMs + 1000, [&] { return host->isHidden(); });
    host.reset();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    units.clear();
    return ok;
}

} // namespace

int main(int argc, char** argv)
{
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    QStandardPaths::setTestModeEnabled(true);
    QCoreApplication::setOrganizationName(QStringLiteral("zelt-bench"));
    QCoreApplication::setApplicationName(QStringLiteral("bench_rack"));

    QStringList args = QCoreApplication::arguments().mid(1);
    int minutes = 0;
    if (args.size() >= 2 && args.first() == QLatin1String("--minutes")) {
        args.removeFirst();
        minutes = args.takeFirst().toInt();
        if (minutes <= 0) {
            std::fprintf(stderr, "usage: bench_rack [--minutes M] [seconds] [window counts, 1 among them]\n");
            return 2;
        }
    }
    int const seconds = args.isEmpty() ? 20 : args.takeFirst().toInt();
    QList<int> counts;
    for (QString const& arg : args)
        counts.append(arg.toInt());
    if (counts.isEmpty())
        counts = {1, 8, 16, 32};
    if (seconds <= 0 || counts.contains(0) || !counts.contains(1)) {
        std::fprintf(stderr, "usage: bench_rack [--minutes M] [seconds] [window counts, 1 among them]\n");
        return 2;
    }

    zelt::host::PluginManager plugins;
    if (plugins.loadFolder(QStringLiteral(ZELT_KVR9000_PLUGIN_DIR)) == 0 || !plugins.findModel(kModel)
        || !plugins.findSimulator()) {
        std::fprintf(stderr, "no plug-in for %s\n", qPrintable(kModel));
        return 1;
    }

    double alone = 0;
    Figures last;
    int const largest = *std::max_element(counts.begin(), counts.end());
    for (int windows : counts) {
        Figures figures;
        int const stretch = windows == largest && minutes > 0 ? minutes * 60 : seconds;
        if (!measure(&plugins, windows, stretch, figures))
            return 1;
        if (windows == 1)
            alone = figures.slowest;
        std::printf("windows=%d seconds=%.1f slowest_per_s=%.2f mean_per_s=%.2f stall_ms=%.1f\n", windows,
                    figures.seconds, figures.slowest, figures.mean, figures.stallMs);
        last = figures;
    }

    // Memory of the largest rack: what the measured stretch grew, per window and hour, beside
    // what the rows recorded in that stretch hold on the heap. Each row is one polled sample,
    // which the driver's history and the record share; a resident growth well above the heap's
    // is memory that no history holds.
    double const hours = last.seconds / 3600.0;
    double const rssPerWindowHour = double(last.rssGrowth) / last.windows / hours;
    double const heapPerWindowHour = double(last.heapGrowth) / last.windows / hours;
    double const rowsPerWindowHour = double(last.rows) / last.windows / hours;
    std::printf("memory: windows=%d extrapolated from %.0f s: rss_growth_per_window_hour_mb=%.2f "
                "heap_growth_per_window_hour_mb=%.2f rows_per_window_hour=%.0f heap_per_row_bytes=%.0f\n",
                last.windows, last.seconds, rssPerWindowHour / 1048576.0, heapPerWindowHour / 1048576.0,
                rowsPerWindowHour, last.rows > 0 ? double(last.heapGrowth) / double(last.rows) : 0.0);

    std::printf("windows=%d alone_per_s=%.2f slowest_per_s=%.2f ratio=%.2f stall_ms=%.1f\n", last.windows,
                alone, last.slowest, alone > 0 ? last.slowest / alone : 0.0, last.stallMs);
    return 0;
}
