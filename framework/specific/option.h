#pragma once
// What an instrument window tells its programmer: decimals, limits of a row
// time, the selectable channels with their ranges, the instrument's row memory
// and which file and upload actions it offers.

#include "util/range.h"

#include <QList>
#include <QMetaType>
#include <QString>

namespace zelt::specific::pxn3000s::programmer {

struct Range_t
{
    Range_t() = default;
    Range_t(double min, double max)
        : min(min)
        , max(max)
    {
    }
    Range_t(zelt::util::numeric::Range const& r)
        : min(r.minimum)
        , max(r.maximum)
    {
    }

    bool operator==(Range_t const& o) const { return min == o.min && max == o.max; }
    bool operator!=(Range_t const& o) const { return !(*this == o); }

    double min = 0.0;
    double max = 0.0;
};

struct Channel
{
    QString name; // "CH1", ...
    QList<Range_t> ranges; // voltage, current, power
};

struct Option
{
    QString name; // the equipment's name: key of its settings group
    qint32 timeDecimals = 1; // decimals of every time in the programmer
    Range_t timeRange {0.1, 99999.9}; // limits of a row time in s
    qint32 voltageDecimals = 3;
    qint32 currentDecimals = 3;
    QList<Channel> channels;
    qint32 maxGroups = 128; // rows the instrument holds
    bool canSave = true;
    bool canLoad = true;
    bool canUpload = true;
};

} // namespace zelt::specific::pxn3000s::programmer

Q_DECLARE_METATYPE(zelt::specific::pxn3000s::programmer::Range_t)
Q_DECLARE_METATYPE(zelt::specific::pxn3000s::programmer::Channel)
Q_DECLARE_METATYPE(zelt::specific::pxn3000s::programmer::Option)
