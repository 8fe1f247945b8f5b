#include "simulator/wallclock.h"

namespace kvrsim {

WallClock::WallClock()
{
    m_timer.start();
}

qint64 WallClock::nowMsecs() const
{
    return m_timer.elapsed();
}

} // namespace kvrsim
