#include "util/statemonitor.h"

#include <utility>

namespace zelt::util::gadget {

StateMonitor::StateMonitor(std::function<void()> release)
    : m_release(std::move(release))
{
}

void StateMonitor::in(int rounds)
{
    m_remaining = rounds > 0 ? rounds : 0;
}

bool StateMonitor::out(std::function<void()> const& f)
{
    if (m_remaining <= 0)
        return true;
    if (--m_remaining > 0)
        return false;
    if (f)
        f();
    else if (m_release)
        m_release();
    return true;
}

} // namespace zelt::util::gadget
