#pragma once
// When to try a lost link again: 1, 2, 4 ... seconds, at most 30, and from the
// start once the link has come back.

namespace zelt::measure {

class ReconnectPolicy
{
public:
    static constexpr int kFirstMs = 1000;
    static constexpr int kMaxMs = 30000;

    // The wait before the next try, each call twice the last, up to kMaxMs.
    int nextDelayMs()
    {
        int const delay = m_nextMs;
        m_nextMs = m_nextMs >= kMaxMs / 2 ? kMaxMs : m_nextMs * 2;
        ++m_attempts;
        return delay;
    }
    void reset()
    {
        m_nextMs = kFirstMs;
        m_attempts = 0;
    }
    int attempts() const { return m_attempts; }

private:
    int m_nextMs = kFirstMs;
    int m_attempts = 0;
};

} // namespace zelt::measure
