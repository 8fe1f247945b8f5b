#include "measure/queryclient.h"

#include "measure/measureinst.h"

namespace zelt::measure {

QueryClient::QueryClient(MeasureInst* queue, QObject* parent)
    : QObject(parent)
    , m_queue(queue)
{
}

QueryClient::~QueryClient()
{
    if (m_queue)
        m_queue->forget(this);
}

MeasureInst* QueryClient::queue() const
{
    return m_queue;
}

quint64 QueryClient::send(QByteArray const& line, int timeMs)
{
    return submit(line, timeMs, false);
}

quint64 QueryClient::sendNext(QByteArray const& line, int timeMs)
{
    return submit(line, timeMs, true);
}

quint64 QueryClient::submit(QByteArray const& line, int timeMs, bool next)
{
    quint64 const ticket = ++m_nextTicket;
    ++m_pending;
    if (!m_queue || !m_queue->submit(this, ticket, line, isQuery(line) ? qMax(1, timeMs) : 0, next)) {
        // Through the event loop, so that the caller holds its ticket first.
        QMetaObject::invokeMethod(
            this,
            [this, ticket] {
                end();
                Q_EMIT failed(ticket, Failure::NotRunning);
            },
            Qt::QueuedConnection);
    }
    return ticket;
}

bool QueryClient::isQuery(QByteArrayView line)
{
    bool quoted = false;
    for (char const c : line) {
        if (c == '"')
            quoted = !quoted;
        else if (c == '?' && !quoted)
            return true;
    }
    return false;
}

QString QueryClient::failureText(Failure failure)
{
    switch (failure) {
    case Failure::TimedOut:
        return tr("The instrument did not answer in time.");
    case Failure::Resynchronising:
        return tr("The instrument stopped answering; the link is being resynchronised.");
    case Failure::LinkLost:
        return tr("The connection to the instrument was lost.");
    case Failure::Stopped:
        return tr("Polling was stopped before the answer came.");
    case Failure::NotRunning:
        return tr("The instrument is not connected.");
    }
    return {};
}

} // namespace zelt::measure
