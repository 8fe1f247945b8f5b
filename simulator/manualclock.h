#pragma once
// A clock that stands still until it is told to move: timing tests become exact.

#include "simulator/simclock.h"

namespace kvrsim {

class ManualClock : public SimClock
{
public:
    explicit ManualClock(qint64 start = 0);
    qint64 nowMsecs() const override;
    void advance(qint64 msecs);
    void setNow(qint64 msecs);

private:
    qint64 m_now;
};

} // namespace kvrsim
