#pragma once
// The simulated instrument over VXI-11 ("TCPIP::host::INSTR"): a portmapper (UDP and TCP,
// GETPORT and rpcbind's GETADDR) and the core and abort channels. Each link is relayed to the
// simulator's raw socket as a client of its own, so the unit behind it is the one every other
// transport reaches, and the simulator's log holds what VXI-11 clients sent.
//
// A write is relayed at once and a message ends at LF or at the END flag; a read waits up to
// its io_timeout for an answer and stops at END (the answer's LF), the term char or the
// requested size. device_clear empties the link's input and answer queues. A link that meets
// another's lock is refused at once rather than after lock_timeout.

#include <QByteArray>
#include <QHash>
#include <QHostAddress>
#include <QObject>
#include <QString>

#include <optional>

class QTcpServer;
class QTcpSocket;
class QUdpSocket;

namespace kvrsim {

class Vxi11Server : public QObject
{
    Q_OBJECT

public:
    static constexpr quint16 kPortmapperPort = 111;

    explicit Vxi11Server(QObject* parent = nullptr);
    ~Vxi11Server() override;

    // Listens on bind and relays each link to the raw socket at unitAddress:unitPort. The
    // portmapper takes port 111 where it can, else a free port (standardPortError() says why).
    // False, with errorString(), when no port can be bound. A running server is stopped first.
    bool start(QHostAddress const& bind, QHostAddress const& unitAddress, quint16 unitPort);
    void stop();

    QHostAddress address() const { return m_bind; }
    quint16 portmapperPort() const;
    quint16 corePort() const;
    // Why port 111 was not taken; empty when it was.
    QString standardPortError() const { return m_standardPortError; }
    QString errorString() const { return m_errorString; }
    // TCPIP::<address>::INSTR
    QString resourceString() const;
    int linkCount() const { return int(m_links.size()); }

private:
    class Link;
    struct Call;

    bool listen(quint16 port);
    void acceptConnections(QTcpServer* server);
    void readRecords(QTcpSocket* socket);
    void readDatagrams();
    // The whole reply to one call, or nullopt when none goes out now.
    std::optional<QByteArray> call(QByteArray const& message, QTcpSocket* socket, QHostAddress const& local);
    std::optional<QByteArray> portmapper(Call& call, quint32 version, quint32 procedure,
                                         QHostAddress const& local);
    std::optional<QByteArray> core(Call& call, quint32 procedure, QTcpSocket* socket);
    std::optional<QByteArray> abortChannel(Call& call, quint32 procedure);
    Link* link(qint32 id) const;
    // The link's operation may go ahead, as far as locks are concerned.
    bool mayUse(qint32 id) const;
    void destroyLink(qint32 id);
    void closeConnection(QTcpSocket* socket);

    QHostAddress m_bind;
    QHostAddress m_unitAddress;
    quint16 m_unitPort = 0;
    QUdpSocket* m_udp = nullptr;
    QTcpServer* m_portmapper = nullptr;
    QTcpServer* m_core = nullptr;
    QHash<QTcpSocket*, QByteArray> m_buffers;
    QHash<qint32, Link*> m_links;
    qint32 m_nextLink = 1;
    qint32 m_lockHolder = 0;
    QString m_standardPortError;
    QString m_errorString;
};

} // namespace kvrsim
