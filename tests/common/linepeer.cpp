#include "tests/common/linepeer.h"

#include <QTcpSocket>

LinePeer::LinePeer(QObject* parent)
    : QObject(parent)
{
    m_responder = [](QString const& line) {
        if (line == QLatin1String("*IDN?"))
            return identity();
        return line.contains(QLatin1Char('?')) ? line + QStringLiteral("=ok") : QString();
    };
    connect(&m_server, &QTcpServer::newConnection, this, &LinePeer::onNewConnection);
    m_sendTimer.setSingleShot(true);
    m_sendTimer.setTimerType(Qt::PreciseTimer);
    connect(&m_sendTimer, &QTimer::timeout, this, &LinePeer::sendDue);
    m_clock.start();
}

void LinePeer::onNewConnection()
{
    while (QTcpSocket* socket = m_server.nextPendingConnection()) {
        ++m_connections;
        socket->setParent(this);
        socket->setSocketOption(QAbstractSocket::LowDelayOption, 1);
        connect(socket, &QTcpSocket::readyRead, this, [this, socket] { onReadyRead(socket); });
        connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
    }
}

void LinePeer::onReadyRead(QTcpSocket* socket)
{
    while (socket->canReadLine()) {
        // Only the terminator goes: a stray blank before it is what a test may look for.
        QString line = QString::fromUtf8(socket->readLine());
        while (line.endsWith(QLatin1Char('\n')) || line.endsWith(QLatin1Char('\r')))
            line.chop(1);
        m_lines.append(line);
        Q_EMIT lineReceived(line);
        QString const answer = m_responder(line);
        if (!answer.isNull()) {
            int const delay = m_delay ? m_delay(line) : 0;
            if (delay <= 0 && m_pending.empty())
                socket->write(answer.toUtf8() + '\n');
            else
                m_pending.push_back({m_clock.elapsed() + qMax(0, delay), socket, answer.toUtf8() + '\n'});
            if (!m_pending.empty() && !m_sendTimer.isActive())
                sendDue();
        }
        if (m_closeAfter > 0 && m_lines.size() >= m_closeAfter) {
            socket->flush();
            socket->disconnectFromHost();
            return;
        }
    }
}

void LinePeer::sendDue()
{
    qint64 const now = m_clock.elapsed();
    while (!m_pending.empty() && m_pending.front().due <= now) {
        if (m_pending.front().socket)
            m_pending.front().socket->write(m_pending.front().bytes);
        m_pending.pop_front();
    }
    if (!m_pending.empty())
        m_sendTimer.start(int(m_pending.front().due - now));
}
