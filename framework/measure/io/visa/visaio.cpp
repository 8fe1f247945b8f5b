#include "measure/io/visa/visaio.h"

#include <QTcpSocket>
#include <QTimer>

namespace zelt::measure::io::visa {

VisaIO::VisaIO(QString resource, QObject* parent)
    : AbstractIO(parent)
    , m_connectTimer(new QTimer(this))
{
    m_connectTimer->setSingleShot(true);
    m_connectTimer->setTimerType(Qt::PreciseTimer); // a bound, never early
    connect(m_connectTimer, &QTimer::timeout, this, &VisaIO::onConnectTimeout);
    setResource(resource);
}

VisaIO::~VisaIO()
{
    if (m_socket) {
        m_socket->disconnect(this);
        m_socket->abort();
    }
}

void VisaIO::setResource(QString const& resource)
{
    m_resourceText = resource.trimmed();
    m_resource = VisaResource::parse(m_resourceText);
}

void VisaIO::setTimeout(int milliseconds)
{
    m_timeout = qMax(1, milliseconds);
}

bool VisaIO::open()
{
    dropSocket(false);
    ++m_generation;

    if (!m_resource.isValid()) {
        fail(tr("Invalid VISA resource \"%1\": %2").arg(m_resourceText, m_resource.error));
        return false;
    }
    if (m_resource.kind != VisaResource::Kind::TcpipSocket) {
        fail(tr("The VISA resource \"%1\" is not supported yet: only raw TCP sockets "
                "(TCPIP::host::port::SOCKET) can be opened.")
                 .arg(m_resourceText));
        return false;
    }

    setErrorString({});
    m_socket = new QTcpSocket(this);
    connect(m_socket, &QTcpSocket::connected, this, &VisaIO::onConnected);
    connect(m_socket, &QTcpSocket::disconnected, this, &VisaIO::onDisconnected);
    connect(m_socket, &QTcpSocket::errorOccurred, this, &VisaIO::onSocketError);
    connect(m_socket, &QTcpSocket::readyRead, this, &VisaIO::onReadyRead);
    m_connectTimer->start(m_timeout);
    m_socket->connectToHost(m_resource.host, m_resource.port);
    return true;
}

void VisaIO::close()
{
    if (!m_socket)
        return;
    dropSocket(true);
    postClosed();
}

void VisaIO::abort()
{
    if (!m_socket)
        return;
    dropSocket(false);
    postClosed();
}

bool VisaIO::isOpen() const
{
    return m_open;
}

bool VisaIO::write(QByteArray const& data)
{
    if (!m_open)
        return false;
    return m_socket->write(data) == data.size();
}

void VisaIO::dropSocket(bool flush)
{
    m_connectTimer->stop();
    m_open = false;
    if (!m_socket)
        return;
    QTcpSocket* socket = m_socket;
    m_socket = nullptr;
    socket->disconnect(this);
    if (flush && socket->state() == QAbstractSocket::ConnectedState) {
        // Let what was written leave before the socket goes.
        connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
        socket->disconnectFromHost();
        if (socket->state() == QAbstractSocket::UnconnectedState)
            socket->deleteLater();
    } else {
        socket->abort();
        socket->deleteLater();
    }
}

void VisaIO::fail(QString const& message)
{
    setErrorString(message);
    // Reported through the event loop, as a refused connection is, so that
    // callers see one failure path whatever went wrong.
    int const generation = m_generation;
    QMetaObject::invokeMethod(
        this,
        [this, message, generation] {
            if (generation == m_generation)
                emit errorOccurred(message);
        },
        Qt::QueuedConnection);
}

void VisaIO::postClosed()
{
    int const generation = m_generation;
    QMetaObject::invokeMethod(
        this,
        [this, generation] {
            if (generation == m_generation)
                emit closed();
        },
        Qt::QueuedConnection);
}

void VisaIO::onConnected()
{
    m_connectTimer->stop();
    // Without it a setting line followed by a query meets Nagle's algorithm and
    // the peer's delayed acknowledgement, and the pair stalls for about 40 ms.
    m_socket->setSocketOption(QAbstractSocket::LowDelayOption, 1);
    m_open = true;
    emit opened();
}

void VisaIO::onDisconnected()
{
    if (!m_socket)
        return;
    bool const wasOpen = m_open;
    QString const message = tr("The instrument at %1 closed the connection.").arg(m_resourceText);
    dropSocket(false);
    if (wasOpen) {
        setErrorString(message);
        emit errorOccurred(message);
        emit closed();
    }
}

void VisaIO::onSocketError()
{
    if (!m_socket)
        return;
    bool const wasOpen = m_open;
    QString const message = wasOpen
        ? tr("Connection to %1 lost: %2").arg(m_resourceText, m_socket->errorString())
        : tr("Cannot connect to %1: %2").arg(m_resourceText, m_socket->errorString());
    dropSocket(false);
    setErrorString(message);
    emit errorOccurred(message);
    if (wasOpen)
        emit closed();
}

void VisaIO::onReadyRead()
{
    if (m_socket)
        emit dataReceived(m_socket->readAll());
}

void VisaIO::onConnectTimeout()
{
    if (!m_socket || m_open)
        return;
    QString const message
        = tr("Cannot connect to %1: no answer within %2 ms.").arg(m_resourceText).arg(m_timeout);
    dropSocket(false);
    setErrorString(message);
    emit errorOccurred(message);
}

} // namespace zelt::measure::io::visa
