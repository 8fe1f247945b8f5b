#pragma once
// The programmer's wave generators: rows of a list or a delayer from the
// parameters of a template, and the step curve that plots a sequence.
//
// Time. Every row time is in seconds and rounded to Helper's timeDecimals. The
// shortest row time is one unit of the last decimal, or Helper's timeRange.min
// if that is longer; the longest is timeRange.max. A list row time outside
// these bounds is moved to the nearer bound (spin boxes with few decimals can
// show an interval of 0); a delayer template whose times fall outside them
// gives no rows.
//
// List waves. Each row's voltage field carries the swept value, whichever
// quantity object selects (0 voltage, else current), and its time the row's
// dwell; current is 0. The swept value runs between the record's minimum and
// maximum of that quantity: a shape level f from 0 to 1 gives
// min * (1 - f) + max * f, so a minimum above the maximum mirrors the wave.
// Rows come in time order; no parameter set gives an empty list wave (only a
// type outside 0 to 7 does). Fields that a type's description does not name
// are not read; constVoltage and constCurrent are for the caller, who puts
// the held quantity beside the swept one.
//
//   0 Sine. One cycle is n = round(period / interval) rows, at least 2, each
//     dwelling interval; row k of a cycle has f = 0.5 + 0.5 sin(2 pi k / n),
//     so a cycle starts at the middle, rising, and touches both extremes when
//     n is a multiple of 4. cycles (at least 1) repeats the cycle. inverted
//     takes 1 - f: the wave starts falling.
//   1 Pulse. pulseCount pulses (at least 1), each a row at the maximum lasting
//     width, then a row at the minimum lasting period - width. When that low
//     part rounds below the shortest row time (a width of the period or more)
//     there is no low row: each pulse is one row of the period, a steady level.
//     inverted swaps the levels (pulses down from the maximum).
//   2 Ramp. One period of n = round(period / interval) rows, at least 2, each
//     dwelling interval. The first round(n * symmetry / 100) rows rise from the
//     minimum, the rest fall from the maximum: symmetry 50 is a triangle
//     (0, 0.5, 1, 0.5 for n = 4), 100 a rising saw that reaches the maximum on
//     its last row, 0 a falling saw from the maximum to the minimum. symmetry
//     is taken within 0 to 100. inverted takes 1 - f.
//   3 Stair Up. steps rows (at least 1) from the minimum to the maximum in
//     equal steps, both included; the staircase fills period, each row
//     dwelling period / steps. One step is a single row at the maximum.
//   4 Stair Down. As Stair Up, from the maximum to the minimum; one step is a
//     single row at the minimum.
//   5 Stair Up Down. Stair Up, then back down without repeating the top:
//     2 * steps - 1 rows ending at the minimum, each dwelling
//     period / (2 * steps - 1).
//   6 Exponent Rise. expGroups rows (at least 1), each dwelling interval, from
//     the minimum to the maximum along f = (1 - e^(-a x)) / (1 - e^(-a)),
//     x = k / (expGroups - 1), a = expRate taken within 0 to 10: the higher
//     the rate the faster the wave leaves the minimum and the longer it creeps
//     to the maximum; rate 0 is a straight line. One group is a row at the
//     maximum.
//   7 Exponent Fall. The mirror image, 1 - f: from the maximum to the minimum,
//     dropping fast first; one group is a row at the minimum.
//
// Delayer templates. groups groups of two rows, one with the output off and
// one with it on: pattern 1 ("01") puts the off row first, pattern 10 ("10")
// the on row first. Fewer than one group, any other pattern or any other type
// gives no rows.
//
//   0 Fix Time. Every on row dwells onTime, every off row offTime.
//   1 Increase. Both rows of group g (from 0) dwell incBase + g * incStep.
//   2 Decline. Both rows of group g dwell decBase - g * decStep; when the last
//     group's time falls below the shortest row time the template gives no
//     rows (the dialog shows "Invalid"), as it does whenever a time is out of
//     bounds.
//
// Row cap. No generator returns more than kMaxWaveRows rows: the spin boxes
// allow a sine of period 3600 s sampled every 0.001 s for 512 cycles, close
// to two billion rows. The instrument holds 128 rows; a few thousand still
// plot and scroll at once. A template beyond the cap gives its first
// kMaxWaveRows rows (whole groups for a delayer); list_wave_length and
// delayer_wave_length tell the full length, so that a caller can say when
// the cap cut a template short.

#include "specific/programmerdata.h"
#include "specific/templateparams.h"
#include "specific/zelt_specific_export.h"

#include <QList>
#include <Qt>

namespace zelt::specific::pxn3000s::programmer {

constexpr int kMaxWaveRows = 4096;

ZELT_SPECIFIC_EXPORT QList<ListData> make_list_wave(ListTemplateParam const& param);
// Empty when the parameters cannot be generated.
ZELT_SPECIFIC_EXPORT QList<DelayerData> make_delayer_wave(DelayerTemplateParam const& param);

// Rows that the template describes, before the cap; 0 when it gives none.
ZELT_SPECIFIC_EXPORT qint64 list_wave_length(ListTemplateParam const& param);
ZELT_SPECIFIC_EXPORT qint64 delayer_wave_length(DelayerTemplateParam const& param);

// Plots a sequence. Each entry of rows holds a value and the row's dwell in
// ticks (time * 10^timeDecimals); a missing, negative or non-finite dwell
// counts as 0. x and y are replaced by the curve's points, x in ticks from 0
// and ascending, its last value the end of the sequence. With
// Qt::AlignRight each value stands to the right of its row's start and holds
// for the dwell (two points a row: a step curve); with any other alignment a
// row is one point at its start, joined to the next by a straight line, and a
// last point at the end carries the last value on. No rows give no points.
ZELT_SPECIFIC_EXPORT void make_plot_values(QList<QList<double>> const& rows, QList<double>& x,
                                           QList<double>& y, QFlags<Qt::AlignmentFlag> alignment);

} // namespace zelt::specific::pxn3000s::programmer
