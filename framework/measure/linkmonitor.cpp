#include "measure/linkmonitor.h"

#include "measure/io/abstractio.h"
#include "measure/measureinst.h"

namespace zelt::measure {

namespace {
constexpr int kTickMs = 500;

QString timeText(QDateTime const& time)
{
    return time.toString(QStringLiteral("HH:mm:ss"));
}

QString kindText(io::LinkError kind)
{
    switch (kind) {
    case io::LinkError::Refused:
        return LinkMonitor::tr("Connection refused");
    case io::LinkError::TimedOut:
        return LinkMonitor::tr("No answer in time");
    case io::LinkError::Lost:
        return LinkMonitor::tr("Connection lost");
    case io::LinkError::Permission:
        return LinkMonitor::tr("Access denied");
    case io::LinkError::InvalidResource:
        return LinkMonitor::tr("No such instrument address");
    case io::LinkError::None:
    case io::LinkError::Other:
        break;
    }
    return LinkMonitor::tr("Connection failed");
}
} // namespace

LinkMonitor::LinkMonitor(MeasureInst* queue, std::function<void()> restart, QObject* parent)
    : QObject(parent)
    , m_queue(queue)
    , m_restart(std::move(restart))
    , m_kind(io::LinkError::None)
    , m_tryTimer(this)
    , m_tick(this)
{
    m_tryTimer.setSingleShot(true);
    connect(&m_tryTimer, &QTimer::timeout, this, &LinkMonitor::restart);
    m_tick.setInterval(kTickMs);
    connect(&m_tick, &QTimer::timeout, this, &LinkMonitor::onTick);
    m_tick.start();
    m_rateClock.start();
    if (!queue)
        return;
    connect(queue, &MeasureInst::started, this, &LinkMonitor::onStarted);
    connect(queue, &MeasureInst::stoped, this, &LinkMonitor::onStopped);
    connect(queue, &MeasureInst::ioError, this, &LinkMonitor::onIoError);
    connect(queue, &MeasureInst::passCompleted, this, &LinkMonitor::onPass);
    connect(queue, &MeasureInst::processError, this, [this] { ++m_errorsSinceReading; });
    m_state = queue->isActive() ? State::Connecting : State::Stopped;
}

void LinkMonitor::setAutoReconnect(bool on)
{
    m_autoReconnect = on;
    if (!on)
        stopTrying();
    else if (m_state == State::Lost)
        scheduleTry();
}

void LinkMonitor::reconnectNow()
{
    if (m_queue && !m_queue->isActive())
        restart();
}

void LinkMonitor::stopTrying()
{
    m_tryTimer.stop();
    m_nextTry = {};
    if (m_state == State::Reconnecting)
        setState(State::Lost);
}

void LinkMonitor::noteStartAction()
{
    if (m_restarting)
        return;
    if (m_state == State::Connecting || m_state == State::Polling) {
        m_userStopping = true;
        return;
    }
    m_tryTimer.stop();
    m_nextTry = {};
    m_retrying = false;
    m_policy.reset();
    setState(State::Connecting);
}

void LinkMonitor::onStarted()
{
    if (m_state != State::Connecting)
        setState(State::Connecting);
}

void LinkMonitor::onIoError()
{
    m_ioFailed = true;
    m_cause = m_queue->errorString();
    m_kind = m_queue->errorKind();
}

void LinkMonitor::onStopped()
{
    bool const userStop = std::exchange(m_userStopping, false);
    bool const ioFailed = std::exchange(m_ioFailed, false);
    bool const answered = std::exchange(m_answeredThisRun, false);
    bool const silent = std::exchange(m_errorsSinceReading, 0) > 0;
    m_stale = false;
    if (userStop || (!ioFailed && !silent)) {
        m_retrying = false;
        setState(State::Stopped);
        return;
    }
    if (!ioFailed) {
        // The window gave up on an instrument that stopped answering.
        m_cause = tr("The instrument stopped answering.");
        m_kind = io::LinkError::TimedOut;
    }
    if (!answered && !m_retrying) {
        m_since = QDateTime::currentDateTime();
        setState(State::Refused);
        return;
    }
    if (answered)
        m_since = QDateTime::currentDateTime();
    if (m_autoReconnect)
        scheduleTry();
    else
        setState(State::Lost);
}

void LinkMonitor::onPass()
{
    qint64 const now = QDateTime::currentMSecsSinceEpoch();
    m_lastReading = QDateTime::fromMSecsSinceEpoch(now);
    m_sinceReading.start();
    ++m_passes;
    m_errorsSinceReading = 0;
    if (!m_answeredThisRun) {
        m_answeredThisRun = true;
        m_retrying = false;
        m_policy.reset();
        m_stale = false;
        setState(State::Polling);
        Q_EMIT answered();
    } else if (m_stale) {
        m_stale = false;
        Q_EMIT changed();
    }
}

void LinkMonitor::onTick()
{
    qint64 const elapsed = m_rateClock.restart();
    m_rate = elapsed > 0 ? m_passes * 1000.0 / double(elapsed) : 0.0;
    m_passes = 0;
    bool const stale
        = m_state == State::Polling && m_sinceReading.isValid() && m_sinceReading.elapsed() > kStaleMs;
    if (stale != m_stale) {
        m_stale = stale;
        Q_EMIT changed();
    }
}

void LinkMonitor::setState(State state)
{
    if (state != State::Reconnecting)
        m_nextTry = {};
    m_state = state;
    Q_EMIT changed();
}

void LinkMonitor::scheduleTry()
{
    int const delay = m_policy.nextDelayMs();
    m_nextTry = QDateTime::currentDateTime().addMSecs(delay);
    m_tryTimer.start(delay);
    m_state = State::Reconnecting;
    Q_EMIT changed();
}

void LinkMonitor::restart()
{
    m_tryTimer.stop();
    if (!m_queue || m_queue->isActive())
        return;
    m_retrying = true;
    setState(State::Connecting);
    m_restarting = true;
    if (m_restart)
        m_restart();
    m_restarting = false;
}

QString LinkMonitor::stateText(State state)
{
    switch (state) {
    case State::Connecting:
        return tr("Connecting");
    case State::Polling:
        return tr("Polling");
    case State::Stopped:
        return tr("Stopped");
    case State::Lost:
        return tr("Lost");
    case State::Refused:
        return tr("Refused");
    case State::Reconnecting:
        return tr("Reconnecting");
    }
    return {};
}

QString LinkMonitor::describe() const
{
    QString const where = m_queue && m_queue->io() ? m_queue->io()->description() : QString();
    QString const cause = m_cause.isEmpty() ? kindText(m_kind) : tr("%1: %2").arg(kindText(m_kind), m_cause);
    switch (m_state) {
    case State::Connecting:
        return m_retrying ? tr("Reconnecting to %1...").arg(where) : tr("Connecting to %1...").arg(where);
    case State::Polling:
        return m_stale ? tr("No fresh reading since %1.").arg(timeText(m_lastReading)) : tr("Polling.");
    case State::Stopped:
        return tr("Stopped by the user.");
    case State::Lost:
        return tr("Link lost at %1. %2").arg(timeText(m_since), cause);
    case State::Refused:
        return tr("Could not connect to %1. %2").arg(where, cause);
    case State::Reconnecting:
        return tr("Link lost at %1. %2. Next try at %3.").arg(timeText(m_since), cause, timeText(m_nextTry));
    }
    return {};
}

} // namespace zelt::measure
