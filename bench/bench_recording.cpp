// The cost of one recorded sample in the instrument window: the whole fan-out of a published
// sample (panel, table row, three chart points, scroll and chart refresh, then the repaint),
// with 100, 10 000 and 100 000 rows already recorded; the export of 100 000 rows to CSV; and
// the resident memory that one more recorded sample costs. Runs offscreen.

#include "benchclock.h"
#include "driver/mydmm.h"
#include "plugin/kvr9000.h"
#include "window/kvr9000window.h"

#include "driver/dmmhelper.h"
#include "recording/datamodel.h"
#include "simulator/kvrinstrument.h"
#include "simulator/simserver.h"
#include "tests/common/eventwait.h"
#include "util/character.h"
#include "widget/equipmentinfo.h"

#include <QAbstractTableModel>
#include <QAction>
#include <QApplication>
#include <QElapsedTimer>
#include <QSettings>
#include <QSplitter>
#include <QStandardPaths>
#include <QTableView>
#include <QTemporaryDir>
#include <QTimer>

#include "plot/customplot.h"

#include <malloc.h>

#include <algorithm>
#include <cstdio>

namespace {

// Samples timed at each record length, in blocks.
constexpr int kBlocks = 5;
constexpr int kBlockSamples = 100;

// Fresh samples in the driver's own shape: the template's settings, new readings with texts of
// their own, and times 10 ms apart.
class SampleMaker
{
public:
    explicit SampleMaker(DmmData const& pattern)
        : m_pattern(pattern)
        , m_time(pattern.dateTime())
    {
    }

    QSharedPointer<DmmData> next()
    {
        auto sample = QSharedPointer<DmmData>::create(m_pattern);
        m_time = m_time.addMSecs(10);
        sample->setDateTime(m_time);
        double const wave = (m_count++ % 97) * 0.001;
        Channel& ch = sample->channels.first();
        ch.voltage.measured = dmmhelper::makeVUVB(QString::number(30.0 + wave, 'f', 4));
        ch.current.measured = dmmhelper::makeAUVB(QString::number(15.0 + wave, 'f', 4));
        ch.power = dmmhelper::makeUVB(QString::number(450.0 + wave * 30, 'f', 4), 0, 3, dmmhelper::kUnitWatt);
        return sample;
    }

private:
    DmmData m_pattern;
    QDateTime m_time;
    int m_count = 0;
};

} // namespace

int main(int argc, char** argv)
{
    // Line by line, so that a long run shows its figures as they come.
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    QStandardPaths::setTestModeEnabled(true);
    QCoreApplication::setOrganizationName(QStringLiteral("zelt-bench"));
    QCoreApplication::setApplicationName(QStringLiteral("bench_recording"));
    QSettings().clear();

    QString const model = QStringLiteral("KVR9040-40");
    kvrsim::SimServer server;
    kvrsim::SimOptions options;
    options.model = model;
    options.latencyMs = 0;
    if (!server.start(options)) {
        std::fprintf(stderr, "simulator: %s\n", qPrintable(server.errorString()));
        return 1;
    }
    server.instrument().setLoad(2.0);
    server.instrument().setVoltage(30.0);
    server.instrument().setCurrent(20.0);
    server.instrument().setOutput(true);

    KVR9000 plugin;
    auto* window = qobject_cast<KVR9000Window*>(plugin.window(zelt::widget::EquipmentInfo::makeVisa(
        model, QStringLiteral("KVR9000"), model, server.resourceString())));
    if (!window)
        return 1;
    window->resize(1280, 800);
    window->show();
    MyDMM* driver = window->findChild<MyDMM*>();
    auto* table = window->findChild<QTableView*>(QStringLiteral("tv1"));
    auto* record = qobject_cast<DataModel*>(table->model());
    auto* splitter = window->findChild<QSplitter*>(QStringLiteral("splitterView"));
    auto* chart = qobject_cast<QCustomPlot*>(splitter->widget(splitter->count() - 1));
    if (!record || !chart || !waitUntil([&] { return record->rowCount() >= 2; }))
        return 1;

    // The driver stops polling: from here on the samples are the benchmark's own, published
    // through the driver's signal as the driver publishes its own.
    window->findChild<QAction*>(QStringLiteral("actionStart"))->trigger();
    if (!waitUntil([&] { return !driver->active(); }))
        return 1;
    SampleMaker maker(*driver->lastMeasureData());
    auto publish = [&] {
        Q_EMIT driver->updateData(maker.next());
    };
    // Microseconds of the GUI thread's processor time per sample, each followed by the repaint
    // it asks for: the best of a few blocks. Processor time, not wall time, so that the
    // machine's other work does not count; the window runs on this thread alone.
    auto cost = [&] {
        double best = 0;
        for (int block = 0; block < kBlocks; ++block) {
            qint64 const start = bench::threadCpuNanoseconds();
            for (int i = 0; i < kBlockSamples; ++i) {
                publish();
                QCoreApplication::processEvents();
            }
            double const perSample = double(bench::threadCpuNanoseconds() - start) / kBlockSamples / 1000.0;
            best = block == 0 ? perSample : std::min(best, perSample);
        }
        return best;
    };
    // A long record is filled in bulk: the table by its model's addData of many, the chart by
    // its graphs. Only the render's own list, which the tracer alone reads, stays shorter.
    auto bulk = [&](int rows) {
        QList<QSharedPointer<DmmData>> samples;
        QVector<double> keys;
        QVector<double> values[3];
        while (record->rowCount() + samples.size() < rows) {
            samples.append(maker.next());
            Channel const& ch = samples.last()->channels.first();
            keys.append(QCPAxisTickerDateTime::dateTimeToKey(samples.last()->dateTime()));
            values[0].append(ch.voltage.measured.value);
            values[1].append(ch.current.measured.value);
            values[2].append(ch.power.value);
        }
        record->addData(samples);
        for (int g = 0; g < 3; ++g)
            chart->graph(g)->addData(keys, values[g], true);
        QCoreApplication::processEvents();
    };

    for (int i = 0; i < 100; ++i)
        publish();
    double const cost100 = cost();
    std::printf("rows=%d cost_us=%.1f\n", int(record->rowCount()), cost100);

    bulk(10000);
    double const cost10k = cost();
    std::printf("rows=%d cost_us=%.1f\n", int(record->rowCount()), cost10k);

    // Memory: resident growth over the next samples, each published as the driver would,
    // with a repaint now and then as a busy event loop does.
    constexpr int kGrown = 20000;
    QCoreApplication::processEvents();
    long const rssBefore = bench::trimmedResidentBytes();
    size_t const heapBefore = mallinfo2().uordblks;
    for (int i = 0; i < kGrown; ++i) {
        publish();
        if (i % 100 == 0)
            QCoreApplication::processEvents();
    }
    QCoreApplication::processEvents();
    double const rssPerSample = double(bench::trimmedResidentBytes() - rssBefore) / kGrown;
    double const heapPerSample = double(mallinfo2().uordblks - heapBefore) / kGrown;
    // What a sample, its row and its points hold: the sample measured alone, two list entries
    // (the model's and the render's) and three chart points of a key and a value.
    size_t const alone = mallinfo2().uordblks;
    QList<QSharedPointer<DmmData>> probe;
    for (int i = 0; i < 10000; ++i)
        probe.append(maker.next());
    double const sampleBytes
        = double(mallinfo2().uordblks - alone) / double(probe.size()) - double(sizeof(probe.first()));
    probe.clear();
    double const heldBytes
        = sampleBytes + double(2 * sizeof(QSharedPointer<DmmData>) + sizeof(double) * 3 * 2);
    std::printf("rss_per_sample_bytes=%.0f heap_per_sample_bytes=%.0f held_bytes=%.0f rss_to_held=%.2f\n",
                rssPerSample, heapPerSample, heldBytes, rssPerSample / heldBytes);

    // The export of exactly 100 000 rows, as the window's Export writes them.
    bulk(100000);
    QTemporaryDir dir;
    QElapsedTimer exportClock;
    exportClock.start();
    bool const exported = zelt::util::character::Character::csvSave(
        dir.filePath(QStringLiteral("record.csv")), record, false);
    double const exportSeconds = double(exportClock.nsecsElapsed()) / 1e9;
    std::printf("export_rows=%d exported=%d\n", int(record->rowCount()), int(exported));

    double const cost100k = cost();
    std::printf("rows=%d cost_us=%.1f\n", int(record->rowCount()), cost100k);

    std::printf("cost_100_us=%.1f cost_10k_us=%.1f cost_100k_us=%.1f ratio=%.2f export_100k_s=%.3f "
                "rss_per_sample_bytes=%.0f\n",
                cost100, cost10k, cost100k, cost100k / cost100, exportSeconds, rssPerSample);
    window->close();
    return exported ? 0 : 1;
}
