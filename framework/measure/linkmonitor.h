#pragma once
// The state of one instrument's link, in words: watches its command queue and
// says whether it is connecting, polling, stopped by the user, lost or refused,
// and brings a lost link back with back-off through a restart the host gives it
// (the window's own start path, so that nothing but the polling is sent).

#include "measure/reconnectpolicy.h"
#include "measure/zelt_measure_export.h"

#include <QDateTime>
#include <QElapsedTimer>
#include <QObject>
#include <QPointer>
#include <QString>
#include <QTimer>

#include <functional>

namespace zelt::measure {

class MeasureInst;
namespace io {
enum class LinkError;
}

class ZELT_MEASURE_EXPORT LinkMonitor : public QObject
{
    Q_OBJECT
public:
    enum class State {
        Connecting, // opening, or open and not yet answered
        Polling, // the instrument answers
        Stopped, // stopped by the user
        Lost, // the link went away during a run
        Refused, // the link could not be made
        Reconnecting, // lost, and the next try is due at nextTry()
    };
    Q_ENUM(State)

    // No fresh reading for this long while polling makes the readings stale.
    static constexpr int kStaleMs = 2000;

    // restart starts the queue again the way the user's Start does.
    LinkMonitor(MeasureInst* queue, std::function<void()> restart, QObject* parent = nullptr);

    State state() const { return m_state; }
    // Why the link was lost or refused, as the channel said it, and its kind.
    QString cause() const { return m_cause; }
    io::LinkError errorKind() const { return m_kind; }
    // When the link was lost or refused.
    QDateTime since() const { return m_since; }
    QDateTime nextTry() const { return m_nextTry; }
    QDateTime lastReading() const { return m_lastReading; }
    // Polling, but no fresh reading for kStaleMs.
    bool isStale() const { return m_stale; }
    // Passes over the ring per second, over the last second or so.
    double readingsPerSecond() const { return m_rate; }
    bool hasAnswered() const { return m_lastReading.isValid(); }

    bool autoReconnect() const { return m_autoReconnect; }
    void setAutoReconnect(bool on);
    void reconnectNow();
    // Cancels the tries to come; the link stays lost until the user starts it.
    void stopTrying();
    // The user's Start or Stop: tells a stop by the user from a lost link.
    void noteStartAction();

    // A word, such as "Polling" or "Lost", for lists.
    static QString stateText(State state);
    // The whole state in a sentence, with its cause and times.
    QString describe() const;

Q_SIGNALS:
    void changed();
    // Polling for the first time in this run.
    void answered();

private:
    void onStarted();
    void onStopped();
    void onIoError();
    void onPass();
    void onTick();
    void setState(State state);
    void scheduleTry();
    void restart();

    QPointer<MeasureInst> m_queue;
    std::function<void()> m_restart;
    ReconnectPolicy m_policy;
    State m_state = State::Stopped;
    QString m_cause;
    io::LinkError m_kind;
    QDateTime m_since;
    QDateTime m_nextTry;
    QDateTime m_lastReading;
    QElapsedTimer m_sinceReading;
    bool m_stale = false;
    bool m_autoReconnect = true;
    bool m_userStopping = false;
    bool m_restarting = false;
    bool m_ioFailed = false;
    bool m_answeredThisRun = false;
    bool m_retrying = false; // the run was started by a reconnect try
    int m_errorsSinceReading = 0;
    int m_passes = 0;
    double m_rate = 0.0;
    QElapsedTimer m_rateClock;
    QTimer m_tryTimer;
    QTimer m_tick;
};

} // namespace zelt::measure
