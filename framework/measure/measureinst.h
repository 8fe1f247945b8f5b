#pragma once
// An instrument driven by a command queue over an I/O channel.
//
// The queue holds a ring of cyclic boxes (the polling cycle) and a FIFO of
// one-shot words and acyclic groups. After each word the FIFO, if it holds
// anything, is drained in order before the ring goes on, so one-shot words run
// between two ring entries, an acyclic group is never split, and things
// appended one after the other run in that order.
//
// One word runs at a time. A word whose time is above zero awaits a response:
// the queue holds until respond() is called or the time runs out (then
// processTimeout(), processError(), resynchronisation, and the next word).
//
// Resynchronisation. An answer that comes after its word's time has run out
// would otherwise be taken for the next word's, and every answer after it would
// be one word off for the rest of the run. So after a time-out, before the next
// word goes out, the queue sends the barrier query "*IDN?" itself (it never
// reaches processWord()) and drops every line until the barrier's answer: a
// line of at least four comma-separated fields whose first field is a name,
// not a number, which no other answer of an SCPI instrument's readings looks
// like. Lines before it answer words that have already given up. The barrier
// waits as long as the word that timed out; if its time runs out too, that is
// one more processError() (carrying the barrier word) and another barrier, so
// a dead instrument reaches any error count in as many word times, and a
// barrier answer that comes after its successor was sent is dropped when it
// arrives; a run that is closing with drain goes on without a second barrier.
// A run without time-outs puts no barrier on the wire. Words are dispatched
// through the event loop, never by recursion from one word to the next: a
// response that serves a word lets the next one go out once the frame has been
// handled, and a word served within its own processWord() (no response awaited,
// or a derived class that consumes it) hands over in the same turn of the event
// loop, up to kWordsPerTurn words in a row, then through a zero timer: a setting
// and the query that follows it leave together, with nothing the GUI does
// between them, and a long run of settings never holds the event loop.
// Frames that arrive when no word awaits a response are dropped.
//
// Words from other askers. Beside the driver, others may put lines into the
// queue through a QueryClient (the host's error-queue reader, a console, a
// script port). Their words join the FIFO of one-shot words and go out between
// two ring entries like any other, taking turns with the ring (a ring entry goes
// between two of them); they never pass through processWord(), and
// the answer to a client's query goes to that client alone, never to
// decodeFrame(). A line is a query when it holds a '?' outside quoted text; it
// then waits for one answer line within its own time, and a time-out is
// followed by the same resynchronisation as the driver's, without a
// processError() (the driver's error count is the driver's). A client's setting
// goes out and is done. Every word of a client ends in exactly one of
// QueryClient::answered(), written() or failed(), whose failure says why: its
// own time-out, the instrument going silent during a resynchronisation, the
// link lost, the run stopped, or no run at all. clearCommand() leaves client
// words alone. With no client word waiting, the lines on the wire are exactly
// the driver's.

#include "measure/instrument.h"
#include "measure/wordbox.h"
#include "measure/zelt_measure_export.h"
#include "util/word.h"

#include <QByteArray>
#include <QElapsedTimer>
#include <QList>
#include <QSharedPointer>
#include <QTimer>

#include <deque>

namespace zelt::measure {

namespace io {
class AbstractIO;
enum class LinkError;
} // namespace io

class QueryClient;

class ZELT_MEASURE_EXPORT MeasureInst : public Instrument
{
    Q_OBJECT
public:
    // closeIoOnStop: whether stopping the queue also closes the I/O channel
    // (true: each open() connects anew).
    MeasureInst(QSharedPointer<io::AbstractIO> io, bool closeIoOnStop, QObject* parent = nullptr);
    ~MeasureInst() override;

    // Opens the channel, takes initCommand() as the ring and runs it; started()
    // follows once the channel is open. Words appended while stopped are dropped
    // here: a new run begins with the ring alone. False when already active or
    // when the channel cannot start opening; stoped() follows every failure.
    bool open() override;
    // close(false).
    bool close() override;
    bool isActive() const override { return m_state != State::Idle; }
    bool active() const { return isActive(); }

    virtual void readyRead(QByteArray const& data);
    // Stops the queue; stoped() follows through the event loop once the channel
    // is closed. drain true lets the one-shot words already waiting go out first.
    // False when not active.
    virtual bool close(bool drain);
    // The ring that open() starts with.
    virtual QList<QSharedPointer<WordBox>> initCommand();
    // Sends the word and, if it awaits a response, arms the wait.
    virtual void processWord(QSharedPointer<util::Word> const& word);
    // Cuts one line (LF, a CR before it dropped) off the front of buffer.
    virtual bool pickFrame(QByteArray& buffer, QByteArray& frame);
    // Called with each frame while currentWord() is the word it answers.
    // The default accepts the frame as the response.
    virtual void decodeFrame(QByteArray const& frame);
    // Ends the wait for the current word; processError() carries it.
    virtual void processTimeout(QSharedPointer<util::Word> const& word);

    // Stops at once: the channel is aborted, nothing more is sent.
    void closeForce();

    QSharedPointer<util::Word> makeWord(QString const& text, int time) const;
    void AppendCommand(QList<QSharedPointer<WordBox>> const& boxes);
    // once true: runs once, between two ring entries; false: joins the ring.
    void AppendCommand(QSharedPointer<util::Word> const& word, bool once);
    // cyclic: drop the ring; pending: drop the one-shot words and groups waiting.
    // A word in flight stays current until served, but nothing after it remains.
    void clearCommand(bool cyclic, bool pending);

    QSharedPointer<util::Word> currentWord() const { return m_current; }
    bool needResponse() const { return m_awaiting; }
    bool needResponse(QSharedPointer<util::Word> const& word) const;
    // The current word is served; the next one may run.
    void respond();

    // Pause between one word and the next, in milliseconds; 0 runs as fast as
    // the instrument answers.
    void setInterval(int milliseconds);
    int interval() const { return m_interval; }
    // Caps the wait of every word that awaits a response (and of the barrier)
    // at this many milliseconds; 0, the default, lets each word wait its own time.
    void setWordTimeLimit(int milliseconds);
    int wordTimeLimit() const { return m_wordTimeLimit; }

    QSharedPointer<io::AbstractIO> io() const { return m_io; }
    // The last failure of the channel, for messages, and its kind.
    QString errorString() const { return m_errorString; }
    io::LinkError errorKind() const;

    int ringSize() const { return int(m_ring.size()); }
    int pendingSize() const { return int(m_fifo.size()); }

Q_SIGNALS:
    void started();
    void stoped();
    void processError(QSharedPointer<zelt::util::Word> const& word);
    // A word that awaits no answer has been written to the channel by
    // processWord(): a setting of the driver. Not emitted for client words.
    void settingWritten(QSharedPointer<zelt::util::Word> const& word);
    // One pass over the ring has ended: the driver has a fresh reading.
    void passCompleted();
    // The channel failed to open or was lost; stoped() follows.
    void ioError(QString const& message);

private:
    friend class QueryClient;
    enum class State { Idle, Opening, Running, Draining, Closing };

    // A one-shot word, and who asked for it: null for the driver.
    struct Entry
    {
        QSharedPointer<util::Word> word;
        QueryClient* client = nullptr;
        quint64 ticket = 0;
        bool yields = false; // an asker's word queued behind the others: takes turns with the ring
    };

    // QueryClient's side.
    bool submit(QueryClient* client, quint64 ticket, QByteArray const& line, int milliseconds, bool next);
    void forget(QueryClient* client);
    // Fails every client word in the queue (and the one in flight) with reason.
    void failClients(int reason);
    void dispatchClient(Entry entry);
    void answerClient();
    void timeOutClient();

    void onOpened();
    void onClosed();
    void onIoError(QString const& message);
    void onData(QByteArray const& data);
    void onWatchdog();
    void dispatch();
    // True when the word sent was served at once, so that the next may follow now.
    bool dispatchOne();
    void scheduleNext();
    void arm(int milliseconds);
    void sendBarrier(int milliseconds);
    static bool isBarrierAnswer(QByteArray const& frame);
    // Empties the queue and forgets the word in flight and any partial frame.
    void clearRun();
    // reason: the QueryClient::Failure that words of other askers still waiting end in.
    void beginStop(int reason);
    void finishStop();

    QSharedPointer<io::AbstractIO> m_io;
    bool m_closeIoOnStop;
    State m_state = State::Idle;

    QList<QSharedPointer<WordBox>> m_ring;
    qsizetype m_ringPos = 0;
    std::deque<Entry> m_fifo;

    QSharedPointer<util::Word> m_current;
    QueryClient* m_currentClient = nullptr; // whose word is current, if not the driver's
    quint64 m_currentTicket = 0;
    bool m_clientCurrent = false; // the current word is a client's (its client may have gone)
    bool m_askerHadTurn = false; // the last word was an asker's queued word
    bool m_awaiting = false;
    bool m_inDelivery = false; // handling frames from the channel
    // Words served without waiting that go out in one turn of the event loop.
    static constexpr int kWordsPerTurn = 16;
    bool m_inDispatch = false; // words served now go on in dispatch()'s loop
    bool m_nextDue = false; // served while in delivery: dispatch on return
    QElapsedTimer m_sent; // since the awaited word went out
    qint64 m_deadline = 0; // ms after m_sent at which the word times out
    int m_wordTimeLimit = 0;
    bool m_resyncing = false; // lines are dropped until the barrier's answer
    int m_barriersUnanswered = 0; // their answers are dropped whenever they come
    QSharedPointer<util::Word> m_barrier;

    QByteArray m_buffer;
    QByteArray m_frame;
    int m_interval = 0;
    QTimer m_nextTimer;
    QTimer m_watchdog;
    QString m_errorString;
    io::LinkError m_errorKind;
};

} // namespace zelt::measure
