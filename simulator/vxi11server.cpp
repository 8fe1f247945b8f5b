#include "simulator/vxi11server.h"

#include <QDeadlineTimer>
#include <QNetworkDatagram>
#include <QPointer>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTimer>
#include <QUdpSocket>
#include <QtEndian>

#include <algorithm>
#include <deque>
#include <limits>
#include <utility>

namespace kvrsim {

namespace {

constexpr quint32 kPortmapperProgram = 100000;
constexpr quint32 kCoreProgram = 0x0607AF;
constexpr quint32 kAbortProgram = 0x0607B0;
constexpr quint32 kIpProtoTcp = 6;

// Accept states of a reply.
constexpr quint32 kSuccess = 0;
constexpr quint32 kProgramUnavailable = 1;
constexpr quint32 kProgramMismatch = 2;
constexpr quint32 kProcedureUnavailable = 3;
constexpr quint32 kGarbageArguments = 4;

// VXI-11 errors.
constexpr qint32 kDeviceNotAccessible = 3;
constexpr qint32 kInvalidLink = 4;
constexpr qint32 kNotSupported = 8;
constexpr qint32 kLocked = 11;
constexpr qint32 kNoLockHeld = 12;
constexpr qint32 kIoTimeout = 15;
constexpr qint32 kIoError = 17;
constexpr qint32 kAborted = 23;

constexpr qint32 kFlagEnd = 0x08;
constexpr qint32 kFlagTermChar = 0x80;
constexpr qint32 kReasonRequestCount = 1;
constexpr qint32 kReasonTermChar = 2;
constexpr qint32 kReasonEnd = 4;
constexpr quint8 kStatusMessageAvailable = 0x10;

// What a link takes in one device_write; clients cut longer messages into chunks of it.
constexpr quint32 kMaxReceiveSize = 64 * 1024;
// A record beyond this ends the connection: no client of ours sends one.
constexpr qsizetype kMaxRecord = qsizetype(4) * 1024 * 1024;
constexpr int kUnitConnectMs = 2000;

class XdrReader
{
public:
    explicit XdrReader(QByteArray const& data)
        : m_data(data)
    {
    }

    quint32 u32()
    {
        if (m_at + 4 > m_data.size()) {
            m_ok = false;
            return 0;
        }
        quint32 const value = qFromBigEndian<quint32>(m_data.constData() + m_at);
        m_at += 4;
        return value;
    }
    qint32 i32() { return qint32(u32()); }
    QByteArray opaque()
    {
        quint32 const length = u32();
        if (!m_ok || length > quint32(m_data.size() - m_at)) {
            m_ok = false;
            return {};
        }
        QByteArray const bytes = m_data.mid(m_at, qsizetype(length));
        m_at = std::min(m_data.size(), m_at + ((qsizetype(length) + 3) & ~qsizetype(3)));
        return bytes;
    }
    bool ok() const { return m_ok; }

private:
    QByteArray const& m_data;
    qsizetype m_at = 0;
    bool m_ok = true;
};

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

void sendRecord(QTcpSocket* socket, QByteArray const& message)
{
    QByteArray record;
    record.reserve(message.size() + 4);
    put(record, 0x80000000u | quint32(message.size()));
    record.append(message);
    socket->write(record);
}

QByteArray readReply(QByteArray const& header, qint32 error, qint32 reason, QByteArray const& data)
{
    QByteArray out = header;
    put(out, quint32(error));
    put(out, quint32(reason));
    putOpaque(out, data);
    return out;
}

} // namespace

struct Vxi11Server::Call
{
    explicit Call(QByteArray const& message)
        : args(message)
    {
    }

    // The accepted reply's words up to and including its state.
    QByteArray header(quint32 state = kSuccess) const
    {
        QByteArray out;
        put(out, xid);
        put(out, 1); // a reply
        put(out, 0); // accepted
        put(out, 0); // null verifier
        put(out, 0);
        put(out, state);
        return out;
    }
    QByteArray error(qint32 code) const
    {
        QByteArray out = header();
        put(out, quint32(code));
        return out;
    }

    quint32 xid = 0;
    XdrReader args;
};

// One client's link: its own connection to the unit, and the reads that wait for an answer.
class Vxi11Server::Link : public QObject
{
public:
    Link(qint32 id, QTcpSocket* owner, QObject* parent)
        : QObject(parent)
        , id(id)
        , owner(owner)
    {
        m_timer.setSingleShot(true);
        m_timer.setTimerType(Qt::PreciseTimer);
        connect(&m_timer, &QTimer::timeout, this, &Link::serveReads);
    }

    bool connectUnit(QHostAddress const& address, quint16 port)
    {
        delete m_unit;
        m_unit = new QTcpSocket(this);
        m_unit->connectToHost(address, port);
        if (!m_unit->waitForConnected(kUnitConnectMs))
            return false;
        m_unit->setSocketOption(QAbstractSocket::LowDelayOption, 1);
        connect(m_unit, &QTcpSocket::readyRead, this, [this] {
            m_output.append(m_unit->readAll());
            serveReads();
        });
        return true;
    }
    bool isConnected() const { return m_unit && m_unit->state() == QAbstractSocket::ConnectedState; }

    void write(QByteArray const& data, bool end)
    {
        m_unit->write(data);
        // END closes the message as a line end would.
        if (end && !data.endsWith('\n'))
            m_unit->write("\n", 1);
        m_unit->flush();
    }

    void read(QTcpSocket* socket, QByteArray header, quint32 size, quint32 ioTimeout, int termChar)
    {
        QDeadlineTimer const deadline = ioTimeout > quint32(std::numeric_limits<int>::max())
            ? QDeadlineTimer(QDeadlineTimer::Forever)
            : QDeadlineTimer(qint64(ioTimeout));
        m_reads.push_back(Read {socket, std::move(header), size, termChar, deadline});
        serveReads();
    }

    bool hasAnswer() const { return m_output.contains('\n'); }

    // A fresh connection leaves the unit's partial line and the answers on their way behind.
    bool clear(QHostAddress const& address, quint16 port)
    {
        m_output.clear();
        return connectUnit(address, port);
    }

    void abortReads()
    {
        for (Read const& read : m_reads) {
            if (read.socket)
                sendRecord(read.socket, readReply(read.header, kAborted, 0, {}));
        }
        m_reads.clear();
        m_timer.stop();
    }

    qint32 const id;
    QTcpSocket* const owner;

private:
    struct Read
    {
        QPointer<QTcpSocket> socket;
        QByteArray header;
        quint32 size;
        int termChar; // -1: none
        QDeadlineTimer deadline;
    };

    // How much of the answers the read takes, and why it stops there; 0 when it must wait.
    qsizetype take(Read const& read, qint32& reason) const
    {
        qsizetype const end = m_output.indexOf('\n') + 1;
        qsizetype const chr = read.termChar < 0 ? 0 : m_output.indexOf(char(read.termChar)) + 1;
        qsizetype const count = qsizetype(std::min<quint32>(read.size, kMaxReceiveSize));
        qsizetype n = m_output.size() >= count ? count : std::numeric_limits<qsizetype>::max();
        for (qsizetype const stop : {end, chr}) {
            if (stop > 0)
                n = std::min(n, stop);
        }
        if (n == std::numeric_limits<qsizetype>::max() || n == 0)
            return 0;
        reason = (n == count ? kReasonRequestCount : 0) | (n == chr ? kReasonTermChar : 0)
            | (n == end ? kReasonEnd : 0);
        return n;
    }

    void serveReads()
    {
        while (!m_reads.empty()) {
            Read& read = m_reads.front();
            qint32 reason = 0;
            if (qsizetype const n = take(read, reason)) {
                if (read.socket)
                    sendRecord(read.socket, readReply(read.header, 0, reason, m_output.left(n)));
                m_output.remove(0, n);
            } else if (read.deadline.hasExpired()) {
                if (read.socket)
                    sendRecord(read.socket, readReply(read.header, kIoTimeout, 0, {}));
            } else {
                break;
            }
            m_reads.pop_front();
        }
        if (m_reads.empty() || m_reads.front().deadline.isForever())
            m_timer.stop();
        else
            m_timer.start(int(std::max<qint64>(0, m_reads.front().deadline.remainingTime())));
    }

    QTcpSocket* m_unit = nullptr;
    QByteArray m_output;
    std::deque<Read> m_reads;
    QTimer m_timer;
};

Vxi11Server::Vxi11Server(QObject* parent)
    : QObject(parent)
{
}

Vxi11Server::~Vxi11Server()
{
    stop();
}

bool Vxi11Server::start(QHostAddress const& bind, QHostAddress const& unitAddress, quint16 unitPort)
{
    stop();
    m_bind = bind;
    m_unitAddress = unitAddress;
    m_unitPort = unitPort;
    m_errorString.clear();
    m_standardPortError.clear();

    m_core = new QTcpServer(this);
    if (!m_core->listen(bind, 0)) {
        m_errorString = tr("VXI-11: cannot listen on %1: %2").arg(bind.toString(), m_core->errorString());
        stop();
        return false;
    }
    if (!listen(kPortmapperPort)) {
        m_standardPortError = m_errorString;
        // The portmapper's UDP and TCP ports must match: another free port can be taken
        // between the two binds.
        bool bound = false;
        for (int attempt = 0; attempt < 20 && !bound; ++attempt)
            bound = listen(0);
        if (!bound) {
            stop();
            return false;
        }
        m_errorString.clear();
    }
    connect(m_core, &QTcpServer::newConnection, this, [this] { acceptConnections(m_core); });
    connect(m_portmapper, &QTcpServer::newConnection, this, [this] { acceptConnections(m_portmapper); });
    connect(m_udp, &QUdpSocket::readyRead, this, &Vxi11Server::readDatagrams);
    return true;
}

bool Vxi11Server::listen(quint16 port)
{
    delete m_portmapper;
    delete m_udp;
    m_portmapper = new QTcpServer(this);
    m_udp = new QUdpSocket(this);
    if (!m_portmapper->listen(m_bind, port)) {
        m_errorString = tr("VXI-11: cannot listen on %1 port %2: %3")
                            .arg(m_bind.toString())
                            .arg(port)
                            .arg(m_portmapper->errorString());
        return false;
    }
    if (!m_udp->bind(m_bind, m_portmapper->serverPort())) {
        m_errorString = tr("VXI-11: cannot bind UDP %1 port %2: %3")
                            .arg(m_bind.toString())
                            .arg(m_portmapper->serverPort())
                            .arg(m_udp->errorString());
        return false;
    }
    return true;
}

void Vxi11Server::stop()
{
    for (Link* link : std::as_const(m_links))
        delete link;
    m_links.clear();
    m_lockHolder = 0;
    for (auto it = m_buffers.keyBegin(); it != m_buffers.keyEnd(); ++it) {
        (*it)->disconnect(this);
        (*it)->abort();
        (*it)->deleteLater();
    }
    m_buffers.clear();
    delete m_core;
    delete m_portmapper;
    delete m_udp;
    m_core = nullptr;
    m_portmapper = nullptr;
    m_udp = nullptr;
}

quint16 Vxi11Server::portmapperPort() const
{
    return m_portmapper ? m_portmapper->serverPort() : 0;
}

quint16 Vxi11Server::corePort() const
{
    return m_core ? m_core->serverPort() : 0;
}

QString Vxi11Server::resourceString() const
{
    QHostAddress host = m_bind;
    if (host == QHostAddress::Any || host == QHostAddress::AnyIPv4)
        host = QHostAddress::LocalHost;
    return QStringLiteral("TCPIP::%1::INSTR").arg(host.toString());
}

void Vxi11Server::acceptConnections(QTcpServer* server)
{
    while (QTcpSocket* socket = server->nextPendingConnection()) {
        socket->setParent(this);
        socket->setSocketOption(QAbstractSocket::LowDelayOption, 1);
        m_buffers.insert(socket, {});
        connect(socket, &QTcpSocket::readyRead, this, [this, socket] { readRecords(socket); });
        connect(socket, &QTcpSocket::disconnected, this, [this, socket] { closeConnection(socket); });
    }
}

void Vxi11Server::closeConnection(QTcpSocket* socket)
{
    // A client that goes without destroy_link leaves no link behind.
    QList<qint32> gone;
    for (Link const* link : std::as_const(m_links)) {
        if (link->owner == socket)
            gone.append(link->id);
    }
    for (qint32 const id : gone)
        destroyLink(id);
    m_buffers.remove(socket);
    socket->disconnect(this);
    socket->deleteLater();
}

// ONC RPC over TCP: records of fragments, each behind a length word whose top bit marks the last.
void Vxi11Server::readRecords(QTcpSocket* socket)
{
    auto it = m_buffers.find(socket);
    if (it == m_buffers.end())
        return;
    it->append(socket->readAll());
    for (;;) {
        QByteArray& buffer = m_buffers[socket];
        QByteArray message;
        qsizetype at = 0;
        bool last = false;
        while (!last) {
            if (buffer.size() < at + 4)
                return;
            quint32 const header = qFromBigEndian<quint32>(buffer.constData() + at);
            qsizetype const length = qsizetype(header & 0x7FFFFFFF);
            last = header & 0x80000000u;
            if (length > kMaxRecord || message.size() + length > kMaxRecord) {
                socket->abort();
                return;
            }
            if (buffer.size() < at + 4 + length)
                return;
            message.append(buffer.constData() + at + 4, length);
            at += 4 + length;
        }
        buffer.remove(0, at);
        if (auto reply = call(message, socket, socket->localAddress()))
            sendRecord(socket, *reply);
        // The call may have ended this connection.
        if (!m_buffers.contains(socket))
            return;
    }
}

void Vxi11Server::readDatagrams()
{
    while (m_udp->hasPendingDatagrams()) {
        QNetworkDatagram const datagram = m_udp->receiveDatagram();
        if (auto reply = call(datagram.data(), nullptr, datagram.destinationAddress()))
            m_udp->writeDatagram(datagram.makeReply(*reply));
    }
}

std::optional<QByteArray> Vxi11Server::call(QByteArray const& message, QTcpSocket* socket,
                                            QHostAddress const& local)
{
    Call call(message);
    call.xid = call.args.u32();
    if (call.args.u32() != 0) // not a call
        return std::nullopt;
    if (call.args.u32() != 2) { // RPC version 2 only: denied, with the versions supported
        QByteArray out;
        put(out, call.xid);
        put(out, 1);
        put(out, 1);
        put(out, 0);
        put(out, 2);
        put(out, 2);
        return out;
    }
    quint32 const program = call.args.u32();
    quint32 const version = call.args.u32();
    quint32 const procedure = call.args.u32();
    call.args.u32();
    call.args.opaque(); // credentials
    call.args.u32();
    call.args.opaque(); // verifier
    if (!call.args.ok())
        return std::nullopt;

    quint32 low = 1;
    quint32 high = 1;
    if (program == kPortmapperProgram) {
        low = 2;
        high = 4;
    } else if ((program != kCoreProgram && program != kAbortProgram) || !socket) {
        return call.header(kProgramUnavailable); // the device's channels are on TCP only
    }
    if (version < low || version > high) {
        QByteArray out = call.header(kProgramMismatch);
        put(out, low);
        put(out, high);
        return out;
    }
    std::optional<QByteArray> reply;
    if (program == kPortmapperProgram)
        reply = portmapper(call, version, procedure, local);
    else if (program == kCoreProgram)
        reply = core(call, procedure, socket);
    else
        reply = abortChannel(call, procedure);
    if (reply && !call.args.ok())
        return call.header(kGarbageArguments);
    return reply;
}

std::optional<QByteArray> Vxi11Server::portmapper(Call& call, quint32 version, quint32 procedure,
                                                  QHostAddress const& local)
{
    if (procedure == 0)
        return call.header(); // the null procedure: a ping
    bool const getAddress
        = procedure == 3 || (version == 4 && procedure == 9); // GETPORT, GETADDR, GETVERSADDR
    if (!getAddress)
        return call.header(kProcedureUnavailable);
    quint32 const program = call.args.u32();
    quint32 const programVersion = call.args.u32();
    bool const served = (program == kCoreProgram || program == kAbortProgram) && programVersion == 1;
    QByteArray out = call.header();
    if (version == 2) { // mapping: program, version, protocol, port
        bool const tcp = call.args.u32() == kIpProtoTcp;
        put(out, served && tcp ? corePort() : 0);
        return out;
    }
    // rpcb: program, version, netid, address, owner; the answer a universal address "h1.h2.h3.h4.p1.p2"
    bool const tcp = call.args.opaque().startsWith("tcp");
    QHostAddress host = m_bind;
    if (host == QHostAddress::Any || host == QHostAddress::AnyIPv4 || host == QHostAddress::AnyIPv6)
        host = local.isNull() ? QHostAddress(QHostAddress::LocalHost) : local;
    quint16 const port = corePort();
    putOpaque(out,
              served && tcp
                  ? QStringLiteral("%1.%2.%3").arg(host.toString()).arg(port >> 8).arg(port & 0xFF).toLatin1()
                  : QByteArray());
    return out;
}

Vxi11Server::Link* Vxi11Server::link(qint32 id) const
{
    return m_links.value(id);
}

bool Vxi11Server::mayUse(qint32 id) const
{
    return m_lockHolder == 0 || m_lockHolder == id;
}

void Vxi11Server::destroyLink(qint32 id)
{
    if (m_lockHolder == id)
        m_lockHolder = 0;
    delete m_links.take(id);
}

std::optional<QByteArray> Vxi11Server::core(Call& call, quint32 procedure, QTcpSocket* socket)
{
    if (procedure == 10) { // create_link(clientId, lockDevice, lock_timeout, device)
        call.args.i32();
        bool const lock = call.args.u32() != 0;
        call.args.u32();
        QByteArray const device = call.args.opaque();
        if (!call.args.ok())
            return call.header(kGarbageArguments);
        qint32 error = 0;
        qint32 id = 0;
        if (device.compare("inst0", Qt::CaseInsensitive) != 0) {
            error = kDeviceNotAccessible;
        } else if (lock && m_lockHolder != 0) {
            error = kLocked;
        } else {
            id = m_nextLink++;
            auto* link = new Link(id, socket, this);
            if (link->connectUnit(m_unitAddress, m_unitPort)) {
                m_links.insert(id, link);
                if (lock)
                    m_lockHolder = id;
            } else {
                delete link;
                error = kDeviceNotAccessible;
                id = 0;
            }
        }
        QByteArray out = call.header();
        put(out, quint32(error));
        put(out, quint32(id));
        put(out, error ? 0 : corePort()); // the abort channel shares the core's port
        put(out, error ? 0 : kMaxReceiveSize);
        return out;
    }

    qint32 const id = call.args.i32();
    Link* const target = link(id);
    if (procedure == 12) { // device_read(lid, requestSize, io_timeout, lock_timeout, flags, termChar)
        quint32 const size = call.args.u32();
        quint32 const ioTimeout = call.args.u32();
        call.args.u32();
        qint32 const flags = call.args.i32();
        qint32 const termChar = call.args.i32() & 0xFF;
        if (!call.args.ok())
            return call.header(kGarbageArguments);
        if (!target || !mayUse(id))
            return readReply(call.header(), target ? kLocked : kInvalidLink, 0, {});
        target->read(socket, call.header(), size, ioTimeout, flags & kFlagTermChar ? termChar : -1);
        return std::nullopt;
    }
    if (procedure == 11) { // device_write(lid, io_timeout, lock_timeout, flags, data)
        call.args.u32();
        call.args.u32();
        qint32 const flags = call.args.i32();
        QByteArray const data = call.args.opaque();
        if (!call.args.ok())
            return call.header(kGarbageArguments);
        qint32 error = 0;
        if (!target)
            error = kInvalidLink;
        else if (!mayUse(id))
            error = kLocked;
        // The unit closed the connection (a fault it was told to inject): a new one for the next message.
        else if (!target->isConnected() && !target->connectUnit(m_unitAddress, m_unitPort))
            error = kIoError;
        if (error == 0)
            target->write(data, flags & kFlagEnd);
        QByteArray out = call.error(error);
        put(out, error ? 0 : quint32(data.size()));
        return out;
    }
    if (procedure == 23) { // destroy_link
        if (!target)
            return call.error(kInvalidLink);
        destroyLink(id);
        return call.error(0);
    }
    if (procedure == 19) { // device_unlock
        if (!target)
            return call.error(kInvalidLink);
        if (m_lockHolder != id)
            return call.error(kNoLockHeld);
        m_lockHolder = 0;
        return call.error(0);
    }
    if (procedure == 20 || procedure == 25 || procedure == 26) // SRQ and the interrupt channel
        return call.error(kNotSupported);
    if (procedure == 22) { // device_docmd
        QByteArray out = call.error(kNotSupported);
        putOpaque(out, {});
        return out;
    }
    if (procedure < 13 || procedure > 18)
        return call.header(kProcedureUnavailable);

    // The generic ones: lid, flags, lock_timeout, io_timeout; device_lock: lid, flags, lock_timeout.
    if (!target)
        return call.error(kInvalidLink);
    if (!mayUse(id))
        return call.error(kLocked);
    qint32 error = 0;
    switch (procedure) {
    case 13: { // device_readstb -> error, stb
        QByteArray out = call.error(0);
        put(out, target->hasAnswer() ? kStatusMessageAvailable : 0);
        return out;
    }
    case 15: // device_clear
        if (!target->clear(m_unitAddress, m_unitPort))
            error = kIoError;
        break;
    case 18: // device_lock
        m_lockHolder = id;
        break;
    default: // device_trigger, device_remote, device_local: nothing to do on this unit
        break;
    }
    return call.error(error);
}

std::optional<QByteArray> Vxi11Server::abortChannel(Call& call, quint32 procedure)
{
    if (procedure == 0)
        return call.header();
    if (procedure != 1) // device_abort(lid)
        return call.header(kProcedureUnavailable);
    Link* const target = link(call.args.i32());
    if (!target)
        return call.error(kInvalidLink);
    target->abortReads();
    return call.error(0);
}

} // namespace kvrsim
