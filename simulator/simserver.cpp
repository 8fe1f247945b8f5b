#include "simulator/simserver.h"

#include "simulator/kvrinstrument.h"
#include "simulator/kvrratings.h"
#include "simulator/simconnection.h"
#include "simulator/wallclock.h"

#include <QTcpServer>
#include <QTcpSocket>

namespace kvrsim {

SimServer::SimServer(QObject* parent)
    : QObject(parent)
    , m_wallClock(std::make_unique<WallClock>())
    , m_clock(m_wallClock.get())
{
    // An instrument exists from the start, so that instrument() is always valid.
    m_instrument
        = std::make_unique<KvrInstrument>(*KvrRatings::fromModel(m_options.model), m_clock, m_options.seed);
}

SimServer::~SimServer()
{
    stop();
}

bool SimServer::start(SimOptions const& options)
{
    stop();
    m_errorString.clear();
    std::optional<KvrRatings> const ratings = KvrRatings::fromModel(options.model);
    if (!ratings) {
        m_errorString = tr("Unknown model \"%1\": not of the KVR9000 family").arg(options.model);
        return false;
    }
    m_options = options;
    m_instrument = std::make_unique<KvrInstrument>(*ratings, m_clock, options.seed);
    m_instrument->setNoise(options.noise);
    m_instrument->setLoad(options.loadOhms);
    m_answerCount = 0;
    m_queryCount = 0;
    m_lateCount = 0;
    m_malformKind = 0;

    m_server = new QTcpServer(this);
    if (!m_server->listen(options.bind, options.port)) {
        m_errorString = tr("Cannot listen on %1:%2: %3")
                            .arg(options.bind.toString())
                            .arg(options.port)
                            .arg(m_server->errorString());
        delete m_server;
        m_server = nullptr;
        return false;
    }
    connect(m_server, &QTcpServer::newConnection, this, &SimServer::acceptConnections);
    return true;
}

void SimServer::stop()
{
    QList<SimConnection*> const connections = m_connections;
    m_connections.clear();
    for (SimConnection* connection : connections) {
        connection->disconnect(this);
        connection->abort();
        // Later: stop() may run inside a slot of this connection's own signal.
        connection->deleteLater();
    }
    if (m_server) {
        m_server->close();
        delete m_server;
        m_server = nullptr;
    }
}

bool SimServer::isListening() const
{
    return m_server && m_server->isListening();
}

quint16 SimServer::port() const
{
    return m_server ? m_server->serverPort() : 0;
}

QHostAddress SimServer::address() const
{
    return m_server ? m_server->serverAddress() : QHostAddress();
}

QString SimServer::resourceString() const
{
    QHostAddress host = address();
    // A client can't connect to the wildcard: it reaches that server through loopback.
    if (host == QHostAddress::Any || host == QHostAddress::AnyIPv4)
        host = QHostAddress::LocalHost;
    else if (host == QHostAddress::AnyIPv6)
        host = QHostAddress::LocalHostIPv6;
    return QStringLiteral("TCPIP0::%1::%2::SOCKET").arg(host.toString()).arg(port());
}

void SimServer::setClock(SimClock* clock)
{
    m_clock = clock ? clock : m_wallClock.get();
    m_instrument->setClock(m_clock);
}

void SimServer::setDropEvery(int n)
{
    m_options.dropEvery = n;
    m_answerCount = 0;
}

void SimServer::setMalformEvery(int n)
{
    m_options.malformEvery = n;
    m_queryCount = 0;
    m_malformKind = 0;
}

void SimServer::setLateEvery(int n, int msecs, QString const& match)
{
    m_options.lateEvery = n;
    m_options.lateMs = msecs;
    m_options.lateMatch = match;
    m_lateCount = 0;
}

void SimServer::setNoise(double fraction)
{
    m_options.noise = fraction;
    m_instrument->setNoise(fraction);
}

QStringList SimServer::receivedLines() const
{
    QStringList lines;
    lines.reserve(m_log.size());
    for (LogEntry const& entry : m_log)
        lines.append(entry.line);
    return lines;
}

void SimServer::acceptConnections()
{
    while (QTcpSocket* socket = m_server->nextPendingConnection()) {
        auto* connection = new SimConnection(socket, this);
        connect(connection, &SimConnection::lineReceived, this, &SimServer::handleLine);
        connect(connection, &SimConnection::closed, this, &SimServer::removeConnection);
        connect(connection, &SimConnection::answerSent, this, &SimServer::answerSent);
        m_connections.append(connection);
        Q_EMIT clientConnected();
    }
}

void SimServer::removeConnection(SimConnection* connection)
{
    if (!m_connections.removeOne(connection))
        return;
    connection->disconnect(this);
    connection->deleteLater();
    Q_EMIT clientDisconnected();
}

void SimServer::handleLine(SimConnection* connection, QString const& line)
{
    m_log.append(LogEntry {m_clock->nowMsecs(), line});
    if (m_logLimit > 0 && m_log.size() > m_logLimit)
        m_log.remove(0, m_log.size() - m_logLimit);
    Q_EMIT lineReceived(line);

    std::optional<QString> answer = m_instrument->handleLine(line);
    if (answer) {
        ++m_queryCount;
        ++m_answerCount;
        bool const drop = m_options.dropEvery > 0 && m_answerCount % m_options.dropEvery == 0;
        if (!drop) {
            if (m_options.malformEvery > 0 && m_queryCount % m_options.malformEvery == 0)
                answer = malformed(*answer);
            int latency = m_options.latencyMs;
            if (m_options.lateEvery > 0
                && (m_options.lateMatch.isEmpty()
                    || line.startsWith(m_options.lateMatch, Qt::CaseInsensitive))
                && ++m_lateCount % m_options.lateEvery == 0)
                latency += m_options.lateMs;
            connection->send(*answer, latency);
        }
    }
    if (m_options.closeAfterLines > 0 && connection->linesReceived() >= m_options.closeAfterLines)
        connection->close();
}

QString SimServer::malformed(QString const& answer)
{
    int const kind = m_malformKind;
    m_malformKind = (m_malformKind + 1) % 3;
    switch (kind) {
    case 0: {
        // A field too few, or one too many for a single value.
        qsizetype const comma = answer.lastIndexOf(QLatin1Char(','));
        return comma >= 0 ? answer.left(comma) : answer + QStringLiteral(",0");
    }
    case 1: {
        // Letters where the digits were.
        QString text = answer;
        bool changed = false;
        for (QChar& c : text) {
            if (c.isDigit()) {
                c = QChar(u'A' + (c.unicode() - u'0'));
                changed = true;
            }
        }
        return changed ? text : QStringLiteral("xyz");
    }
    default:
        return QString();
    }
}

} // namespace kvrsim
