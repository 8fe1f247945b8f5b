#include "measure/measureinst.h"

#include "measure/io/abstractio.h"
#include "measure/queryclient.h"
#include "util/code.h"

#include <algorithm>

namespace zelt::measure {

namespace {
// A time-out is noticed within this many milliseconds of its deadline. One
// periodic check replaces a timer per word, which would be re-registered with
// the event dispatcher for every query of the ring.
constexpr int kWatchdogTick = 10;
// A peer that never ends a line must not grow the buffer without bound.
constexpr qsizetype kMaxBuffer = 1 << 20;
// Mandatory on every SCPI instrument, and answered in a shape no reading has.
constexpr char kBarrierQuery[] = "*IDN?";
} // namespace

MeasureInst::MeasureInst(QSharedPointer<io::AbstractIO> io, bool closeIoOnStop, QObject* parent)
    : Instrument(parent)
    , m_io(std::move(io))
    , m_closeIoOnStop(closeIoOnStop)
    , m_nextTimer(this)
    , m_watchdog(this)
    , m_errorKind(io::LinkError::None)
{
    m_nextTimer.setSingleShot(true);
    connect(&m_nextTimer, &QTimer::timeout, this, [this] {
        m_nextDue = false;
        dispatch();
    });
    m_watchdog.setInterval(kWatchdogTick);
    connect(&m_watchdog, &QTimer::timeout, this, &MeasureInst::onWatchdog);

    if (m_io) {
        connect(m_io.data(), &io::AbstractIO::opened, this, &MeasureInst::onOpened);
        connect(m_io.data(), &io::AbstractIO::closed, this, &MeasureInst::onClosed);
        connect(m_io.data(), &io::AbstractIO::errorOccurred, this, &MeasureInst::onIoError);
        connect(m_io.data(), &io::AbstractIO::dataReceived, this, &MeasureInst::onData);
    }
}

MeasureInst::~MeasureInst()
{
    if (m_io) {
        m_io->disconnect(this);
        if (m_state != State::Idle && m_closeIoOnStop)
            m_io->abort();
    }
}

bool MeasureInst::open()
{
    if (m_state != State::Idle)
        return false;

    clearRun();
    m_ring = initCommand();
    m_errorString.clear();
    m_errorKind = io::LinkError::None;
    m_state = State::Opening;

    if (!m_io) {
        m_errorString = tr("No I/O channel to open.");
        m_errorKind = io::LinkError::InvalidResource;
        beginStop(int(QueryClient::Failure::Stopped));
        return false;
    }
    if (m_io->isOpen()) {
        // The channel stayed open from an earlier run.
        QMetaObject::invokeMethod(this, &MeasureInst::onOpened, Qt::QueuedConnection);
        return true;
    }
    // On failure the channel reports the reason through errorOccurred(), which ends the attempt.
    return m_io->open();
}

bool MeasureInst::close()
{
    return close(false);
}

bool MeasureInst::close(bool drain)
{
    switch (m_state) {
    case State::Idle:
        return false;
    case State::Closing:
    case State::Draining:
        return true;
    case State::Opening:
        m_io->abort();
        beginStop(int(QueryClient::Failure::Stopped));
        return true;
    case State::Running:
        if (drain && (m_awaiting || !m_fifo.empty())) {
            m_state = State::Draining;
            m_ring.clear();
            m_ringPos = 0;
            return true;
        }
        if (m_closeIoOnStop)
            m_io->close();
        beginStop(int(QueryClient::Failure::Stopped));
        return true;
    }
    return false;
}

void MeasureInst::closeForce()
{
    if (m_state == State::Idle || m_state == State::Closing)
        return;
    if (m_io)
        m_io->abort();
    beginStop(int(QueryClient::Failure::Stopped));
}

QList<QSharedPointer<WordBox>> MeasureInst::initCommand()
{
    return {};
}

void MeasureInst::processWord(QSharedPointer<util::Word> const& word)
{
    if (!word || !word->code())
        return;
    m_io->write(word->code()->frame());
    if (!word->needResponse())
        Q_EMIT settingWritten(word);
}

io::LinkError MeasureInst::errorKind() const
{
    return m_errorKind;
}

bool MeasureInst::submit(QueryClient* client, quint64 ticket, QByteArray const& line, int milliseconds,
                         bool next)
{
    if (m_state != State::Running)
        return false;
    Entry entry {makeWord(QString::fromUtf8(line), milliseconds), client, ticket, !next};
    if (next)
        m_fifo.push_front(std::move(entry));
    else
        m_fifo.push_back(std::move(entry));
    if (!m_awaiting)
        scheduleNext();
    return true;
}

void MeasureInst::forget(QueryClient* client)
{
    m_fifo.erase(std::remove_if(m_fifo.begin(), m_fifo.end(),
                                [client](Entry const& entry) { return entry.client == client; }),
                 m_fifo.end());
    // The answer of its word in flight is still taken off the line, and dropped.
    if (m_currentClient == client)
        m_currentClient = nullptr;
}

void MeasureInst::failClients(int reason)
{
    // Taken out first: a receiver may call back into the queue.
    std::vector<Entry> failed;
    if (m_clientCurrent && m_currentClient)
        failed.push_back({m_current, m_currentClient, m_currentTicket});
    m_clientCurrent = false;
    m_currentClient = nullptr;
    for (auto it = m_fifo.begin(); it != m_fifo.end();) {
        if (it->client) {
            failed.push_back(std::move(*it));
            it = m_fifo.erase(it);
        } else {
            ++it;
        }
    }
    for (Entry const& entry : failed) {
        entry.client->end();
        Q_EMIT entry.client->failed(entry.ticket, QueryClient::Failure(reason));
    }
}

bool MeasureInst::pickFrame(QByteArray& buffer, QByteArray& frame)
{
    qsizetype const end = buffer.indexOf('\n');
    if (end < 0) {
        if (buffer.size() > kMaxBuffer)
            buffer.clear();
        return false;
    }
    if (end == buffer.size() - 1) {
        // The usual case, one whole line: hand the bytes over without copying them. The
        // buffer keeps the last frame's storage in return, so that answer after answer
        // goes back and forth between two buffers and none is allocated.
        frame.swap(buffer);
        buffer.truncate(0);
    } else {
        frame = buffer.left(end + 1);
        buffer.remove(0, end + 1);
    }
    frame.chop(1);
    if (frame.endsWith('\r'))
        frame.chop(1);
    return true;
}

void MeasureInst::decodeFrame(QByteArray const& frame)
{
    Q_UNUSED(frame);
    respond();
}

void MeasureInst::processTimeout(QSharedPointer<util::Word> const& word)
{
    int const bound = int(m_deadline);
    m_awaiting = false;
    // A partial line of the unanswered word must not prefix the next answer.
    m_buffer.clear();
    Q_EMIT processError(word);
    // The receiver may have stopped the run.
    if (m_state == State::Running || m_state == State::Draining)
        sendBarrier(bound);
}

void MeasureInst::sendBarrier(int milliseconds)
{
    if (!m_barrier || m_barrier->time() != milliseconds)
        m_barrier = makeWord(QString::fromLatin1(kBarrierQuery), milliseconds);
    m_resyncing = true;
    ++m_barriersUnanswered;
    m_current = m_barrier;
    arm(milliseconds);
    m_io->write(m_barrier->code()->frame());
}

bool MeasureInst::isBarrierAnswer(QByteArray const& frame)
{
    // "<maker>,<model>,<serial>,<firmware>": a name first, then three more fields.
    qsizetype const first = frame.indexOf(',');
    if (first <= 0 || frame.count(',') < 3)
        return false;
    QByteArray const maker = frame.left(first).trimmed();
    if (maker.isEmpty())
        return false;
    bool number = false;
    maker.toDouble(&number);
    return !number;
}

QSharedPointer<util::Word> MeasureInst::makeWord(QString const& text, int time) const
{
    return QSharedPointer<util::Word>::create(QSharedPointer<util::StringCode>::create(text), time);
}

void MeasureInst::AppendCommand(QList<QSharedPointer<WordBox>> const& boxes)
{
    for (auto const& box : boxes) {
        if (!box)
            continue;
        if (box->isCyclic())
            m_ring.append(box);
        else
            m_fifo.push_back({box->word()});
    }
    if (!m_awaiting)
        scheduleNext();
}

void MeasureInst::AppendCommand(QSharedPointer<util::Word> const& word, bool once)
{
    if (!word)
        return;
    if (once)
        m_fifo.push_back({word});
    else
        m_ring.append(WordBoxFactory::makeCyclic(word));
    if (!m_awaiting)
        scheduleNext();
}

void MeasureInst::clearCommand(bool cyclic, bool pending)
{
    if (cyclic) {
        m_ring.clear();
        m_ringPos = 0;
    }
    if (pending) {
        // Only the driver's own: other askers' words are theirs to withdraw.
        m_fifo.erase(std::remove_if(m_fifo.begin(), m_fifo.end(),
                                    [](Entry const& entry) { return entry.client == nullptr; }),
                     m_fifo.end());
    }
}

bool MeasureInst::needResponse(QSharedPointer<util::Word> const& word) const
{
    return word && word->needResponse();
}

void MeasureInst::respond()
{
    // The barrier is served by its answer alone.
    if (!m_awaiting || m_resyncing)
        return;
    m_awaiting = false;
    scheduleNext();
}

void MeasureInst::setInterval(int milliseconds)
{
    m_interval = qMax(0, milliseconds);
}

void MeasureInst::setWordTimeLimit(int milliseconds)
{
    m_wordTimeLimit = qMax(0, milliseconds);
}

void MeasureInst::onOpened()
{
    if (m_state != State::Opening)
        return;
    m_state = State::Running;
    Q_EMIT started();
    if (m_state == State::Running)
        dispatch();
}

void MeasureInst::onClosed()
{
    // Our own close() already ended the run; anything else is a lost connection.
    if (m_state == State::Opening || m_state == State::Running || m_state == State::Draining)
        onIoError(m_io->errorString().isEmpty() ? tr("The connection was closed.") : m_io->errorString());
}

void MeasureInst::onIoError(QString const& message)
{
    if (m_state == State::Idle || m_state == State::Closing)
        return;
    m_errorString = message;
    m_errorKind = m_io->errorKind() == io::LinkError::None ? io::LinkError::Lost : m_io->errorKind();
    m_io->abort();
    beginStop(int(QueryClient::Failure::LinkLost));
    Q_EMIT ioError(message);
}

void MeasureInst::onData(QByteArray const& data)
{
    readyRead(data);
}

void MeasureInst::readyRead(QByteArray const& data)
{
    if (m_state != State::Running && m_state != State::Draining)
        return;
    m_buffer.append(data);
    m_inDelivery = true;
    while (pickFrame(m_buffer, m_frame)) {
        if (m_barriersUnanswered > 0 && isBarrierAnswer(m_frame)) {
            --m_barriersUnanswered;
            if (m_resyncing) {
                // In step again: everything before this line has been dropped.
                m_resyncing = false;
                m_awaiting = false;
                m_current.reset();
                scheduleNext();
            }
            continue;
        }
        // While resynchronising, or with nothing awaiting it: a late or
        // unsolicited answer, dropped.
        if (m_awaiting && !m_resyncing) {
            if (m_clientCurrent)
                answerClient();
            else
                decodeFrame(m_frame);
        }
        if (m_state != State::Running && m_state != State::Draining)
            break;
    }
    m_inDelivery = false;
    // The word served by this frame hands over to the next one here, after the
    // frame's handling has returned, so the stack never grows from word to word;
    // a channel that delivered within a write leaves that to dispatch()'s loop.
    if (m_nextDue && !m_nextTimer.isActive() && !m_inDispatch) {
        m_nextDue = false;
        dispatch();
    }
}

void MeasureInst::onWatchdog()
{
    if (!m_awaiting) {
        m_watchdog.stop();
        return;
    }
    if (m_sent.elapsed() < m_deadline)
        return;
    if (!m_resyncing) {
        if (m_clientCurrent)
            timeOutClient();
        else
            processTimeout(m_current);
        return;
    }
    // The barrier went unanswered: that counts as an error like any word's,
    // and another barrier follows, since a late line may still be on its way.
    // A run that is closing lets its waiting words go out without one: they
    // are the last, and the instrument may never answer again.
    m_awaiting = false;
    m_buffer.clear();
    Q_EMIT processError(m_barrier);
    // Other askers are told at once rather than kept waiting behind barriers.
    if (m_state == State::Running)
        failClients(int(QueryClient::Failure::Resynchronising));
    if (m_state == State::Running) {
        sendBarrier(int(m_deadline));
    } else if (m_state == State::Draining) {
        m_resyncing = false;
        m_current.reset();
        scheduleNext();
    }
}

void MeasureInst::scheduleNext()
{
    if (m_nextDue || (m_state != State::Running && m_state != State::Draining))
        return;
    m_nextDue = true;
    if (m_interval > 0)
        m_nextTimer.start(m_interval);
    else if (!m_inDelivery && !m_inDispatch)
        m_nextTimer.start(0);
}

void MeasureInst::dispatch()
{
    if (m_inDispatch)
        return;
    m_inDispatch = true;
    for (int words = 0; words < kWordsPerTurn; ++words) {
        // A word served at once (a setting, a sign word the driver consumed) hands over now,
        // unless the interval paces the queue.
        if (!dispatchOne() || !m_nextDue || m_nextTimer.isActive()
            || (m_state != State::Running && m_state != State::Draining))
            break;
        if (words + 1 < kWordsPerTurn)
            m_nextDue = false;
    }
    m_inDispatch = false;
    if (m_nextDue && !m_nextTimer.isActive() && (m_state == State::Running || m_state == State::Draining))
        m_nextTimer.start(0);
}

bool MeasureInst::dispatchOne()
{
    if ((m_state != State::Running && m_state != State::Draining) || m_awaiting || m_nextDue)
        return false;

    QSharedPointer<util::Word> next;
    // Fair turns: an asker's queued word that follows another asker's word lets a ring
    // entry go first, so that a script asking as fast as it can never starves the polling.
    bool const ringFirst = !m_fifo.empty() && m_fifo.front().yields && m_askerHadTurn && !m_ring.isEmpty()
        && m_state == State::Running;
    if (!m_fifo.empty() && !ringFirst) {
        Entry& front = m_fifo.front();
        if (front.client) {
            Entry entry = std::move(front);
            m_fifo.pop_front();
            m_askerHadTurn = entry.yields;
            dispatchClient(std::move(entry));
            return false;
        }
        m_askerHadTurn = false;
        next = std::move(front.word);
        m_fifo.pop_front();
    } else if (m_fifo.empty() && m_state == State::Draining) {
        if (m_closeIoOnStop)
            m_io->close();
        beginStop(int(QueryClient::Failure::Stopped));
        return false;
    } else if (!m_ring.isEmpty()) {
        if (m_ringPos >= m_ring.size()) {
            m_ringPos = 0;
            Q_EMIT passCompleted();
            // A receiver may have stopped the run or queued a word of its own.
            if (m_state != State::Running || m_nextDue)
                return false;
            if (!m_fifo.empty() && !ringFirst) {
                return dispatchOne();
            }
        }
        m_askerHadTurn = false;
        next = m_ring.at(m_ringPos++)->word();
    } else {
        // Nothing to run: the queue waits until something is appended.
        m_current.reset();
        return false;
    }

    m_current = next;
    if (next->needResponse())
        arm(m_wordTimeLimit > 0 ? qMin(next->time(), m_wordTimeLimit) : next->time());
    else
        m_awaiting = false;
    processWord(next);
    // Served within processWord(), or no response awaited: move on.
    if (!m_awaiting)
        scheduleNext();
    return !m_awaiting;
}

void MeasureInst::dispatchClient(Entry entry)
{
    m_current = std::move(entry.word);
    m_clientCurrent = true;
    m_currentClient = entry.client;
    m_currentTicket = entry.ticket;
    bool const query = m_current->needResponse();
    if (query)
        arm(m_wordTimeLimit > 0 ? qMin(m_current->time(), m_wordTimeLimit) : m_current->time());
    else
        m_awaiting = false;
    m_io->write(m_current->code()->frame());
    if (!query) {
        QueryClient* client = std::exchange(m_currentClient, nullptr);
        m_clientCurrent = false;
        scheduleNext();
        if (client) {
            client->end();
            Q_EMIT client->written(entry.ticket);
        }
    }
}

void MeasureInst::answerClient()
{
    QueryClient* client = std::exchange(m_currentClient, nullptr);
    m_clientCurrent = false;
    m_awaiting = false;
    scheduleNext();
    if (client) {
        client->end();
        Q_EMIT client->answered(m_currentTicket, m_frame);
    }
}

void MeasureInst::timeOutClient()
{
    int const bound = int(m_deadline);
    QueryClient* client = std::exchange(m_currentClient, nullptr);
    m_clientCurrent = false;
    m_awaiting = false;
    m_buffer.clear();
    if (client) {
        client->end();
        Q_EMIT client->failed(m_currentTicket, QueryClient::Failure::TimedOut);
    }
    if (m_state == State::Running || m_state == State::Draining)
        sendBarrier(bound);
}

void MeasureInst::arm(int milliseconds)
{
    m_awaiting = true;
    m_deadline = milliseconds;
    m_sent.start();
    if (!m_watchdog.isActive())
        m_watchdog.start();
}

void MeasureInst::clearRun()
{
    m_ring.clear();
    m_ringPos = 0;
    m_fifo.clear();
    m_current.reset();
    m_clientCurrent = false;
    m_currentClient = nullptr;
    m_awaiting = false;
    m_resyncing = false;
    m_barriersUnanswered = 0;
    m_nextDue = false;
    m_buffer.clear();
    m_nextTimer.stop();
    m_watchdog.stop();
}

void MeasureInst::beginStop(int reason)
{
    m_state = State::Closing;
    failClients(reason);
    clearRun();
    // stoped() always comes through the event loop, never from inside the call
    // that stopped the run: a receiver may safely close its window there.
    QMetaObject::invokeMethod(this, &MeasureInst::finishStop, Qt::QueuedConnection);
}

void MeasureInst::finishStop()
{
    if (m_state != State::Closing)
        return;
    m_state = State::Idle;
    Q_EMIT stoped();
}

} // namespace zelt::measure
