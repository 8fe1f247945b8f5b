#pragma once
// Reads the sessions of a store on the calling thread: the list, a session's rows by
// range, its numeric columns thinned to what a chart can show, its CSV export, and
// deletion. Of a PostgreSQL target it reads the server.

#include "store/storetypes.h"
#include "store/zelt_store_export.h"

#include <QList>
#include <QString>

namespace zelt::store {

class ZELT_STORE_EXPORT SessionReader
{
public:
    explicit SessionReader(StoreTarget target);
    ~SessionReader();
    SessionReader(SessionReader const&) = delete;
    SessionReader& operator=(SessionReader const&) = delete;

    // False with lastError() when the store cannot be read. A SQLite file that does not
    // exist yet is an empty store.
    bool open();
    QString lastError() const { return m_error; }

    // Newest first. A session of this machine whose host died is reported interrupted.
    QList<SessionInfo> sessions();
    QList<Segment> segments(qint64 session);
    // Up to count rows from sequence number fromSeq on.
    QList<StoredRow> rows(qint64 session, qint64 fromSeq, int count);
    // The first and last time stamps; false for a session without rows.
    bool timeSpan(qint64 session, qint64* firstMs, qint64* lastMs);
    // For each of columns (cell indexes), the minimum and maximum of every slice of
    // [fromMs, toMs] cut into buckets; slices without a number are left out.
    QList<QList<Bucket>> decimate(qint64 session, QList<int> const& columns, qint64 fromMs, qint64 toMs,
                                  int buckets);
    // The rows of [fromMs, toMs] as the window's Export writes its table: a header line of
    // the column names, then the cells, comma separated and quoted where needed, LF, UTF-8.
    // A later segment with other columns starts with its own header line.
    bool exportCsv(qint64 session, QString const& path, qint64 fromMs, qint64 toMs);
    bool remove(qint64 session);

private:
    StoreTarget m_target;
    QString m_connection;
    QString m_error;
    bool m_empty = false; // the SQLite file is not there yet
};

} // namespace zelt::store
