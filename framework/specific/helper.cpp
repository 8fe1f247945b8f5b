#include "specific/helper.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace zelt::specific::pxn3000s::programmer {

Helper& Helper::getInstance()
{
    static Helper helper;
    return helper;
}

void Helper::setOption(Option const& option)
{
    name = option.name;
    timeDecimals = option.timeDecimals;
    timeRange = option.timeRange;
    voltageDecimals = option.voltageDecimals;
    currentDecimals = option.currentDecimals;
    channels = option.channels;
    maxGroups = option.maxGroups;
    canSave = option.canSave;
    canLoad = option.canLoad;
    canUpload = option.canUpload;
}

Range_t const& Helper::range(int channel, int which) const
{
    static Range_t const none;
    if (channel < 0 || channel >= channels.size())
        return none;
    QList<Range_t> const& ranges = channels.at(channel).ranges;
    return which >= 0 && which < ranges.size() ? ranges.at(which) : none;
}

double Helper::timeScale() const
{
    return std::pow(10.0, std::clamp(int(timeDecimals), 0, 6));
}

Range_t Helper::rowTimeRange() const
{
    // The tolerance keeps a bound that is already on the grid, such as 0.1 at
    // one decimal, from moving a unit outwards through rounding.
    double const scale = timeScale();
    double shortest = 1.0 / scale;
    if (std::isfinite(timeRange.min))
        shortest = std::max(shortest, std::ceil(timeRange.min * scale - 1e-6) / scale);
    double longest = std::numeric_limits<double>::infinity();
    if (std::isfinite(timeRange.max) && timeRange.max >= shortest)
        longest = std::max(shortest, std::floor(timeRange.max * scale + 1e-6) / scale);
    return {shortest, longest};
}

Range_t const& getVRangeOfChannel(int channel)
{
    return Helper::getInstance().range(channel, 0);
}

Range_t const& getCRangeOfChannel(int channel)
{
    return Helper::getInstance().range(channel, 1);
}

Range_t const& getPRangeOfChannel(int channel)
{
    return Helper::getInstance().range(channel, 2);
}

} // namespace zelt::specific::pxn3000s::programmer
