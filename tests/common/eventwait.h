#pragma once
// Waiting for a condition on a running event loop, for the test suites and the benchmarks.

#include <QCoreApplication>
#include <QEventLoop>
#include <QTimer>

#include <functional>

// Runs a real event loop until done() holds or the time is up. QTest's waits sleep between
// their rounds of events, which costs a round trip with the simulator on this thread dearly.
inline bool waitUntil(std::function<bool()> const& done, int timeoutMs = 10000)
{
    // As QTest's waits do: a window closed outside any event loop is deleted here.
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    if (done())
        return true;
    QEventLoop loop;
    QTimer poll;
    poll.setInterval(1);
    QObject::connect(&poll, &QTimer::timeout, &loop, [&] {
        if (done())
            loop.quit();
    });
    QTimer::singleShot(timeoutMs, &loop, &QEventLoop::quit);
    poll.start();
    loop.exec();
    return done();
}
