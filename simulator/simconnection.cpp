#include "simulator/simconnection.h"

#include <QTcpSocket>
#include <QTimer>

#include <algorithm>

namespace kvrsim {

namespace {

// A client that never sends a line end must not grow the buffer without bound.
constexpr qsizetype kMaxLineLength = 1 << 16;

} // namespace

SimConnection::SimConnection(QTcpSocket* socket, QObject* parent)
    : QObject(parent)
    , m_socket(socket)
    , m_timer(new QTimer(this))
{
    m_socket->setParent(this);
    // Without it a setting line followed by a query meets Nagle and the delayed acknowledgement.
    m_socket->setSocketOption(QAbstractSocket::LowDelayOption, 1);
    m_timer->setSingleShot(true);
    m_timer->setTimerType(Qt::PreciseTimer);
    m_elapsed.start();
    connect(m_socket, &QTcpSocket::readyRead, this, &SimConnection::readLines);
    connect(m_socket, &QTcpSocket::disconnected, this, [this] { Q_EMIT closed(this); });
    connect(m_timer, &QTimer::timeout, this, &SimConnection::sendDue);
}

void SimConnection::readLines()
{
    if (m_closing) {
        m_socket->readAll();
        return;
    }
    m_buffer.append(m_socket->readAll());
    qsizetype end = 0;
    while (!m_closing && (end = m_buffer.indexOf('\n')) >= 0) {
        QByteArray line = m_buffer.left(end);
        m_buffer.remove(0, end + 1);
        if (line.endsWith('\r'))
            line.chop(1);
        ++m_linesReceived;
        Q_EMIT lineReceived(this, QString::fromLatin1(line));
    }
    if (m_buffer.size() > kMaxLineLength)
        m_buffer.clear();
}

void SimConnection::send(QString const& line, int latencyMs)
{
    if (m_closing)
        return;
    QByteArray bytes = line.toLatin1();
    bytes.append('\n');
    if (latencyMs <= 0 && m_pending.empty()) {
        write(bytes);
        return;
    }
    m_pending.push_back(Pending {m_elapsed.elapsed() + std::max(0, latencyMs), bytes});
    if (!m_timer->isActive())
        sendDue();
}

void SimConnection::sendDue()
{
    qint64 const now = m_elapsed.elapsed();
    // In order: an answer waits for the one before it even if its own latency is shorter.
    while (!m_pending.empty() && m_pending.front().due <= now) {
        write(m_pending.front().bytes);
        m_pending.pop_front();
    }
    if (!m_pending.empty())
        m_timer->start(static_cast<int>(m_pending.front().due - now));
}

void SimConnection::write(QByteArray const& bytes)
{
    m_socket->write(bytes);
    // Out at once: a client that half-closes after its last line (nc does) makes the socket
    // drop whatever is still buffered when the end of its stream is read.
    m_socket->flush();
    Q_EMIT answerSent();
}

void SimConnection::abort()
{
    m_closing = true;
    m_timer->stop();
    m_pending.clear();
    m_socket->abort();
}

void SimConnection::close()
{
    if (m_closing)
        return;
    m_closing = true;
    m_timer->stop();
    m_pending.clear();
    m_socket->disconnectFromHost();
}

} // namespace kvrsim
