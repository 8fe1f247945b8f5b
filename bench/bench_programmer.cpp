// Rows per second of the programmer's wave generators, for each list wave and
// delayer template at its defaults and at the largest values its spin boxes
// allow, and of the plot curve of a full instrument list (128 rows). The
// slowest single generation is the one that a parameter edit waits for.

#include "specific/helper.h"
#include "specific/wavegenerator.h"

#include <QElapsedTimer>
#include <QString>

#include <algorithm>
#include <cstdio>
#include <functional>

using namespace zelt::specific::pxn3000s::programmer;

namespace {

constexpr qint64 kRunNs = 100'000'000; // per case

struct Figures
{
    qint64 rows = 0; // per generation
    double meanUs = 0.0; // per generation
    double worstUs = 0.0; // the slowest single generation seen
    double rowsPerS = 0.0;
};

volatile qsizetype g_sink = 0;

// Repeats one generation for a while; each call is timed on its own.
Figures measure(std::function<qsizetype()> const& generate)
{
    Figures f;
    qint64 calls = 0, total = 0, worst = 0;
    QElapsedTimer clock;
    while (total < kRunNs) {
        clock.start();
        qsizetype const rows = generate();
        qint64 const ns = clock.nsecsElapsed();
        g_sink = g_sink + rows;
        f.rows = rows;
        total += ns;
        worst = std::max(worst, ns);
        ++calls;
    }
    f.meanUs = double(total) / 1e3 / double(calls);
    f.worstUs = double(worst) / 1e3;
    f.rowsPerS = double(f.rows) * double(calls) / (double(total) / 1e9);
    return f;
}

ListTemplateParam largestList(int type)
{
    ListTemplateParam p;
    resetListTemplateParam(p, static_cast<unsigned char>(type));
    p.period = 3600.0;
    p.interval = p.width = 0.001;
    p.cycles = p.steps = p.expGroups = 512;
    p.pulseCount = 256;
    p.symmetry = 100;
    p.expRate = 10;
    return p;
}

} // namespace

int main()
{
    // The window's settings: one decimal for times, rows of 0.1 s to 99999.9 s.
    Option option;
    option.channels = {Channel {QStringLiteral("CH1"), {Range_t(0, 42), Range_t(0, 42), Range_t(0, 1050)}}};
    Helper::getInstance().setOption(option);

    char const* const listNames[]
        = {"sine", "pulse", "ramp", "stairup", "stairdown", "stairupdown", "exprise", "expfall"};
    char const* const delayerNames[] = {"fixtime", "increase", "decline"};
    double slowestMs = 0.0, worstMs = 0.0;
    qint64 listRows = 0;
    double listSeconds = 0.0;
    auto report = [&](char const* kind, char const* name, char const* set, qint64 length, Figures const& f) {
        std::printf(
            "%-8s %-12s %-8s rows=%-5lld full_length=%-11lld mean_us=%9.2f worst_us=%9.2f rows_per_s=%.0f\n",
            kind, name, set, static_cast<long long>(f.rows), static_cast<long long>(length), f.meanUs,
            f.worstUs, f.rowsPerS);
        slowestMs = std::max(slowestMs, f.meanUs / 1e3);
        worstMs = std::max(worstMs, f.worstUs / 1e3);
    };

    std::printf("row cap %d, time decimals %d\n", kMaxWaveRows, int(option.timeDecimals));
    for (int t = 0; t < kListWaveTypes; ++t) {
        ListTemplateParam typical;
        resetListTemplateParam(typical, static_cast<unsigned char>(t));
        for (auto const& [set, p] : {std::pair {"typical", typical}, std::pair {"largest", largestList(t)}}) {
            Figures const f = measure([&p = p] { return make_list_wave(p).size(); });
            report("list", listNames[t], set, list_wave_length(p), f);
            listRows += f.rows;
            listSeconds += double(f.rows) / f.rowsPerS;
        }
    }

    for (int t = 0; t < kDelayerWaveTypes; ++t) {
        DelayerTemplateParam typical, many, largest;
        resetDelayerTemplateParam(typical, static_cast<unsigned char>(t));
        many = typical;
        many.groups = 512;
        many.decBase = 3600.0; // so that 512 declining groups stay above the shortest row time
        largest = many;
        largest.onTime = largest.offTime = largest.incBase = largest.incStep = largest.decBase
            = largest.decStep = 3600.0;
        for (auto const& [set, p] :
             {std::pair {"typical", typical}, std::pair {"512grp", many}, std::pair {"largest", largest}}) {
            Figures const f = measure([&p = p] { return make_delayer_wave(p).size(); });
            report("delayer", delayerNames[t], set, delayer_wave_length(p), f);
        }
    }

    // A full instrument list as the dialog plots it: value and ticks per row.
    ListTemplateParam sine;
    resetListTemplateParam(sine, 0);
    sine.period = 12.8;
    QList<ListData> const rows = make_list_wave(sine);
    QList<QList<double>> points;
    for (ListData const& r : rows)
        points.append({r.voltage, r.time * 10.0});
    QList<double> x, y;
    Figures const plot = measure([&] {
        make_plot_values(points, x, y, Qt::AlignRight);
        return points.size();
    });
    std::printf("plot     %-12s %-8s rows=%-5lld mean_us=%9.2f worst_us=%9.2f rows_per_s=%.0f\n", "128rows",
                "steps", static_cast<long long>(plot.rows), plot.meanUs, plot.worstUs, plot.rowsPerS);

    std::printf("worst single generation seen: %.3f ms\n", worstMs);
    std::printf("list_wave_rows_per_s=%.0f plot_values_rows_per_s=%.0f slowest_generation_ms=%.3f\n",
                double(listRows) / listSeconds, plot.rowsPerS, slowestMs);
    return 0;
}
