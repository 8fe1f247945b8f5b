#pragma once
// A raw SCPI port on 127.0.0.1 for scripts (PyVISA's TCPIP::127.0.0.1::PORT::SOCKET,
// lxi scpi --raw), through the window's own queue: the window keeps polling, each
// client gets its own answers. Off until listen(); a read-only port takes queries
// only. Every connection ends when the run stops (the window closes or the link is
// lost); while the instrument is not polling, new connections are closed at once.

#include "measure/measureinst.h"
#include "share/zelt_share_export.h"

#include <QList>
#include <QObject>
#include <QPointer>
#include <QString>
#include <QTcpServer>

namespace zelt::share {

class ShareConnection;

class ZELT_SHARE_EXPORT ScpiShareServer : public QObject
{
    Q_OBJECT
public:
    explicit ScpiShareServer(zelt::measure::MeasureInst* queue, QObject* parent = nullptr);
    ~ScpiShareServer() override;

    // Listens on 127.0.0.1 and port (0: a free one). False with errorString().
    bool listen(quint16 port, bool readOnly);
    // Stops listening and ends every connection.
    void close();
    bool isListening() const { return m_server.isListening(); }
    quint16 port() const { return m_server.serverPort(); }
    bool readOnly() const { return m_readOnly; }
    int connectionCount() const { return int(m_connections.size()); }
    QString errorString() const { return m_error; }

Q_SIGNALS:
    void connectionsChanged(int count);

private:
    void onNewConnection();
    void endConnections();

    QPointer<zelt::measure::MeasureInst> m_queue;
    QTcpServer m_server;
    QList<ShareConnection*> m_connections;
    bool m_readOnly = false;
    QString m_error;
};

} // namespace zelt::share
