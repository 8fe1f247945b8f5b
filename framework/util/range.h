#pragma once
// A closed interval of doubles: the limits of a setting.

namespace zelt::util::numeric {

struct Range
{
    Range() = default;
    Range(double minimum, double maximum)
        : minimum(minimum)
        , maximum(maximum)
    {
    }

    bool contains(double v) const { return v >= minimum && v <= maximum; }
    bool operator==(Range const& o) const { return minimum == o.minimum && maximum == o.maximum; }
    bool operator!=(Range const& o) const { return !(*this == o); }

    double minimum = 0.0;
    double maximum = 0.0;
};

} // namespace zelt::util::numeric
