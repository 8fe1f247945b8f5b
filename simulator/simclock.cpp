#include "simulator/simclock.h"

namespace kvrsim {

SimClock::~SimClock() = default;

} // namespace kvrsim
