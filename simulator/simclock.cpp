#include "simclock.h"

namespace kvrsim {

SimClock::~SimClock() = default;

} // namespace kvrsim
