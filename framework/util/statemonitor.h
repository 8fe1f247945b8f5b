#pragma once
// Hold-off countdown that samples run down: after a setting is sent, the next
// samples must not overwrite the control widgets until the instrument has had
// time to take the new value.

#include "util/zelt_util_export.h"

#include <functional>

namespace zelt::util::gadget {

class ZELT_UTIL_EXPORT StateMonitor
{
public:
    // release runs once when a countdown ends.
    explicit StateMonitor(std::function<void()> release = {});

    // Arms the countdown for n samples. A call during a count restarts it;
    // n <= 0 disarms it without running the release function.
    void in(int rounds);

    // Called once per sample. While armed: false for the first n - 1 calls, then
    // the n-th call runs f (or, if f is empty, the release function given to the
    // constructor) and returns true. When idle it returns true and calls nothing.
    bool out(std::function<void()> const& f = {});

    bool armed() const { return m_remaining > 0; }
    int remaining() const { return m_remaining; }

private:
    std::function<void()> m_release;
    int m_remaining = 0;
};

} // namespace zelt::util::gadget
