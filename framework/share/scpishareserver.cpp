#include "share/scpishareserver.h"

#include "measure/measureinst.h"
#include "share/shareconnection.h"

#include <QTcpSocket>

namespace zelt::share {

ScpiShareServer::ScpiShareServer(zelt::measure::MeasureInst* queue, QObject* parent)
    : QObject(parent)
    , m_queue(queue)
    , m_server(this)
{
    connect(&m_server, &QTcpServer::newConnection, this, &ScpiShareServer::onNewConnection);
    if (queue)
        connect(queue, &zelt::measure::MeasureInst::stoped, this, &ScpiShareServer::endConnections);
}

ScpiShareServer::~ScpiShareServer()
{
    m_server.close();
    // The connections go with this object; their sockets close as they are destroyed.
}

bool ScpiShareServer::listen(quint16 port, bool readOnly)
{
    close();
    m_readOnly = readOnly;
    m_error.clear();
    // Loopback only: the port gives whoever reaches it the instrument.
    if (!m_server.listen(QHostAddress::LocalHost, port)) {
        m_error = tr("Cannot share on port %1: %2").arg(port).arg(m_server.errorString());
        return false;
    }
    return true;
}

void ScpiShareServer::close()
{
    m_server.close();
    endConnections();
}

void ScpiShareServer::onNewConnection()
{
    while (QTcpSocket* socket = m_server.nextPendingConnection()) {
        if (!m_queue || !m_queue->isActive()) {
            connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
            socket->disconnectFromHost();
            continue;
        }
        auto* connection = new ShareConnection(socket, m_queue, m_readOnly, this);
        m_connections.append(connection);
        connect(connection, &ShareConnection::finished, this, [this](ShareConnection* ended) {
            if (m_connections.removeAll(ended) > 0) {
                ended->deleteLater();
                Q_EMIT connectionsChanged(int(m_connections.size()));
            }
        });
        Q_EMIT connectionsChanged(int(m_connections.size()));
    }
}

void ScpiShareServer::endConnections()
{
    for (ShareConnection* connection : QList<ShareConnection*>(m_connections))
        connection->finish();
}

} // namespace zelt::share
