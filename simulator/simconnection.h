#pragma once
// One client of the simulator: cuts the received bytes into lines and sends the answers back in
// order, each after the latency that was in force when it was queued.

#include <QByteArray>
#include <QElapsedTimer>
#include <QObject>
#include <QString>

#include <deque>

class QTcpSocket;
class QTimer;

namespace kvrsim {

class SimConnection : public QObject
{
    Q_OBJECT

public:
    // Takes the socket over.
    SimConnection(QTcpSocket* socket, QObject* parent = nullptr);

    // Sends one answer line (the LF is added).
    void send(QString const& line, int latencyMs);
    // Closes once what was written has gone out; answers still waiting for their latency are dropped.
    void close();
    // Drops the connection at once, unsent answers included.
    void abort();
    int linesReceived() const { return m_linesReceived; }
    bool isClosing() const { return m_closing; }

Q_SIGNALS:
    void lineReceived(kvrsim::SimConnection* connection, QString const& line);
    void closed(kvrsim::SimConnection* connection);
    // An answer line has gone out, after whatever latency held it back.
    void answerSent();

private:
    void readLines();
    void sendDue();
    void write(QByteArray const& bytes);

    struct Pending
    {
        qint64 due;
        QByteArray bytes;
    };

    QTcpSocket* m_socket;
    QTimer* m_timer;
    QElapsedTimer m_elapsed;
    QByteArray m_buffer;
    std::deque<Pending> m_pending;
    int m_linesReceived = 0;
    bool m_closing = false;
};

} // namespace kvrsim
