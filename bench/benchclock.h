#pragma once
// Clocks the benchmarks share: the GUI thread's own processor time, the process's resident
// memory, and the longest stall of the event loop as a fast timer sees it.

#include <QElapsedTimer>
#include <QFile>
#include <QObject>
#include <QTimer>

#include <malloc.h>

#include <algorithm>
#include <ctime>

namespace bench {

// Processor time, not wall time, so that the machine's other work does not count.
inline qint64 threadCpuNanoseconds()
{
    timespec now {};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return qint64(now.tv_sec) * 1000000000 + now.tv_nsec;
}

// VmRSS of /proc/self/status; 0 where there is none.
inline long residentBytes()
{
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly))
        return 0;
    // Read whole: a file of /proc has no size, so QFile's atEnd() holds from the start.
    QList<QByteArray> const lines = status.readAll().split('\n');
    for (QByteArray const& line : lines) {
        if (line.startsWith("VmRSS:"))
            return line.mid(6).trimmed().split(' ').first().toLong() * 1024;
    }
    return 0;
}

// The resident size once the allocator has given back what it can, so that two readings
// differ by what is held, not by free pages the allocator keeps.
inline long trimmedResidentBytes()
{
    malloc_trim(0);
    return residentBytes();
}

// The largest gap between the ticks of a timer of tickMs while it runs: a tick late by more
// than its period is an event loop that was busy that long.
class StallWatch
{
public:
    Q_DISABLE_COPY_MOVE(StallWatch)
    explicit StallWatch(int tickMs)
    {
        m_ticker.setTimerType(Qt::PreciseTimer);
        m_ticker.setInterval(tickMs);
        QObject::connect(&m_ticker, &QTimer::timeout, [this] {
            m_longest = std::max(m_longest, m_tick.nsecsElapsed());
            m_tick.restart();
        });
    }

    void start()
    {
        m_longest = 0;
        m_tick.start();
        m_ticker.start();
    }
    void stop() { m_ticker.stop(); }
    double longestMs() const { return double(m_longest) / 1e6; }

private:
    QTimer m_ticker;
    QElapsedTimer m_tick;
    qint64 m_longest = 0;
};

} // namespace bench
