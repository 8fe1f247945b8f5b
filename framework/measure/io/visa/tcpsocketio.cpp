#include "measure/io/visa/tcpsocketio.h"

#include <QCoreApplication>
#include <QTcpSocket>
#include <QTimer>

#include <utility>

namespace zelt::measure::io::visa {

namespace {

LinkError kindOf(QAbstractSocket::SocketError error, bool wasOpen)
{
    switch (error) {
    case QAbstractSocket::SocketTimeoutError:
        return LinkError::TimedOut;
    case QAbstractSocket::SocketAccessError:
        return LinkError::Permission;
    case QAbstractSocket::ConnectionRefusedError:
    case QAbstractSocket::HostNotFoundError:
    case QAbstractSocket::NetworkError:
    case QAbstractSocket::RemoteHostClosedError:
        return wasOpen ? LinkError::Lost : LinkError::Refused;
    default:
        // Whatever ends an open link has lost it.
        return wasOpen ? LinkError::Lost : LinkError::Other;
    }
}

} // namespace

TcpSocketIO::TcpSocketIO(QString resource, QString host, quint16 port, int timeoutMs, QObject* parent)
    : AbstractIO(parent)
    , m_resource(std::move(resource))
    , m_host(std::move(host))
    , m_port(port)
    , m_timeout(timeoutMs)
    , m_connectTimer(new QTimer(this))
{
    m_connectTimer->setSingleShot(true);
    m_connectTimer->setTimerType(Qt::PreciseTimer); // a bound, never early
    connect(m_connectTimer, &QTimer::timeout, this, &TcpSocketIO::onConnectTimeout);
}

TcpSocketIO::~TcpSocketIO()
{
    if (m_socket) {
        m_socket->disconnect(this);
        m_socket->abort();
    }
}

bool TcpSocketIO::open()
{
    dropSocket(false);
    setError(LinkError::None, {});
    m_socket = new QTcpSocket(this);
    connect(m_socket, &QTcpSocket::connected, this, &TcpSocketIO::onConnected);
    connect(m_socket, &QTcpSocket::disconnected, this, &TcpSocketIO::onDisconnected);
    connect(m_socket, &QTcpSocket::errorOccurred, this, &TcpSocketIO::onSocketError);
    connect(m_socket, &QTcpSocket::readyRead, this, &TcpSocketIO::onReadyRead);
    m_connectTimer->start(m_timeout);
    m_socket->connectToHost(m_host, m_port);
    return true;
}

void TcpSocketIO::close()
{
    dropSocket(true);
}

void TcpSocketIO::abort()
{
    dropSocket(false);
}

bool TcpSocketIO::write(QByteArray const& data)
{
    if (!m_open)
        return false;
    return m_socket->write(data) == data.size();
}

void TcpSocketIO::dropSocket(bool flush)
{
    m_connectTimer->stop();
    m_open = false;
    if (!m_socket)
        return;
    QTcpSocket* socket = m_socket;
    m_socket = nullptr;
    socket->disconnect(this);
    if (flush && socket->state() == QAbstractSocket::ConnectedState) {
        // Let what was written leave before the socket goes, even when this object
        // goes first; the application takes it should the process end sooner.
        QObject* const keeper = QCoreApplication::instance();
        socket->setParent(keeper && keeper->thread() == socket->thread() ? keeper : nullptr);
        connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
        connect(socket, &QTcpSocket::errorOccurred, socket, &QObject::deleteLater);
        socket->disconnectFromHost();
        if (socket->state() == QAbstractSocket::UnconnectedState)
            socket->deleteLater();
    } else {
        socket->abort();
        socket->deleteLater();
    }
}

void TcpSocketIO::onConnected()
{
    m_connectTimer->stop();
    // Without it a setting line followed by a query meets Nagle's algorithm and
    // the peer's delayed acknowledgement, and the pair stalls for about 40 ms.
    m_socket->setSocketOption(QAbstractSocket::LowDelayOption, 1);
    m_open = true;
    Q_EMIT opened();
}

void TcpSocketIO::onDisconnected()
{
    if (!m_socket)
        return;
    bool const wasOpen = m_open;
    QString const message = tr("The instrument at %1 closed the connection.").arg(m_resource);
    dropSocket(false);
    if (wasOpen) {
        setError(LinkError::Lost, message);
        Q_EMIT errorOccurred(message);
        Q_EMIT closed();
    }
}

void TcpSocketIO::onSocketError()
{
    if (!m_socket)
        return;
    bool const wasOpen = m_open;
    QString const message = wasOpen ? tr("Connection to %1 lost: %2").arg(m_resource, m_socket->errorString())
                                    : tr("Cannot connect to %1: %2").arg(m_resource, m_socket->errorString());
    LinkError const kind = kindOf(m_socket->error(), wasOpen);
    dropSocket(false);
    setError(kind, message);
    Q_EMIT errorOccurred(message);
    if (wasOpen)
        Q_EMIT closed();
}

void TcpSocketIO::onReadyRead()
{
    if (!m_socket)
        return;
    // Into storage of ours that outlives the call: while no receiver keeps the bytes, the
    // next answer goes into the same storage (readAll() would take a chunk-sized one each
    // time). Handed out as a copy, so that a receiver's nested event loop that reads again
    // cannot change the bytes under the receivers still to come.
    m_received.resize(m_socket->bytesAvailable());
    m_received.resize(qMax<qint64>(0, m_socket->read(m_received.data(), m_received.size())));
    QByteArray const data = m_received;
    deliver(data);
}

void TcpSocketIO::onConnectTimeout()
{
    if (!m_socket || m_open)
        return;
    QString const message
        = tr("Cannot connect to %1: no answer within %2 ms.").arg(m_resource).arg(m_timeout);
    dropSocket(false);
    setError(LinkError::TimedOut, message);
    Q_EMIT errorOccurred(message);
}

} // namespace zelt::measure::io::visa
