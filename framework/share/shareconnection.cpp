#include "share/shareconnection.h"

#include <QRegularExpression>
#include <QTcpSocket>

#include <algorithm>

namespace zelt::share {

namespace {
bool isErrorQuery(QByteArray const& line)
{
    static QRegularExpression const pattern(QStringLiteral("^:?SYST(EM)?:ERR(OR)?(:NEXT)?\\?$"),
                                            QRegularExpression::CaseInsensitiveOption);
    return pattern.match(QLatin1String(line)).hasMatch();
}

bool isText(QByteArray const& line)
{
    return std::all_of(line.begin(), line.end(), [](char c) {
        auto const u = static_cast<unsigned char>(c);
        return (u >= 0x20 && u < 0x7f) || c == '\t';
    });
}
} // namespace

ShareConnection::ShareConnection(QTcpSocket* socket, zelt::measure::MeasureInst* queue, bool readOnly,
                                 QObject* parent)
    : QObject(parent)
    , m_socket(socket)
    , m_client(queue)
    , m_readOnly(readOnly)
{
    socket->setParent(this);
    socket->setSocketOption(QAbstractSocket::LowDelayOption, 1);
    // Bytes beyond this stay with the system, so a client that floods is held back by TCP.
    socket->setReadBufferSize(qint64(64) * 1024);
    connect(socket, &QTcpSocket::readyRead, this, &ShareConnection::readLines);
    // The client took answers: lines held back may go on.
    connect(socket, &QTcpSocket::bytesWritten, this, &ShareConnection::readLines);
    connect(socket, &QTcpSocket::disconnected, this, [this] { Q_EMIT finished(this); });
    connect(&m_client, &zelt::measure::QueryClient::answered, this, &ShareConnection::onAnswered);
    connect(&m_client, &zelt::measure::QueryClient::failed, this, &ShareConnection::onFailed);
}

ShareConnection::~ShareConnection() = default;

void ShareConnection::finish()
{
    if (m_socket && m_socket->state() != QAbstractSocket::UnconnectedState)
        m_socket->disconnectFromHost();
    else
        QMetaObject::invokeMethod(
            this, [this] { Q_EMIT finished(this); }, Qt::QueuedConnection);
}

bool ShareConnection::blocked() const
{
    return int(m_pending.size()) >= kMaxPending || (m_socket && m_socket->bytesToWrite() > kMaxUnread);
}

void ShareConnection::readLines()
{
    while (m_socket && !blocked()) {
        qint64 const available = m_socket->bytesAvailable();
        if (available <= 0)
            break;
        QByteArray const head = m_socket->peek(qMin<qint64>(available, kMaxLine + 2));
        qsizetype const end = head.indexOf('\n');
        if (end < 0) {
            if (head.size() <= kMaxLine)
                break; // the rest of the line is on its way
            m_socket->skip(head.size());
            if (!std::exchange(m_discarding, true))
                pushError(-223, "Too much data; a line is longer than 4096 bytes");
            continue;
        }
        QByteArray line = m_socket->read(end + 1);
        if (std::exchange(m_discarding, false))
            continue; // the end of an over-long line
        handle(std::move(line));
    }
}

void ShareConnection::handle(QByteArray line)
{
    line = line.trimmed();
    if (line.isEmpty())
        return;
    if (!isText(line)) {
        pushError(-101, "Invalid character");
        return;
    }
    bool const query = zelt::measure::QueryClient::isQuery(line);
    if (query && !m_errors.empty() && isErrorQuery(line)) {
        answerHere(m_errors.front());
        m_errors.pop_front();
        return;
    }
    if (!query && m_readOnly) {
        pushError(-203, "Command protected; this port is read-only");
        return;
    }
    quint64 const ticket = m_client.send(line, kQueryTimeMs);
    if (query)
        m_pending.push_back({ticket, false, {}});
}

void ShareConnection::answerHere(QByteArray answer)
{
    m_pending.push_back({0, true, std::move(answer)});
    flush();
}

void ShareConnection::onAnswered(quint64 ticket, QByteArray const& answer)
{
    auto it = std::find_if(m_pending.begin(), m_pending.end(),
                           [ticket](Pending const& p) { return p.ticket == ticket; });
    if (it == m_pending.end())
        return;
    it->done = true;
    it->answer = answer;
    flush();
}

void ShareConnection::onFailed(quint64 ticket, zelt::measure::QueryClient::Failure failure)
{
    using Failure = zelt::measure::QueryClient::Failure;
    QByteArray const text = zelt::measure::QueryClient::failureText(failure).toLatin1();
    if (failure == Failure::TimedOut)
        pushError(-365, "Time out error; " + text);
    else
        pushError(-300, "Device-specific error; " + text);
    auto it = std::find_if(m_pending.begin(), m_pending.end(),
                           [ticket](Pending const& p) { return p.ticket == ticket; });
    if (it == m_pending.end())
        return;
    // A failed query gets no answer line, as from an instrument that did not answer.
    it->done = true;
    flush();
}

void ShareConnection::flush()
{
    while (!m_pending.empty() && m_pending.front().done) {
        Pending const& front = m_pending.front();
        if (m_socket && !front.answer.isNull())
            m_socket->write(front.answer + '\n');
        m_pending.pop_front();
    }
    readLines();
}

void ShareConnection::pushError(int code, QByteArray const& text)
{
    QByteArray entry = QByteArray::number(code) + ",\"" + text + '"';
    if (int(m_errors.size()) >= kMaxErrors)
        m_errors.back() = "-350,\"Queue overflow\"";
    else
        m_errors.push_back(std::move(entry));
}

} // namespace zelt::share
