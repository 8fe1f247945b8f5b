#include "measure/io/visa/messageio.h"

#include "measure/io/visa/messagelink.h"

#include <QCoreApplication>
#include <QThread>
#include <QTimer>

#include <utility>

namespace zelt::measure::io::visa {

// Lives on the worker thread; every slot runs one blocking call of the link.
class MessageWorker : public QObject
{
    Q_OBJECT
public:
    MessageWorker(std::unique_ptr<MessageLink> link, int timeoutMs)
        : m_link(std::move(link))
        , m_timeout(timeoutMs)
    {
    }
    ~MessageWorker() override { m_link->close(); }

    void open()
    {
        LinkFailure failure;
        if (m_link->open(m_timeout, failure)) {
            m_open = true;
            Q_EMIT opened(m_link->canClear());
        } else {
            // A link that was never open has lost nothing: its device did not answer.
            Q_EMIT failed(failure.kind == LinkError::Lost ? LinkError::Refused : failure.kind, failure.cause,
                          false);
        }
    }

    void write(QByteArray const& data)
    {
        if (!m_open)
            return;
        bool const query = isQuery(data);
        LinkFailure failure;
        if (query && m_behind && !catchUp(failure)) {
            lose(failure);
            return;
        }
        if (!m_link->write(data, m_timeout, failure)) {
            lose(failure);
            return;
        }
        if (!query)
            return;
        m_answer.clear();
        switch (m_link->read(m_answer, m_timeout, failure)) {
        case MessageLink::ReadResult::Data:
            if (!m_answer.endsWith('\n'))
                m_answer.append('\n');
            Q_EMIT received(m_answer);
            break;
        case MessageLink::ReadResult::Timeout:
            // The queue's own time-out deals with the word; the answer may still
            // come, and must not be read as the next query's.
            m_behind = true;
            break;
        case MessageLink::ReadResult::Failed:
            lose(failure);
            break;
        }
    }

    void clear()
    {
        LinkFailure failure;
        if (m_open && !m_link->clear(m_timeout, failure))
            lose(failure);
    }

    // Closes the link and ends the thread; the worker goes with it.
    void finish()
    {
        m_open = false;
        m_link->close();
        QThread::currentThread()->quit();
    }

Q_SIGNALS:
    void opened(bool canClear);
    void received(QByteArray const& data);
    void failed(zelt::measure::io::LinkError kind, QString const& cause, bool wasOpen);

private:
    // A SCPI query has its '?' in the header, before any parameter:
    // ":MEASure:ALL?", "LIST? 1,2"; a '?' inside a parameter does not count.
    static bool isQuery(QByteArray const& line)
    {
        qsizetype const space = line.indexOf(' ');
        qsizetype const mark = line.indexOf('?');
        return mark >= 0 && (space < 0 || mark < space);
    }

    // Rids the link of an answer that came after its read gave up: a device
    // clear where the transport has one, else whatever arrives within a moment.
    bool catchUp(LinkFailure& failure)
    {
        m_behind = false;
        if (m_link->canClear())
            return m_link->clear(m_timeout, failure);
        for (int i = 0; i < kMaxStale; ++i) {
            m_answer.clear();
            switch (m_link->read(m_answer, kStaleWaitMs, failure)) {
            case MessageLink::ReadResult::Data:
                continue;
            case MessageLink::ReadResult::Timeout:
                return true;
            case MessageLink::ReadResult::Failed:
                return false;
            }
        }
        return true;
    }

    static constexpr int kMaxStale = 16;
    static constexpr int kStaleWaitMs = 20;

    void lose(LinkFailure const& failure)
    {
        m_open = false;
        m_link->close();
        // Whatever ends an open link without a better name has lost it.
        Q_EMIT failed(failure.kind == LinkError::Other ? LinkError::Lost : failure.kind, failure.cause, true);
    }

    std::unique_ptr<MessageLink> m_link;
    int m_timeout;
    QByteArray m_answer;
    bool m_open = false;
    // A read gave up while its answer may still come.
    bool m_behind = false;
};

namespace {

// Long enough for an idle worker to close its link, short enough not to be felt.
constexpr unsigned long kJoinMs = 20;

} // namespace

MessageIO::MessageIO(QString resource, LinkFactory makeLink, int timeoutMs, QObject* parent)
    : AbstractIO(parent)
    , m_resource(std::move(resource))
    , m_makeLink(std::move(makeLink))
    , m_timeout(timeoutMs)
    , m_connectTimer(new QTimer(this))
{
    m_connectTimer->setSingleShot(true);
    m_connectTimer->setTimerType(Qt::PreciseTimer);
    connect(m_connectTimer, &QTimer::timeout, this, &MessageIO::onConnectTimeout);
}

MessageIO::~MessageIO()
{
    QThread* thread = m_thread;
    dropWorker();
    if (thread && thread->wait(kJoinMs)) {
        thread->disconnect();
        delete thread;
    }
}

bool MessageIO::open()
{
    dropWorker();
    setError(LinkError::None, {});
    m_thread = new QThread;
    m_thread->setObjectName(QStringLiteral("VISA I/O"));
    m_worker = new MessageWorker(m_makeLink(), m_timeout);
    m_worker->moveToThread(m_thread);
    // The worker goes when its thread ends, on that thread.
    connect(m_thread, &QThread::finished, m_worker, &QObject::deleteLater);
    connect(m_worker, &MessageWorker::opened, this, &MessageIO::onOpened);
    connect(m_worker, &MessageWorker::received, this, &MessageIO::onReceived);
    connect(m_worker, &MessageWorker::failed, this, &MessageIO::onFailed);
    m_thread->start();
    m_connectTimer->start(m_timeout);
    QMetaObject::invokeMethod(m_worker, &MessageWorker::open, Qt::QueuedConnection);
    return true;
}

void MessageIO::close()
{
    // The worker finishes the writes already handed to it before it closes.
    dropWorker();
}

void MessageIO::abort()
{
    dropWorker();
}

bool MessageIO::write(QByteArray const& data)
{
    if (!m_open)
        return false;
    MessageWorker* worker = m_worker;
    QMetaObject::invokeMethod(
        worker, [worker, data] { worker->write(data); }, Qt::QueuedConnection);
    return true;
}

bool MessageIO::deviceClear()
{
    if (!m_open || !m_canClear)
        return false;
    QMetaObject::invokeMethod(m_worker, &MessageWorker::clear, Qt::QueuedConnection);
    return true;
}

void MessageIO::dropWorker()
{
    m_connectTimer->stop();
    m_open = false;
    m_canClear = false;
    if (!m_worker)
        return;
    MessageWorker* worker = std::exchange(m_worker, nullptr);
    QThread* thread = std::exchange(m_thread, nullptr);
    worker->disconnect(this);
    QCoreApplication::removePostedEvents(this, QEvent::MetaCall);
    // A worker still inside a blocking call gets to finish when the call returns;
    // nobody waits for it here.
    connect(thread, &QThread::finished, thread, &QObject::deleteLater);
    QMetaObject::invokeMethod(worker, &MessageWorker::finish, Qt::QueuedConnection);
}

void MessageIO::onOpened(bool canClear)
{
    // A report from a worker that has been dropped meanwhile is stale.
    if (sender() != m_worker)
        return;
    m_connectTimer->stop();
    m_open = true;
    m_canClear = canClear;
    Q_EMIT opened();
}

void MessageIO::onReceived(QByteArray const& data)
{
    if (m_open && sender() == m_worker)
        deliver(data);
}

void MessageIO::onFailed(LinkError kind, QString const& cause, bool wasOpen)
{
    if (sender() != m_worker)
        return;
    QString const message = wasOpen ? tr("Connection to %1 lost: %2").arg(m_resource, cause)
                                    : tr("Cannot connect to %1: %2").arg(m_resource, cause);
    dropWorker();
    setError(kind, message);
    Q_EMIT errorOccurred(message);
    if (wasOpen)
        Q_EMIT closed();
}

void MessageIO::onConnectTimeout()
{
    if (!m_worker || m_open)
        return;
    QString const message
        = tr("Cannot connect to %1: no answer within %2 ms.").arg(m_resource).arg(m_timeout);
    dropWorker();
    setError(LinkError::TimedOut, message);
    Q_EMIT errorOccurred(message);
}

} // namespace zelt::measure::io::visa

#include "messageio.moc"
