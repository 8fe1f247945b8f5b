#include "specific/wavegenerator.h"

#include "specific/helper.h"

#include <algorithm>
#include <cmath>

namespace zelt::specific::pxn3000s::programmer {

namespace {

// The time grid of the rows: Helper's decimals and the instrument's bounds.
struct TimeGrid
{
    TimeGrid()
    {
        Helper const& h = Helper::getInstance();
        scale = h.timeScale();
        Range_t const bounds = h.rowTimeRange();
        shortest = bounds.min;
        longest = bounds.max;
    }

    double round(double t) const { return std::round(t * scale) / scale; }

    // A list row time: on the grid and within bounds, whatever was asked.
    double dwell(double t) const
    {
        double const r = round(t);
        return std::isfinite(r) ? std::clamp(r, shortest, longest) : shortest;
    }

    bool fits(double t) const { return t >= shortest - 1e-9 && t <= longest + 1e-9; }

    double scale = 1.0;
    double shortest = 1.0;
    double longest = 0.0;
};

constexpr double kTwoPi = 6.283185307179586476925286766559;

// Counts saturate here, far beyond the row cap, so that a forged record
// cannot overflow them.
constexpr double kMostRows = 1e15;

// A count from a ratio or a record field, NaN and overflow included.
qint64 count(double v, qint64 least)
{
    if (!(v >= double(least)))
        return least;
    return qint64(std::llround(std::min(v, kMostRows)));
}

double level(double lo, double hi, double f)
{
    return lo * (1.0 - f) + hi * f;
}

// Rows of one sine cycle or ramp period.
qint64 samplesPerPeriod(ListTemplateParam const& p, TimeGrid const& grid)
{
    return count(p.period / grid.dwell(p.interval), 2);
}

qint64 stairSteps(ListTemplateParam const& p)
{
    return count(p.steps, 1);
}

bool pulseHasLowRow(ListTemplateParam const& p, TimeGrid const& grid)
{
    double const low = grid.round(p.period - std::min(p.width, p.period));
    return low >= grid.shortest - 1e-9;
}

double expShape(double x, double rate)
{
    if (rate <= 0.0)
        return x;
    return (1.0 - std::exp(-rate * x)) / (1.0 - std::exp(-rate));
}

qint64 delayerGroups(DelayerTemplateParam const& p)
{
    return std::max<qint64>(0, p.groups);
}

double delayerTime(DelayerTemplateParam const& p, bool on, qint64 group, TimeGrid const& grid)
{
    switch (p.type) {
    case 0:
        return grid.round(on ? p.onTime : p.offTime);
    case 1:
        return grid.round(p.incBase + double(group) * p.incStep);
    default:
        return grid.round(p.decBase - double(group) * p.decStep);
    }
}

// The groups that make_delayer_wave emits, or 0 when the template gives no rows.
// Times run linearly with the group, so the first and last group bound them all.
qint64 delayerEmittedGroups(DelayerTemplateParam const& p, TimeGrid const& grid)
{
    if (p.type < 0 || p.type >= kDelayerWaveTypes || (p.pattern != kPattern01 && p.pattern != kPattern10))
        return 0;
    qint64 const groups = std::min<qint64>(delayerGroups(p), kMaxWaveRows / 2);
    if (groups < 1)
        return 0;
    for (qint64 g : {qint64(0), groups - 1})
        for (bool on : {false, true})
            if (!grid.fits(delayerTime(p, on, g, grid)))
                return 0;
    return groups;
}

} // namespace

qint64 list_wave_length(ListTemplateParam const& p)
{
    TimeGrid const grid;
    switch (p.type) {
    case 0:
        return count(double(samplesPerPeriod(p, grid)) * double(count(p.cycles, 1)), 1);
    case 1:
        return count(p.pulseCount, 1) * (pulseHasLowRow(p, grid) ? 2 : 1);
    case 2:
        return samplesPerPeriod(p, grid);
    case 3:
    case 4:
        return stairSteps(p);
    case 5:
        return 2 * stairSteps(p) - 1;
    case 6:
    case 7:
        return count(p.expGroups, 1);
    default:
        return 0;
    }
}

QList<ListData> make_list_wave(ListTemplateParam const& p)
{
    QList<ListData> rows;
    TimeGrid const grid;
    qint64 const n = std::min<qint64>(list_wave_length(p), kMaxWaveRows);
    if (n <= 0)
        return rows;
    rows.reserve(n);

    bool const voltage = p.object == 0;
    double const lo = voltage ? p.voltageMin : p.currentMin;
    double const hi = voltage ? p.voltageMax : p.currentMax;
    auto add = [&](double f, double time) {
        rows.append(ListData(level(lo, hi, f), 0.0, time));
    };

    switch (p.type) {
    case 0: {
        qint64 const period = samplesPerPeriod(p, grid);
        double const dwell = grid.dwell(p.interval);
        for (qint64 k = 0; k < n; ++k) {
            double const f = 0.5 + 0.5 * std::sin(kTwoPi * double(k % period) / double(period));
            add(p.inverted ? 1.0 - f : f, dwell);
        }
        break;
    }
    case 1: {
        double const on = p.inverted ? 0.0 : 1.0;
        if (pulseHasLowRow(p, grid)) {
            double const high = grid.dwell(p.width);
            double const low = grid.dwell(p.period - p.width);
            for (qint64 k = 0; k < n; ++k)
                add(k % 2 ? 1.0 - on : on, k % 2 ? low : high);
        } else {
            double const dwell = grid.dwell(p.period);
            for (qint64 k = 0; k < n; ++k)
                add(on, dwell);
        }
        break;
    }
    case 2: {
        qint64 const period = samplesPerPeriod(p, grid);
        double const dwell = grid.dwell(p.interval);
        double const symmetry = std::clamp(double(p.symmetry), 0.0, 100.0);
        qint64 const rise = std::llround(double(period) * symmetry / 100.0);
        for (qint64 k = 0; k < n; ++k) {
            double f;
            if (rise == period)
                f = double(k) / double(period - 1);
            else if (rise == 0)
                f = 1.0 - double(k) / double(period - 1);
            else if (k < rise)
                f = double(k) / double(rise);
            else
                f = 1.0 - double(k - rise) / double(period - rise);
            add(p.inverted ? 1.0 - f : f, dwell);
        }
        break;
    }
    case 3:
    case 4:
    case 5: {
        qint64 const steps = stairSteps(p);
        double const dwell = grid.dwell(p.period / double(list_wave_length(p)));
        for (qint64 k = 0; k < n; ++k) {
            qint64 const up = k < steps ? k : 2 * steps - 2 - k;
            double const f = steps == 1 ? 1.0 : double(up) / double(steps - 1);
            add(p.type == 4 ? 1.0 - f : f, dwell);
        }
        break;
    }
    case 6:
    case 7: {
        qint64 const groups = count(p.expGroups, 1);
        double const dwell = grid.dwell(p.interval);
        double const rate = std::clamp(double(p.expRate), 0.0, 10.0);
        for (qint64 k = 0; k < n; ++k) {
            double const f = expShape(groups == 1 ? 1.0 : double(k) / double(groups - 1), rate);
            add(p.type == 7 ? 1.0 - f : f, dwell);
        }
        break;
    }
    default:
        break;
    }
    return rows;
}

qint64 delayer_wave_length(DelayerTemplateParam const& p)
{
    TimeGrid const grid;
    return delayerEmittedGroups(p, grid) > 0 ? 2 * delayerGroups(p) : 0;
}

QList<DelayerData> make_delayer_wave(DelayerTemplateParam const& p)
{
    QList<DelayerData> rows;
    TimeGrid const grid;
    qint64 const groups = delayerEmittedGroups(p, grid);
    rows.reserve(2 * groups);
    bool const first = p.pattern == kPattern10;
    for (qint64 g = 0; g < groups; ++g) {
        rows.append(DelayerData(first, delayerTime(p, first, g, grid)));
        rows.append(DelayerData(!first, delayerTime(p, !first, g, grid)));
    }
    return rows;
}

void make_plot_values(QList<QList<double>> const& rows, QList<double>& x, QList<double>& y,
                      QFlags<Qt::AlignmentFlag> alignment)
{
    bool const steps = alignment.testFlag(Qt::AlignRight);
    x.clear();
    y.clear();
    if (rows.isEmpty())
        return;
    qsizetype const points = steps ? 2 * rows.size() : rows.size() + 1;
    x.reserve(points);
    y.reserve(points);
    double t = 0.0;
    double value = 0.0;
    for (QList<double> const& row : rows) {
        value = row.isEmpty() ? 0.0 : row.at(0);
        double const ticks = row.size() > 1 && row.at(1) > 0.0 && std::isfinite(row.at(1)) ? row.at(1) : 0.0;
        x.append(t);
        y.append(value);
        t += ticks;
        if (steps) {
            x.append(t);
            y.append(value);
        }
    }
    if (!steps) {
        x.append(t);
        y.append(value);
    }
}

} // namespace zelt::specific::pxn3000s::programmer
