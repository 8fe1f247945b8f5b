#include "simulator/manualclock.h"

namespace kvrsim {

ManualClock::ManualClock(qint64 start)
    : m_now(start)
{
}

qint64 ManualClock::nowMsecs() const
{
    return m_now;
}

void ManualClock::advance(qint64 msecs)
{
    if (msecs > 0)
        m_now += msecs;
}

void ManualClock::setNow(qint64 msecs)
{
    // The instrument's time never runs backwards.
    if (msecs > m_now)
        m_now = msecs;
}

} // namespace kvrsim
