#include "store/sessionstore.h"

#include "store/database.h"
#include "store/dialect.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QDir>
#include <QElapsedTimer>
#include <QMetaObject>
#include <QPointer>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QUuid>
#include <QVariant>

#include <array>
#include <atomic>
#include <condition_variable>
#include <deque>
#include <map>
#include <mutex>
#include <thread>
#include <unordered_map>

namespace zelt::store {

namespace detail {

namespace {

QString tr(char const* text)
{
    return QCoreApplication::translate("zelt::store::SessionStore", text);
}

struct Command
{
    enum class Kind { Begin, Row, Segment, End };
    Kind kind = Kind::Row;
    quint64 handle = 0;
    qint64 timeMs = 0;
    QStringList cells; // the row's texts, or the segment's column names
    std::shared_ptr<SessionHeader const> header; // Begin only
};

} // namespace

// What the front, the writer and the forwarder share.
struct Shared
{
    StoreTarget target;
    SessionStore::Options options;
    QPointer<SessionStore> front; // read on the GUI thread only

    std::mutex mutex;
    std::condition_variable wake; // the writer: stop or flush asked
    std::condition_variable progress; // the front: something was committed or forwarded
    std::deque<Command> queue;
    quint64 queued = 0; // commands taken into the queue, ever
    quint64 committed = 0; // of them, committed in the file
    quint64 forwarded = 0; // of them, on the server as well
    bool flushAsked = false;
    bool stopping = false;
    bool writerDone = false;
    bool forwarderDone = false;
    bool abandon = false; // the quit's bound has passed: the forwarder stops where it is
    bool spoolReady = false;
    std::atomic<bool> stopped {false};
    bool overflowReported = false;

    std::thread writer;
    std::thread forwarder;

    // Runs on a worker: hands a text to the front on the GUI thread.
    void post(bool stop, QString const& text)
    {
        QMetaObject::invokeMethod(
            qApp,
            [weak = front, stop, text] {
                if (weak)
                    Q_EMIT stop ? weak->loggingStopped(text) : weak->message(text);
            },
            Qt::QueuedConnection);
    }
};

namespace {

// Marks the sessions of this machine whose host died before it ended them as interrupted.
bool markDeadSessions(QSqlDatabase& db, Dialect const& dialect, StoreTarget const& target, QString* error)
{
    QSqlQuery open(db);
    open.prepare(dialect.openSessionsOfHost);
    open.addBindValue(thisHost());
    if (!open.exec()) {
        *error = describe(open.lastError(), dialect.openSessionsOfHost, target);
        return false;
    }
    QList<qint64> dead;
    while (open.next()) {
        if (!processAlive(open.value(1).toLongLong()))
            dead << open.value(0).toLongLong();
    }
    for (qint64 id : dead) {
        QSqlQuery mark(db);
        mark.prepare(dialect.markInterrupted);
        mark.addBindValue(id);
        if (!mark.exec()) {
            *error = describe(mark.lastError(), dialect.markInterrupted, target);
            return false;
        }
    }
    return true;
}

struct Live
{
    qint64 id = 0;
    qint64 seq = 0;
    int segment = 0;
    qint64 uncounted = 0; // rows since the last commit
    // The block in progress: its first row's time, its last's, and the bounds of each number.
    qint64 blockFirstMs = 0;
    qint64 blockLastMs = 0;
    std::array<double, kNumberColumns> lo {};
    std::array<double, kNumberColumns> hi {};
    std::array<bool, kNumberColumns> seen {};
};

class Writer
{
public:
    explicit Writer(Shared& shared)
        : m_shared(shared)
        , m_dialect(Dialect::of(StoreTarget::Kind::Sqlite))
    {
    }

    void run()
    {
        QString const name = newConnectionName(QStringLiteral("writer"));
        {
            QSqlDatabase db = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), name);
            loop(db);
            db.close();
        }
        QSqlDatabase::removeDatabase(name);
    }

private:
    void loop(QSqlDatabase& db)
    {
        QString notice;
        QString error;
        bool ok = openSqlite(db, m_shared.target.path, true, m_shared.options.maxPageCount, &notice, &error);
        if (!notice.isEmpty())
            m_shared.post(false, notice);
        if (ok)
            ok = markInterrupted(db, &error);
        if (!ok)
            stop(tr("%1 Session logging has stopped; the window goes on recording.").arg(error));
        {
            std::lock_guard lock(m_shared.mutex);
            m_shared.spoolReady = ok;
            m_shared.progress.notify_all();
        }
        if (ok) {
            m_insertRow = QSqlQuery(db);
            m_insertRow.prepare(m_dialect.insertRows(1));
            m_insertBlock = QSqlQuery(db);
            m_insertBlock.prepare(m_dialect.insertBlock);
        }

        QElapsedTimer sinceCommit;
        sinceCommit.start();
        bool inTransaction = false;
        quint64 taken = 0;
        for (;;) {
            std::deque<Command> batch;
            bool stopping = false;
            bool flush = false;
            {
                std::unique_lock lock(m_shared.mutex);
                auto const wait = std::chrono::milliseconds(
                    qMax(1, m_shared.options.commitIntervalMs - int(sinceCommit.elapsed())));
                m_shared.wake.wait_for(lock, wait,
                                       [this] { return m_shared.stopping || m_shared.flushAsked; });
                batch.swap(m_shared.queue);
                stopping = m_shared.stopping;
                flush = m_shared.flushAsked;
                m_shared.flushAsked = false;
            }
            taken += batch.size();
            if (!m_shared.stopped && !batch.empty()) {
                if (!inTransaction)
                    inTransaction = db.transaction();
                for (Command const& command : batch) {
                    if (!apply(db, command))
                        break;
                }
            }
            bool const due = stopping || flush || sinceCommit.elapsed() >= m_shared.options.commitIntervalMs;
            if (due) {
                if (inTransaction && !m_shared.stopped)
                    commit(db);
                else if (inTransaction)
                    db.rollback();
                inTransaction = false;
                sinceCommit.restart();
                std::lock_guard lock(m_shared.mutex);
                m_shared.committed = taken;
                if (m_shared.target.kind == StoreTarget::Kind::Sqlite || m_shared.stopped)
                    m_shared.forwarded = taken;
                m_shared.progress.notify_all();
            }
            if (stopping) {
                std::lock_guard lock(m_shared.mutex);
                if (m_shared.queue.empty())
                    break;
            }
        }
        m_insertRow = QSqlQuery();
        m_insertBlock = QSqlQuery();
        std::lock_guard lock(m_shared.mutex);
        m_shared.writerDone = true;
        m_shared.progress.notify_all();
    }

    bool markInterrupted(QSqlDatabase& db, QString* error)
    {
        return markDeadSessions(db, m_dialect, m_shared.target, error);
    }

    bool apply(QSqlDatabase& db, Command const& command)
    {
        switch (command.kind) {
        case Command::Kind::Begin: {
            QSqlQuery query(db);
            query.prepare(m_dialect.insertSession);
            query.addBindValue(QUuid::createUuid().toString(QUuid::WithoutBraces));
            query.addBindValue(command.header->instrument);
            query.addBindValue(command.header->model);
            query.addBindValue(command.header->resource);
            query.addBindValue(thisHost());
            query.addBindValue(QCoreApplication::applicationPid());
            query.addBindValue(command.timeMs);
            query.addBindValue(command.timeMs);
            if (!query.exec() || !query.next())
                return fail(query, m_dialect.insertSession);
            Live& live = m_live[command.handle];
            live.id = query.value(0).toLongLong();
            return insertSegment(db, live, command);
        }
        case Command::Kind::Row: {
            auto it = m_live.find(command.handle);
            if (it == m_live.end())
                return true;
            Live& live = it->second;
            if (live.seq % kBlockRows == 0) {
                live.blockFirstMs = command.timeMs;
                live.seen.fill(false);
            }
            live.blockLastMs = command.timeMs;
            m_insertRow.bindValue(0, live.id);
            m_insertRow.bindValue(1, live.seq);
            m_insertRow.bindValue(2, live.segment);
            m_insertRow.bindValue(3, command.timeMs);
            m_insertRow.bindValue(4, jsonArray(command.cells));
            for (int i = 0; i < kNumberColumns; ++i) {
                bool number = false;
                double const value = i < command.cells.size() ? command.cells.at(i).toDouble(&number) : 0.0;
                m_insertRow.bindValue(5 + i,
                                      number ? QVariant(value) : QVariant(QMetaType::fromType<double>()));
                if (number) {
                    live.lo[i] = live.seen[i] ? std::min(live.lo[i], value) : value;
                    live.hi[i] = live.seen[i] ? std::max(live.hi[i], value) : value;
                    live.seen[i] = true;
                }
            }
            if (!m_insertRow.exec())
                return fail(m_insertRow, m_dialect.insertRows(1));
            if (m_blocks && live.seq % kBlockRows == kBlockRows - 1 && !insertBlock(live))
                return false;
            ++live.seq;
            ++live.uncounted;
            return true;
        }
        case Command::Kind::Segment: {
            auto it = m_live.find(command.handle);
            if (it == m_live.end())
                return true;
            ++it->second.segment;
            return insertSegment(db, it->second, command);
        }
        case Command::Kind::End: {
            auto it = m_live.find(command.handle);
            if (it == m_live.end())
                return true;
            if (!countRows(db, it->second))
                return false;
            QSqlQuery query(db);
            query.prepare(m_dialect.endSession);
            query.addBindValue(command.timeMs);
            query.addBindValue(int(SessionState::Ended));
            query.addBindValue(it->second.id);
            if (!query.exec())
                return fail(query, m_dialect.endSession);
            m_live.erase(it);
            return true;
        }
        }
        return true;
    }

    bool insertBlock(Live const& live)
    {
        m_insertBlock.bindValue(0, live.id);
        m_insertBlock.bindValue(1, live.seq - (kBlockRows - 1));
        m_insertBlock.bindValue(2, live.seq);
        m_insertBlock.bindValue(3, live.blockFirstMs);
        m_insertBlock.bindValue(4, live.blockLastMs);
        QVariant const none(QMetaType::fromType<double>());
        for (int i = 0; i < kNumberColumns; ++i) {
            m_insertBlock.bindValue(5 + i, live.seen[i] ? QVariant(live.lo[i]) : none);
            m_insertBlock.bindValue(5 + kNumberColumns + i, live.seen[i] ? QVariant(live.hi[i]) : none);
        }
        return m_insertBlock.exec() || fail(m_insertBlock, m_dialect.insertBlock);
    }

    bool insertSegment(QSqlDatabase& db, Live const& live, Command const& command)
    {
        QSqlQuery query(db);
        query.prepare(m_dialect.insertSegment);
        query.addBindValue(live.id);
        query.addBindValue(live.segment);
        query.addBindValue(live.seq);
        query.addBindValue(command.timeMs);
        query.addBindValue(jsonArray(command.cells));
        return query.exec() || fail(query, m_dialect.insertSegment);
    }

    bool countRows(QSqlDatabase& db, Live& live)
    {
        if (live.uncounted == 0)
            return true;
        QSqlQuery query(db);
        query.prepare(m_dialect.addRows);
        query.addBindValue(live.uncounted);
        query.addBindValue(QDateTime::currentMSecsSinceEpoch());
        query.addBindValue(live.id);
        if (!query.exec())
            return fail(query, m_dialect.addRows);
        live.uncounted = 0;
        return true;
    }

    void commit(QSqlDatabase& db)
    {
        for (auto& [handle, live] : m_live) {
            if (!countRows(db, live))
                break;
        }
        if (!m_shared.stopped && !db.commit()) {
            QSqlError const error = db.lastError();
            db.rollback();
            stopFor(error, QStringLiteral("COMMIT"));
        }
        if (m_shared.stopped)
            db.rollback();
    }

    bool fail(QSqlQuery const& query, QString const& statement)
    {
        stopFor(query.lastError(), statement);
        return false;
    }

    void stopFor(QSqlError const& error, QString const& statement)
    {
        QString const where = QDir::toNativeSeparators(m_shared.target.path);
        switch (classify(error, StoreTarget::Kind::Sqlite)) {
        case Failure::Full:
            stop(tr("The disk of %1 is full: session logging has stopped. The window goes on recording.")
                     .arg(where));
            break;
        case Failure::NoWrite:
            stop(tr("%1 cannot be written (%2): session logging has stopped. The window goes on recording.")
                     .arg(where, error.databaseText()));
            break;
        default:
            stop(tr("Session logging has stopped: %1").arg(describe(error, statement, m_shared.target)));
            break;
        }
    }

    void stop(QString const& reason)
    {
        if (m_shared.stopped.exchange(true))
            return;
        {
            std::lock_guard lock(m_shared.mutex);
            m_shared.queue.clear();
        }
        m_shared.post(true, reason);
    }

    Shared& m_shared;
    Dialect const& m_dialect;
    QSqlQuery m_insertRow;
    QSqlQuery m_insertBlock;
    // A spool's rows leave for the server, which sums them up itself.
    bool const m_blocks = m_shared.target.kind == StoreTarget::Kind::Sqlite;
    std::unordered_map<quint64, Live> m_live;
};

// Takes the spool's rows to the lab's server, oldest first, and drops them from the
// spool once the server has committed them. A row sent twice (the answer to a commit
// lost with the link) is kept once by the server's key.
class Forwarder
{
public:
    explicit Forwarder(Shared& shared)
        : m_shared(shared)
        , m_local(Dialect::of(StoreTarget::Kind::Sqlite))
        , m_remote(Dialect::of(StoreTarget::Kind::Postgres))
    {
    }

    void run()
    {
        QString const spoolName = newConnectionName(QStringLiteral("spool"));
        QString const serverName = newConnectionName(QStringLiteral("server"));
        {
            QSqlDatabase spool = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), spoolName);
            QSqlDatabase server = QSqlDatabase::addDatabase(QStringLiteral("QPSQL"), serverName);
            loop(spool, server);
            server.close();
            spool.close();
        }
        QSqlDatabase::removeDatabase(serverName);
        QSqlDatabase::removeDatabase(spoolName);
        std::lock_guard lock(m_shared.mutex);
        m_shared.forwarderDone = true;
        m_shared.progress.notify_all();
    }

private:
    enum class Pass { Done, Left, Failed };

    void loop(QSqlDatabase& spool, QSqlDatabase& server)
    {
        {
            std::unique_lock lock(m_shared.mutex);
            m_shared.progress.wait(lock, [this] { return m_shared.writerDone || m_shared.spoolReady; });
            if (!m_shared.spoolReady)
                return;
        }
        QString notice;
        QString error;
        if (!openSqlite(spool, m_shared.target.path, false, 0, &notice, &error))
            return;
        int backoffMs = 500;
        bool away = false;
        bool refused = false;
        for (;;) {
            quint64 mark = 0;
            bool stopping = false;
            {
                std::lock_guard lock(m_shared.mutex);
                if (m_shared.abandon)
                    return;
                mark = m_shared.committed;
                stopping = m_shared.writerDone;
            }
            Pass pass = Pass::Failed;
            if (!refused && !server.isOpen()) {
                if (openPostgres(server, m_shared.target, &error)) {
                    m_remoteIds.clear();
                    backoffMs = 500;
                    if (away)
                        m_shared.post(false,
                                      tr("%1 is back: the logged rows go there again.")
                                          .arg(m_shared.target.describe()));
                    away = false;
                    markInterrupted(server);
                } else if (error.contains(QLatin1String(" lacks the "))) {
                    refused = true;
                    m_shared.post(false, error);
                } else if (!away) {
                    away = true;
                    m_shared.post(false,
                                  tr("%1 (the rows are kept in %2 until it is back)")
                                      .arg(error, QDir::toNativeSeparators(m_shared.target.path)));
                }
            }
            if (server.isOpen())
                pass = forward(spool, server, &error);
            if (pass == Pass::Done) {
                std::lock_guard lock(m_shared.mutex);
                m_shared.forwarded = qMax(m_shared.forwarded, mark);
                m_shared.progress.notify_all();
                if (stopping)
                    return;
            } else if (pass == Pass::Failed && server.isOpen()) {
                // Lost mid-pass: what the server did not commit is still in the spool.
                server.close();
                if (error.contains(QLatin1String(" lacks the "))) {
                    refused = true;
                    m_shared.post(false, error);
                } else if (!away) {
                    away = true;
                    m_shared.post(false,
                                  tr("%1 (the rows are kept in %2 until it is back)")
                                      .arg(error, QDir::toNativeSeparators(m_shared.target.path)));
                }
            }
            if (pass == Pass::Left)
                continue;
            int const waitMs = pass == Pass::Done ? m_shared.options.commitIntervalMs : backoffMs;
            if (pass != Pass::Done)
                backoffMs = qMin(backoffMs * 2, 4000);
            std::unique_lock lock(m_shared.mutex);
            // Up to date: the next commit wakes it. Else the back-off runs its course.
            bool const idle = pass == Pass::Done;
            m_shared.progress.wait_for(lock, std::chrono::milliseconds(waitMs), [this, idle, mark] {
                return m_shared.abandon || m_shared.flushAsked || (idle && m_shared.committed != mark);
            });
        }
    }

    void markInterrupted(QSqlDatabase& server)
    {
        QString ignored;
        markDeadSessions(server, m_remote, m_shared.target, &ignored);
    }

    Pass forward(QSqlDatabase& spool, QSqlDatabase& server, QString* error)
    {
        QList<QPair<qint64, int>> sessions;
        {
            QSqlQuery query(spool);
            if (!query.exec(m_local.pendingSessions))
                return Pass::Failed;
            while (query.next())
                sessions.append({query.value(0).toLongLong(), query.value(1).toInt()});
        }
        bool left = false;
        for (auto const& [localId, state] : sessions) {
            qint64 remoteId = 0;
            if (!remoteSession(spool, server, localId, &remoteId, error)
                || !segments(spool, server, localId, remoteId, error))
                return Pass::Failed;
            int sent = 0;
            if (!rows(spool, server, localId, remoteId, &sent, error))
                return Pass::Failed;
            if (sent == kBatch)
                left = true;
            else if (state != int(SessionState::Open) && !finish(spool, server, localId, error))
                return Pass::Failed;
        }
        return left ? Pass::Left : Pass::Done;
    }

    bool remoteSession(QSqlDatabase& spool, QSqlDatabase& server, qint64 localId, qint64* remoteId,
                       QString* error, bool refresh = false)
    {
        auto it = m_remoteIds.find(localId);
        if (it != m_remoteIds.end() && !refresh) {
            *remoteId = it->second.id;
            return true;
        }
        QSqlQuery source(spool);
        source.prepare(m_local.sessionSource);
        source.addBindValue(localId);
        if (!source.exec() || !source.next())
            return false;
        QSqlQuery upsert(server);
        upsert.prepare(m_remote.upsertSession);
        for (int i = 0; i < 10; ++i)
            upsert.addBindValue(source.value(i));
        if (!upsert.exec() || !upsert.next())
            return failed(upsert, m_remote.upsertSession, error);
        *remoteId = upsert.value(0).toLongLong();
        m_remoteIds[localId].id = *remoteId;
        return true;
    }

    bool segments(QSqlDatabase& spool, QSqlDatabase& server, qint64 localId, qint64 remoteId, QString* error)
    {
        QSqlQuery query(spool);
        query.prepare(m_local.segmentsOf);
        query.addBindValue(localId);
        if (!query.exec())
            return false;
        int& sent = m_remoteIds[localId].segments;
        int index = 0;
        while (query.next()) {
            if (index++ < sent)
                continue;
            QSqlQuery insert(server);
            insert.prepare(m_remote.insertSegment);
            insert.addBindValue(remoteId);
            for (int i = 0; i < 4; ++i)
                insert.addBindValue(query.value(i));
            if (!insert.exec())
                return failed(insert, m_remote.insertSegment, error);
            ++sent;
        }
        return true;
    }

    bool rows(QSqlDatabase& spool, QSqlDatabase& server, qint64 localId, qint64 remoteId, int* sent,
              QString* error)
    {
        QList<QVariantList> batch;
        {
            QSqlQuery query(spool);
            query.setForwardOnly(true);
            query.prepare(m_local.spoolRows);
            query.addBindValue(localId);
            query.addBindValue(kBatch);
            if (!query.exec())
                return false;
            int const fields = 4 + kNumberColumns;
            while (query.next()) {
                QVariantList row;
                row.reserve(fields);
                for (int i = 0; i < fields; ++i)
                    row << query.value(i);
                batch << row;
            }
        }
        *sent = int(batch.size());
        if (batch.isEmpty())
            return true;
        if (!server.transaction())
            return failed(QSqlQuery(server), QStringLiteral("BEGIN"), error);
        qint64 added = 0;
        for (qsizetype from = 0; from < batch.size(); from += kStatementRows) {
            int const count = int(qMin<qsizetype>(kStatementRows, batch.size() - from));
            QSqlQuery insert(server);
            QString const statement = m_remote.insertRows(count);
            insert.prepare(statement);
            for (int r = 0; r < count; ++r) {
                QVariantList const& row = batch.at(from + r);
                insert.addBindValue(remoteId);
                for (QVariant const& value : row)
                    insert.addBindValue(value);
            }
            if (!insert.exec()) {
                server.rollback();
                return failed(insert, statement, error);
            }
            added += qMax(0, insert.numRowsAffected());
        }
        QSqlQuery count(server);
        count.prepare(m_remote.addRows);
        count.addBindValue(added);
        count.addBindValue(QDateTime::currentMSecsSinceEpoch());
        count.addBindValue(remoteId);
        if (!count.exec()) {
            server.rollback();
            return failed(count, m_remote.addRows, error);
        }
        if (!server.commit()) {
            QSqlError const lost = server.lastError();
            server.rollback();
            *error = describe(lost, QStringLiteral("COMMIT"), m_shared.target);
            return false;
        }
        QSqlQuery drop(spool);
        drop.prepare(m_local.dropRowsUpTo);
        drop.addBindValue(localId);
        drop.addBindValue(batch.constLast().constFirst());
        return drop.exec();
    }

    // An ended or interrupted session whose rows are all out: its final state goes to the
    // server and the spool forgets it.
    bool finish(QSqlDatabase& spool, QSqlDatabase& server, qint64 localId, QString* error)
    {
        QSqlQuery left(spool);
        left.prepare(m_local.rowsLeft);
        left.addBindValue(localId);
        if (!left.exec() || !left.next() || left.value(0).toLongLong() > 0)
            return true;
        qint64 remoteId = 0;
        if (!remoteSession(spool, server, localId, &remoteId, error, true))
            return false;
        for (QString const& statement : m_local.deleteSession) {
            QSqlQuery drop(spool);
            drop.prepare(statement);
            drop.addBindValue(localId);
            if (!drop.exec())
                return false;
        }
        m_remoteIds.erase(localId);
        return true;
    }

    bool failed(QSqlQuery const& query, QString const& statement, QString* error)
    {
        *error = describe(query.lastError(), statement, m_shared.target);
        return false;
    }

    static constexpr int kBatch = 5000;
    static constexpr int kStatementRows = 500;

    struct Remote
    {
        qint64 id = 0;
        int segments = 0;
    };

    Shared& m_shared;
    Dialect const& m_local;
    Dialect const& m_remote;
    std::map<qint64, Remote> m_remoteIds;
};

} // namespace

} // namespace detail

SessionStore::SessionStore(StoreTarget target, QObject* parent)
    : SessionStore(std::move(target), Options(), parent)
{
}

SessionStore::SessionStore(StoreTarget target, Options const& options, QObject* parent)
    : QObject(parent)
    , m_target(std::move(target))
    , m_shared(std::make_shared<detail::Shared>())
{
    m_shared->target = m_target;
    m_shared->options = options;
    m_shared->front = this;
    m_shared->writer = std::thread([shared = m_shared] { detail::Writer(*shared).run(); });
    if (m_target.kind == StoreTarget::Kind::Postgres)
        m_shared->forwarder = std::thread([shared = m_shared] { detail::Forwarder(*shared).run(); });
}

SessionStore::~SessionStore()
{
    close();
}

bool SessionStore::isLogging() const
{
    return !m_closed && !m_shared->stopped;
}

quint64 SessionStore::beginSession(SessionHeader const& header, QStringList const& columns)
{
    quint64 const handle = ++m_nextHandle;
    detail::Command command;
    command.kind = detail::Command::Kind::Begin;
    command.handle = handle;
    command.timeMs = QDateTime::currentMSecsSinceEpoch();
    command.cells = columns;
    command.header = std::make_shared<SessionHeader const>(header);
    if (m_closed || m_shared->stopped)
        return handle;
    std::lock_guard lock(m_shared->mutex);
    m_shared->queue.push_back(std::move(command));
    ++m_shared->queued;
    return handle;
}

void SessionStore::appendRow(quint64 session, qint64 timeMs, QStringList const& cells)
{
    if (m_closed || m_shared->stopped)
        return;
    bool overflow = false;
    {
        std::lock_guard lock(m_shared->mutex);
        if (m_shared->queue.size() >= size_t(m_shared->options.queueLimit)) {
            overflow = !m_shared->overflowReported;
            m_shared->overflowReported = true;
        } else {
            m_shared->queue.push_back({detail::Command::Kind::Row, session, timeMs, cells, {}});
            ++m_shared->queued;
        }
    }
    if (overflow)
        Q_EMIT message(tr("The session file %1 falls behind the recording: rows are being lost.")
                           .arg(m_target.describe()));
}

void SessionStore::newSegment(quint64 session, QStringList const& columns)
{
    if (m_closed || m_shared->stopped)
        return;
    std::lock_guard lock(m_shared->mutex);
    m_shared->queue.push_back(
        {detail::Command::Kind::Segment, session, QDateTime::currentMSecsSinceEpoch(), columns, {}});
    ++m_shared->queued;
}

void SessionStore::endSession(quint64 session)
{
    if (m_closed || m_shared->stopped)
        return;
    std::lock_guard lock(m_shared->mutex);
    m_shared->queue.push_back(
        {detail::Command::Kind::End, session, QDateTime::currentMSecsSinceEpoch(), {}, {}});
    ++m_shared->queued;
}

bool SessionStore::flush(int timeoutMs)
{
    std::unique_lock lock(m_shared->mutex);
    quint64 const target = m_shared->queued;
    m_shared->flushAsked = true;
    m_shared->wake.notify_all();
    m_shared->progress.notify_all();
    return m_shared->progress.wait_for(lock, std::chrono::milliseconds(timeoutMs), [this, target] {
        return m_shared->forwarded >= target || m_shared->stopped;
    }) && !m_shared->stopped;
}

void SessionStore::close(int timeoutMs)
{
    if (m_closed)
        return;
    m_closed = true;
    QElapsedTimer clock;
    clock.start();
    {
        std::unique_lock lock(m_shared->mutex);
        m_shared->stopping = true;
        m_shared->wake.notify_all();
        m_shared->progress.wait_for(lock, std::chrono::milliseconds(timeoutMs), [this] {
            return m_shared->writerDone
                && (m_target.kind == StoreTarget::Kind::Sqlite || m_shared->forwarderDone);
        });
        m_shared->abandon = true;
        m_shared->progress.notify_all();
    }
    if (m_shared->writer.joinable())
        m_shared->writer.join();
    if (m_shared->forwarder.joinable())
        m_shared->forwarder.join();
}

} // namespace zelt::store
