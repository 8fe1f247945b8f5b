#pragma once
// A scripted instrument on loopback for tests: records every line it receives
// and answers queries the way the test sets it up.

#include <QElapsedTimer>
#include <QPointer>
#include <QStringList>
#include <QTcpServer>
#include <QTimer>

#include <deque>
#include <functional>

class QTcpSocket;

class LinePeer : public QObject
{
    Q_OBJECT
public:
    // Given a received line, returns the answer to send (without the final LF),
    // or a null string to stay silent. By default "*IDN?" is answered with identity() and every
    // other query "<line>=ok".
    using Responder = std::function<QString(QString const& line)>;
    // How many milliseconds the answer to a line is held back. Answers leave in the order of
    // their queries, so those behind a late one wait for it, as on a busy instrument.
    using Delay = std::function<int(QString const& line)>;

    explicit LinePeer(QObject* parent = nullptr);

    bool listen() { return m_server.listen(QHostAddress::LocalHost); }
    quint16 port() const { return m_server.serverPort(); }
    QString resource() const { return QStringLiteral("TCPIP0::127.0.0.1::%1::SOCKET").arg(port()); }

    void setResponder(Responder responder) { m_responder = std::move(responder); }
    void setDelay(Delay delay) { m_delay = std::move(delay); }
    static QString identity() { return QStringLiteral("ZELT,LINEPEER,0,1.0"); }
    // Closes the connection once this many lines have been received (0: never).
    void setCloseAfter(int lines) { m_closeAfter = lines; }

    QStringList const& lines() const { return m_lines; }
    void clearLines() { m_lines.clear(); }
    int connections() const { return m_connections; }
    void stopListening() { m_server.close(); }

Q_SIGNALS:
    void lineReceived(QString const& line);

private:
    void onNewConnection();
    void onReadyRead(QTcpSocket* socket);
    void sendDue();

    struct Pending
    {
        qint64 due;
        QPointer<QTcpSocket> socket;
        QByteArray bytes;
    };

    QTcpServer m_server;
    Responder m_responder;
    Delay m_delay;
    std::deque<Pending> m_pending;
    QTimer m_sendTimer;
    QElapsedTimer m_clock;
    QStringList m_lines;
    int m_closeAfter = 0;
    int m_connections = 0;
};
