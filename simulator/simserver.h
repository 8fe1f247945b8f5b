#pragma once
// The simulated KVR9000 on a raw TCP socket: one instrument shared by any number of clients, with
// an injectable clock, answer latency, fault injection and a log of every line received.
// It lives on the thread that makes it and needs only that thread's event loop.

#include "simulator/simoptions.h"

#include <QHostAddress>
#include <QList>
#include <QObject>
#include <QString>
#include <QStringList>

#include <memory>

class QTcpServer;

namespace kvrsim {

class KvrInstrument;
class SimClock;
class SimConnection;
class WallClock;

class SimServer : public QObject
{
    Q_OBJECT

public:
    struct LogEntry
    {
        qint64 msecs; // on the server's clock
        QString line;
    };

    explicit SimServer(QObject* parent = nullptr);
    ~SimServer() override;

    // Makes a fresh instrument of the model and listens. False, with errorString(), for a model
    // outside the family or an address that can't be bound. A running server is stopped first.
    bool start(SimOptions const& options);
    void stop();
    bool isListening() const;

    quint16 port() const;
    QHostAddress address() const;
    // TCPIP0::<address>::<port>::SOCKET
    QString resourceString() const;
    QString errorString() const { return m_errorString; }
    SimOptions const& options() const { return m_options; }
    int connectionCount() const { return int(m_connections.size()); }

    // The instrument is replaced by start(): references taken before it go stale.
    KvrInstrument& instrument() { return *m_instrument; }

    // A clock of the caller's, which must outlive its use here; null returns to the wall clock.
    void setClock(SimClock* clock);
    SimClock* clock() const { return m_clock; }

    void setLatency(int msecs) { m_options.latencyMs = msecs; }
    void setDropEvery(int n);
    void setMalformEvery(int n);
    // One answer in n comes msecs late; with match, one in n of the queries that begin with it.
    void setLateEvery(int n, int msecs, QString const& match = QString());
    void setCloseAfterLines(int n) { m_options.closeAfterLines = n; }
    void setNoise(double fraction);

    QList<LogEntry> log() const { return m_log; }
    QStringList receivedLines() const;
    void clearLog() { m_log.clear(); }
    // The log keeps the newest entries up to this count; a long session would otherwise grow without end.
    void setLogLimit(int entries) { m_logLimit = entries; }

Q_SIGNALS:
    void lineReceived(QString const& line);
    // An answer has gone out to a client: the moment the client may go on.
    void answerSent();
    void clientConnected();
    void clientDisconnected();

private:
    void acceptConnections();
    void handleLine(SimConnection* connection, QString const& line);
    void removeConnection(SimConnection* connection);
    QString malformed(QString const& answer);

    SimOptions m_options;
    std::unique_ptr<WallClock> m_wallClock;
    SimClock* m_clock;
    std::unique_ptr<KvrInstrument> m_instrument;
    QTcpServer* m_server = nullptr;
    QList<SimConnection*> m_connections;
    QString m_errorString;
    QList<LogEntry> m_log;
    int m_logLimit = 100000;
    qint64 m_answerCount = 0;
    qint64 m_queryCount = 0;
    qint64 m_lateCount = 0;
    int m_malformKind = 0;
};

} // namespace kvrsim
