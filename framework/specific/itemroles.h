#pragma once
// Roles by which the programmer's table models tell a delegate how to edit a
// cell: the decimals shown and the bounds accepted.

#include "specific/option.h"

#include <Qt>

#include <algorithm>
#include <cmath>

namespace zelt::specific::pxn3000s::programmer {

enum ItemRole {
    DecimalsRole = Qt::UserRole + 1, // int
    MinimumRole, // double
    MaximumRole, // double
};

// The bounds of an edit: a range that bounds nothing (a channel without
// ranges, an unbounded row time) still keeps an editor to sane numbers.
inline Range_t editRange(Range_t const& r)
{
    constexpr double kMost = 1e9;
    double const lo = std::isfinite(r.min) && r.min >= 0.0 ? r.min : 0.0;
    double const hi = std::isfinite(r.max) && r.max > lo ? r.max : kMost;
    return {lo, std::min(hi, kMost)};
}

} // namespace zelt::specific::pxn3000s::programmer
