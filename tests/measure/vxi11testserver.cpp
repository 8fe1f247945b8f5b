#include "tests/measure/vxi11testserver.h"

#include <QHostAddress>
#include <QNetworkDatagram>
#include <QTcpServer>
#include <QTcpSocket>
#include <QUdpSocket>
#include <QtEndian>

namespace {

constexpr quint32 kPortmapProgram = 100000;
constexpr quint32 kCoreProgram = 0x0607AF;
constexpr quint16 kPortmapPort = 111;

quint32 u32(QByteArray const& data, int& at)
{
    if (at + 4 > data.size())
        return 0;
    quint32 const value = qFromBigEndian<quint32>(data.constData() + at);
    at += 4;
    return value;
}

QByteArray opaque(QByteArray const& data, int& at)
{
    int const length = int(u32(data, at));
    QByteArray const bytes = data.mid(at, length);
    at += (length + 3) & ~3;
    return bytes;
}

void put(QByteArray& out, quint32 value)
{
    char bytes[4];
    qToBigEndian(value, bytes);
    out.append(bytes, 4);
}

void putOpaque(QByteArray& out, QByteArray const& data)
{
    put(out, quint32(data.size()));
    out.append(data);
    out.append((4 - data.size() % 4) % 4, '\0');
}

} // namespace

Vxi11TestServer::Vxi11TestServer(QObject* parent)
    : QObject(parent)
{
}

bool Vxi11TestServer::start(Handler handler, bool silent)
{
    m_handler = std::move(handler);
    m_silent = silent;
    m_udp = new QUdpSocket(this);
    m_portmapper = new QTcpServer(this);
    m_core = new QTcpServer(this);
    if (!m_udp->bind(QHostAddress::LocalHost, kPortmapPort)
        || !m_portmapper->listen(QHostAddress::LocalHost, kPortmapPort)
        || !m_core->listen(QHostAddress::LocalHost, 0)) {
        m_error = QStringLiteral("cannot bind the portmapper's port 111 on loopback: %1 %2")
                      .arg(m_udp->errorString(), m_portmapper->errorString());
        return false;
    }
    connect(m_udp, &QUdpSocket::readyRead, this, &Vxi11TestServer::readUdp);
    connect(m_portmapper, &QTcpServer::newConnection, this, [this] { accept(m_portmapper); });
    connect(m_core, &QTcpServer::newConnection, this, [this] { accept(m_core); });
    return true;
}

void Vxi11TestServer::accept(QTcpServer* server)
{
    while (QTcpSocket* socket = server->nextPendingConnection()) {
        connect(socket, &QTcpSocket::readyRead, this, [this, socket] { readRecords(socket); });
        connect(socket, &QTcpSocket::disconnected, this, [this, socket] {
            m_buffers.remove(socket);
            socket->deleteLater();
        });
    }
}

void Vxi11TestServer::readUdp()
{
    while (m_udp->hasPendingDatagrams()) {
        QNetworkDatagram const datagram = m_udp->receiveDatagram();
        if (auto reply = call(datagram.data()))
            m_udp->writeDatagram(datagram.makeReply(*reply));
    }
}

// ONC RPC over TCP: records of fragments, each behind a length word whose top bit marks the last.
void Vxi11TestServer::readRecords(QTcpSocket* socket)
{
    QByteArray& buffer = m_buffers[socket];
    buffer.append(socket->readAll());
    for (;;) {
        QByteArray message;
        int at = 0;
        bool last = false;
        while (!last) {
            if (buffer.size() < at + 4)
                return;
            quint32 const header = qFromBigEndian<quint32>(buffer.constData() + at);
            int const length = int(header & 0x7FFFFFFF);
            last = header & 0x80000000u;
            if (buffer.size() < at + 4 + length)
                return;
            message.append(buffer.mid(at + 4, length));
            at += 4 + length;
        }
        buffer.remove(0, at);
        if (auto reply = call(message)) {
            QByteArray record;
            put(record, 0x80000000u | quint32(reply->size()));
            socket->write(record + *reply);
        }
    }
}

std::optional<QByteArray> Vxi11TestServer::call(QByteArray const& message)
{
    if (m_silent)
        return std::nullopt;
    int at = 0;
    quint32 const xid = u32(message, at);
    if (u32(message, at) != 0 || u32(message, at) != 2) // a call, RPC version 2
        return std::nullopt;
    quint32 const program = u32(message, at);
    quint32 const version = u32(message, at);
    quint32 const procedure = u32(message, at);
    u32(message, at);
    opaque(message, at); // credentials
    u32(message, at);
    opaque(message, at); // verifier

    std::optional<QByteArray> results;
    if (program == kPortmapProgram)
        results = portmap(version, procedure, message, at);
    else if (program == kCoreProgram)
        results = core(procedure, message, at);
    QByteArray reply;
    put(reply, xid);
    put(reply, 1); // reply
    put(reply, 0); // accepted
    put(reply, 0);
    put(reply, 0); // null verifier
    put(reply, results ? 0 : 3); // success, or procedure unavailable
    if (results)
        reply.append(*results);
    return reply;
}

std::optional<QByteArray> Vxi11TestServer::portmap(quint32 version, quint32 procedure, QByteArray const& args,
                                                   int at)
{
    QByteArray out;
    if (procedure == 0)
        return out; // null procedure: a ping
    if (procedure != 3)
        return std::nullopt;
    quint32 const program = u32(args, at);
    quint16 const port = program == kCoreProgram ? m_core->serverPort() : 0;
    if (version == 2) { // GETPORT
        put(out, port);
    } else { // GETADDR: a universal address, "h1.h2.h3.h4.p1.p2"
        putOpaque(out,
                  port ? QStringLiteral("127.0.0.1.%1.%2").arg(port >> 8).arg(port & 0xFF).toLatin1()
                       : QByteArray());
    }
    return out;
}

std::optional<QByteArray> Vxi11TestServer::core(quint32 procedure, QByteArray const& args, int at)
{
    QByteArray out;
    switch (procedure) {
    case 10: // create_link -> error, lid, abortPort, maxRecvSize
        put(out, 0);
        put(out, 1);
        put(out, 0);
        put(out, 1024 * 1024);
        return out;
    case 11: { // device_write(lid, io_timeout, lock_timeout, flags, data) -> error, size
        for (int i = 0; i < 4; ++i)
            u32(args, at);
        QByteArray const data = opaque(args, at);
        for (QByteArray const& line : data.split('\n')) {
            if (line.isEmpty())
                continue;
            m_lines << QString::fromUtf8(line);
            if (auto answer = m_handler(QString::fromUtf8(line)))
                m_answers << *answer;
        }
        put(out, 0);
        put(out, quint32(data.size()));
        return out;
    }
    case 12: // device_read -> error, reason, data; an empty queue answers at once with a time-out
        if (m_answers.isEmpty()) {
            put(out, 15);
            put(out, 0);
            putOpaque(out, {});
        } else {
            put(out, 0);
            put(out, 4); // END
            putOpaque(out, m_answers.takeFirst().toUtf8() + '\n');
        }
        return out;
    case 15: // device_clear
        ++m_clears;
        m_answers.clear();
        put(out, 0);
        return out;
    case 23: // destroy_link
    case 16: // device_remote
    case 17: // device_local
        put(out, 0);
        return out;
    default:
        return std::nullopt;
    }
}
