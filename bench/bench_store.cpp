// The session store: rows per second into SQLite and into a local PostgreSQL server; the GUI
// thread's cost of one logged row beside one recorded sample of the instrument window; the
// resident memory after a million rows against after ten thousand; and the time to open a
// million-row session in the browser's viewer and draw it. Runs offscreen.

#include "benchclock.h"
#include "driver/mydmm.h"
#include "plugin/kvr9000.h"
#include "window/kvr9000window.h"

#include "driver/dmmhelper.h"
#include "host/sessions/sessionchart.h"
#include "host/sessions/sessionviewer.h"
#include "simulator/kvrinstrument.h"
#include "simulator/simserver.h"
#include "store/sessionreader.h"
#include "store/sessionstore.h"
#include "tests/common/eventwait.h"
#include "tests/common/pgserver.h"
#include "widget/equipmentinfo.h"

#include <QAction>
#include <QApplication>
#include <QElapsedTimer>
#include <QSettings>
#include <QStandardPaths>
#include <QTableView>
#include <QTemporaryDir>

#include "plot/customplot.h"

#include <algorithm>
#include <cstdio>

using zelt::store::SessionReader;
using zelt::store::SessionStore;
using zelt::store::StoreTarget;

namespace {

double residentMb()
{
    return double(bench::trimmedResidentBytes()) / (1024.0 * 1024.0);
}

QStringList const kColumns {"No.", "Time", "Mode", "Voltage", "Current", "Power", "Vp", "Ip", "Pp"};

// A row as the single-channel table shows it.
QStringList rowOf(qint64 i)
{
    double const wave = double(i % 97) * 0.001;
    return {QString::number(i + 1),
            QStringLiteral("2026-11-24 10:%1:%2")
                .arg(i / 60 % 60, 2, 10, QLatin1Char('0'))
                .arg(i % 60, 2, 10, QLatin1Char('0')),
            QStringLiteral("CV"),
            QString::number(30.0 + wave, 'f', 4),
            QString::number(15.0 + wave, 'f', 4),
            QString::number(450.0 + wave * 30, 'f', 4),
            QStringLiteral("--"),
            QStringLiteral("--"),
            QStringLiteral("--")};
}

// Rows into a store in chunks that the bounded queue holds, each flushed; rows per second.
double fill(SessionStore& store, quint64 session, qint64 from, qint64 to, qint64 baseMs)
{
    constexpr qint64 kChunk = 10000;
    QElapsedTimer clock;
    clock.start();
    for (qint64 i = from; i < to; i += kChunk) {
        for (qint64 r = i; r < std::min(to, i + kChunk); ++r)
            store.appendRow(session, baseMs + r * 10, rowOf(r));
        if (!store.flush(120000))
            return 0;
    }
    return double(to - from) * 1000.0 / double(std::max<qint64>(1, clock.elapsed()));
}

} // namespace

int main(int argc, char** argv)
{
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    QStandardPaths::setTestModeEnabled(true);
    QCoreApplication::setOrganizationName(QStringLiteral("zelt-bench"));
    QCoreApplication::setApplicationName(QStringLiteral("bench_store"));
    QSettings().clear();
    QTemporaryDir dir;
    qint64 const baseMs = QDateTime::currentMSecsSinceEpoch() - qint64(24) * 3600 * 1000;

    // SQLite: rows per second, and the memory of a growing session.
    StoreTarget const file {
        StoreTarget::Kind::Sqlite, dir.filePath(QStringLiteral("sessions.sqlite")), {}, {}, 5432, {}, {}};
    double sqliteRate = 0;
    double rss10k = 0;
    double rss1m = 0;
    constexpr qint64 kMillion = 1000000;
    {
        SessionStore store(file);
        quint64 const session = store.beginSession({"Bench", "KVR9040-40", "sim"}, kColumns);
        fill(store, session, 0, 10000, baseMs);
        rss10k = residentMb();
        sqliteRate = fill(store, session, 10000, kMillion, baseMs);
        rss1m = residentMb();
        store.endSession(session);
        store.flush(10000);
    }
    std::printf("sqlite_rows_per_s=%.0f rss_after_10k_mb=%.1f rss_after_1m_mb=%.1f\n", sqliteRate, rss10k,
                rss1m);

    // Opening the million-row session in the viewer and drawing it.
    double openSeconds = 0;
    {
        SessionReader reader(file);
        reader.open();
        auto const sessions = reader.sessions();
        QElapsedTimer clock;
        clock.start();
        zelt::host::SessionViewer viewer(file, sessions.first());
        QString error;
        if (!viewer.load(&error)) {
            std::fprintf(stderr, "viewer: %s\n", qPrintable(error));
            return 1;
        }
        viewer.resize(1280, 800);
        viewer.show();
        viewer.chart()->plot()->replot(QCustomPlot::rpImmediateRefresh);
        QCoreApplication::processEvents();
        openSeconds = double(clock.nsecsElapsed()) / 1e9;
        std::printf("open_1m_s=%.3f points_drawn=%d\n", openSeconds,
                    viewer.chart()->plot()->graph(0)->dataCount());
    }

    // PostgreSQL: a server of the benchmark's own.
    double pgRate = 0;
    {
        PgServer server;
        if (server.start() && server.createDatabase(QStringLiteral("bench"))) {
            StoreTarget lab;
            StoreTarget::parse(server.url(QStringLiteral("postgres"), QStringLiteral("bench")), &lab);
            lab.path = dir.filePath(QStringLiteral("spool.sqlite"));
            SessionStore store(lab);
            quint64 const session = store.beginSession({"Bench", "KVR9040-40", "sim"}, kColumns);
            pgRate = fill(store, session, 0, 100000, baseMs);
            store.endSession(session);
            store.flush(20000);
        } else {
            std::printf("postgresql: %s\n", qPrintable(server.why()));
        }
    }
    std::printf("pg_rows_per_s=%.0f\n", pgRate);

    // The GUI thread: a recorded sample of the real window against what the recorder adds to
    // it for one row (the row's cells read from the window's table, then queued).
    QString const model = QStringLiteral("KVR9040-40");
    kvrsim::SimServer sim;
    kvrsim::SimOptions options;
    options.model = model;
    options.latencyMs = 0;
    if (!sim.start(options))
        return 1;
    sim.instrument().setOutput(true);
    KVR9000 plugin;
    auto* window = qobject_cast<KVR9000Window*>(plugin.window(zelt::widget::EquipmentInfo::makeVisa(
        model, QStringLiteral("KVR9000"), model, sim.resourceString())));
    if (!window)
        return 1;
    window->resize(1280, 800);
    window->show();
    MyDMM* driver = window->findChild<MyDMM*>();
    auto* table = window->findChild<QTableView*>(QStringLiteral("tv1"));
    if (!waitUntil([&] { return table->model()->rowCount() >= 100; }, 30000))
        return 1;
    window->findChild<QAction*>(QStringLiteral("actionStart"))->trigger();
    if (!waitUntil([&] { return !driver->active(); }))
        return 1;
    auto const pattern = driver->lastMeasureData();
    auto publish = [&] {
        auto sample = QSharedPointer<DmmData>::create(*pattern);
        sample->setDateTime(QDateTime::currentDateTime());
        Q_EMIT driver->updateData(sample);
    };
    constexpr int kSamples = 500;
    double sampleUs = 0;
    for (int block = 0; block < 5; ++block) {
        qint64 const start = bench::threadCpuNanoseconds();
        for (int i = 0; i < kSamples; ++i) {
            publish();
            if (i % 10 == 0)
                QCoreApplication::processEvents();
        }
        double const us = double(bench::threadCpuNanoseconds() - start) / kSamples / 1000.0;
        sampleUs = block == 0 ? us : std::min(sampleUs, us);
    }
    double rowUs = 0;
    {
        StoreTarget const costFile {
            StoreTarget::Kind::Sqlite, dir.filePath(QStringLiteral("cost.sqlite")), {}, {}, 5432, {}, {}};
        SessionStore store(costFile);
        QAbstractItemModel* record = table->model();
        quint64 const session = store.beginSession({"Bench", model, "sim"}, kColumns);
        int const columns = record->columnCount();
        int const last = record->rowCount() - 1;
        for (int block = 0; block < 5; ++block) {
            qint64 const start = bench::threadCpuNanoseconds();
            for (int i = 0; i < kSamples; ++i) {
                QStringList cells;
                cells.reserve(columns);
                for (int c = 0; c < columns; ++c)
                    cells << record->data(record->index(last, c), Qt::DisplayRole).toString();
                store.appendRow(session, QDateTime::currentMSecsSinceEpoch(), cells);
            }
            double const us = double(bench::threadCpuNanoseconds() - start) / kSamples / 1000.0;
            rowUs = block == 0 ? us : std::min(rowUs, us);
            store.flush(10000);
        }
    }
    std::printf("recorded_sample_us=%.1f logged_row_us=%.2f\n", sampleUs, rowUs);
    delete window;

    std::printf(
        "sqlite_rows_per_s=%.0f pg_rows_per_s=%.0f gui_cost_share=%.4f rss_growth_mb=%.1f open_1m_s=%.3f\n",
        sqliteRate, pgRate, rowUs / std::max(sampleUs, 1e-9), rss1m - rss10k, openSeconds);
    return 0;
}
