#pragma once
// A scripted instrument on loopback for tests: records every line it receives
// and answers queries the way the test sets it up.

#include <QStringList>
#include <QTcpServer>

#include <functional>

class QTcpSocket;

class LinePeer : public QObject
{
    Q_OBJECT
public:
    // Given a received line, returns the answer to send (without the final LF),
    // or a null string to stay silent. By default every query is answered "<line>=ok".
    using Responder = std::function<QString(QString const& line)>;

    explicit LinePeer(QObject* parent = nullptr);

    bool listen(quint16 port = 0);
    quint16 port() const { return m_server.serverPort(); }
    QString resource() const;

    void setResponder(Responder responder) { m_responder = std::move(responder); }
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

    QTcpServer m_server;
    Responder m_responder;
    QStringList m_lines;
    int m_closeAfter = 0;
    int m_connections = 0;
};
