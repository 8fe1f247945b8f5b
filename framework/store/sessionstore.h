#pragma once
// The GUI thread's way into the session store. Every call only queues and returns
// (well under a millisecond); a writer thread of its own puts the queue into the SQLite
// file and commits at least every quarter second. With a PostgreSQL target the file is
// a spool: a second thread forwards its rows to the server in order, once each, and
// keeps them while the server is away.

#include "store/storetypes.h"
#include "store/zelt_store_export.h"

#include <QObject>
#include <QString>
#include <QStringList>

#include <memory>

namespace zelt::store {

namespace detail {
struct Shared;
}

class ZELT_STORE_EXPORT SessionStore : public QObject
{
    Q_OBJECT
public:
    struct Options
    {
        int commitIntervalMs = 250;
        int queueLimit = 20000; // queued rows at most: the RAM stays flat however long the run
        int maxPageCount = 0; // > 0 caps the SQLite file at this many pages
    };

    // The writer starts at once; a failure to open arrives as loggingStopped().
    explicit SessionStore(StoreTarget target, QObject* parent = nullptr);
    SessionStore(StoreTarget target, Options const& options, QObject* parent = nullptr);
    // Closes with kQuitBoundMs unless closed before.
    ~SessionStore() override;

    static constexpr int kQuitBoundMs = 3000;

    StoreTarget const& target() const { return m_target; }
    bool isLogging() const;

    // A session's handle, valid in this store only.
    quint64 beginSession(SessionHeader const& header, QStringList const& columns);
    void appendRow(quint64 session, qint64 timeMs, QStringList const& cells);
    // A Clear in the window, or new columns: the rows that follow start a segment.
    void newSegment(quint64 session, QStringList const& columns);
    void endSession(quint64 session);

    // Waits until every call made so far has reached the store (committed in the file,
    // and on the server for a PostgreSQL target); false after timeoutMs.
    bool flush(int timeoutMs);
    // Flushes for at most timeoutMs, then stops the threads. Rows the server has not
    // taken stay in the local file and go out at the next start. Later calls are ignored.
    void close(int timeoutMs = kQuitBoundMs);

Q_SIGNALS:
    // Something the user should know that does not stop the logging: a file moved aside,
    // the lab's server away or back.
    void message(QString const& text);
    // Nothing more is written; the window's own recording goes on.
    void loggingStopped(QString const& reason);

private:
    StoreTarget m_target;
    std::shared_ptr<detail::Shared> m_shared;
    quint64 m_nextHandle = 0;
    bool m_closed = false;
};

} // namespace zelt::store
