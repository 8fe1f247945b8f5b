#pragma once
// A small VXI-11 instrument server for the tests: a portmapper on 127.0.0.1:111
// (UDP and TCP, version 2 GETPORT and versions 3/4 GETADDR) and the core channel
// on a free port, passing each written line to a handler and keeping its answer
// for the next device_read. Or, when silent, a portmapper that never answers.

#include <QByteArray>
#include <QHash>
#include <QObject>
#include <QStringList>

#include <functional>
#include <optional>

class QTcpServer;
class QTcpSocket;
class QUdpSocket;

class Vxi11TestServer : public QObject
{
    Q_OBJECT
public:
    using Handler = std::function<std::optional<QString>(QString const& line)>;

    explicit Vxi11TestServer(QObject* parent = nullptr);

    // False with errorString() when port 111 cannot be bound (another portmapper, or no right to it).
    bool start(Handler handler, bool silent = false);
    QString errorString() const { return m_error; }

    QStringList receivedLines() const { return m_lines; }
    int clears() const { return m_clears; }

private:
    void accept(QTcpServer* server);
    void readUdp();
    void readRecords(QTcpSocket* socket);
    // The reply's results for one call, or nullopt to send none.
    std::optional<QByteArray> call(QByteArray const& message);
    std::optional<QByteArray> portmap(quint32 version, quint32 procedure, QByteArray const& args, int at);
    std::optional<QByteArray> core(quint32 procedure, QByteArray const& args, int at);

    Handler m_handler;
    bool m_silent = false;
    QUdpSocket* m_udp = nullptr;
    QTcpServer* m_portmapper = nullptr;
    QTcpServer* m_core = nullptr;
    QHash<QTcpSocket*, QByteArray> m_buffers;
    QStringList m_answers;
    QStringList m_lines;
    int m_clears = 0;
    QString m_error;
};
