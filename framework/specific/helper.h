#pragma once
// The programmer's process-wide state: the Option of the dialog opened last and
// the channel chosen in it. The generators, models and delegates read their
// decimals and limits from here.

#include "specific/option.h"
#include "specific/zelt_specific_export.h"

namespace zelt::specific::pxn3000s::programmer {

class ZELT_SPECIFIC_EXPORT Helper
{
public:
    static Helper& getInstance();

    Helper(Helper const&) = delete;
    Helper& operator=(Helper const&) = delete;

    // Takes every field of the option; leaves channel alone.
    void setOption(Option const& option);

    // The channel's ranges, or an empty range when the channel or its range
    // does not exist.
    Range_t const& range(int channel, int which) const;

    // 10^timeDecimals, with the decimals taken within 0 to 6.
    double timeScale() const;
    // The row times that the programmer produces and accepts: on the grid of
    // timeDecimals, at least one unit of the last decimal, within timeRange
    // (an unbounded maximum when timeRange gives none).
    Range_t rowTimeRange() const;

    qint32 channel = 0; // 0-based index of the channel chosen on the list tab

    QString name;
    qint32 timeDecimals = 1;
    Range_t timeRange {0.1, 99999.9};
    qint32 voltageDecimals = 3;
    qint32 currentDecimals = 3;
    QList<Channel> channels;
    qint32 maxGroups = 128;
    bool canSave = true;
    bool canLoad = true;
    bool canUpload = true;

private:
    Helper() = default;
};

// ranges[0], [1] and [2] of a Helper channel (0-based).
ZELT_SPECIFIC_EXPORT Range_t const& getVRangeOfChannel(int channel);
ZELT_SPECIFIC_EXPORT Range_t const& getCRangeOfChannel(int channel);
ZELT_SPECIFIC_EXPORT Range_t const& getPRangeOfChannel(int channel);

} // namespace zelt::specific::pxn3000s::programmer
