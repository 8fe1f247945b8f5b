#pragma once
// The time base of the simulated instrument; tests swap in a clock that they advance themselves.

#include <QtGlobal>

namespace kvrsim {

class SimClock
{
public:
    virtual ~SimClock();
    // Milliseconds on a monotonic scale; only differences matter.
    virtual qint64 nowMsecs() const = 0;
};

} // namespace kvrsim
