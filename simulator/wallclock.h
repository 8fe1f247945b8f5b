#pragma once
// The real time base: milliseconds elapsed since the clock was made.

#include "simulator/simclock.h"

#include <QElapsedTimer>

namespace kvrsim {

class WallClock : public SimClock
{
public:
    WallClock();
    qint64 nowMsecs() const override;

private:
    QElapsedTimer m_timer;
};

} // namespace kvrsim
