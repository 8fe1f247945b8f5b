#include "store/dialect.h"

namespace zelt::store::detail {

namespace {

QString numberColumns(QString const& type)
{
    QStringList list;
    for (int i = 0; i < kNumberColumns; ++i)
        list << QStringLiteral("n%1%2").arg(i).arg(type);
    return list.join(QStringLiteral(", "));
}

Dialect makeDialect(StoreTarget::Kind kind)
{
    bool const pg = kind == StoreTarget::Kind::Postgres;
    QString const key = pg ? QStringLiteral("BIGSERIAL PRIMARY KEY") : QStringLiteral("INTEGER PRIMARY KEY");
    QString const integer = pg ? QStringLiteral("BIGINT") : QStringLiteral("INTEGER");
    QString const real = pg ? QStringLiteral(" DOUBLE PRECISION") : QStringLiteral(" REAL");
    Dialect d {kind, {}, {}, {}, {}, {}, {}, {}, {}, {}, {}, {},
               {},   {}, {}, {}, {}, {}, {}, {}, {}, {}, {}, {}};
    d.schema << QStringLiteral("CREATE TABLE IF NOT EXISTS sessions (id %1, uid TEXT NOT NULL UNIQUE, "
                               "instrument TEXT, model TEXT, resource TEXT, host TEXT, pid %2, "
                               "started_ms %2 NOT NULL, ended_ms %2, state INTEGER NOT NULL DEFAULT 0, "
                               "row_count %2 NOT NULL DEFAULT 0, seen_ms %2)")
                    .arg(key, integer)
             << QStringLiteral("CREATE TABLE IF NOT EXISTS segments (session_id %1 NOT NULL, "
                               "segment INTEGER NOT NULL, first_seq %1 NOT NULL, started_ms %1, "
                               "columns TEXT NOT NULL, PRIMARY KEY (session_id, segment))")
                    .arg(integer)
             << QStringLiteral("CREATE TABLE IF NOT EXISTS rows (session_id %1 NOT NULL, seq %1 NOT NULL, "
                               "segment INTEGER NOT NULL, t_ms %1 NOT NULL, cells TEXT NOT NULL, %2, "
                               "PRIMARY KEY (session_id, seq))%3")
                    .arg(integer, numberColumns(real), pg ? QString() : QStringLiteral(" WITHOUT ROWID"))
             << QStringLiteral("CREATE INDEX IF NOT EXISTS rows_time ON rows (session_id, t_ms)");
    QStringList bounds;
    for (int i = 0; i < kNumberColumns; ++i)
        bounds << QStringLiteral("lo%1%2").arg(i).arg(real);
    for (int i = 0; i < kNumberColumns; ++i)
        bounds << QStringLiteral("hi%1%2").arg(i).arg(real);
    d.schema << QStringLiteral(
                    "CREATE TABLE IF NOT EXISTS blocks (session_id %1 NOT NULL, first_seq %1 NOT NULL, "
                    "last_seq %1 NOT NULL, t_first %1 NOT NULL, t_last %1 NOT NULL, %2, "
                    "PRIMARY KEY (session_id, first_seq))")
                    .arg(integer, bounds.join(QStringLiteral(", ")));
    QString marks = QStringLiteral("?, ?, ?, ?, ?");
    for (int i = 0; i < 2 * kNumberColumns; ++i)
        marks += QStringLiteral(", ?");
    d.insertBlock = QStringLiteral("INSERT INTO blocks VALUES (%1)").arg(marks);
    d.blockSpan = QStringLiteral("SELECT MIN(first_seq), MAX(last_seq), COUNT(*) FROM blocks "
                                 "WHERE session_id = ? AND first_seq >= ? AND last_seq <= ?");
    d.insertSession = QStringLiteral("INSERT INTO sessions (uid, instrument, model, resource, host, pid, "
                                     "started_ms, seen_ms) VALUES (?, ?, ?, ?, ?, ?, ?, ?) RETURNING id");
    d.upsertSession = QStringLiteral(
        "INSERT INTO sessions (uid, instrument, model, resource, host, pid, started_ms, ended_ms, state, "
        "seen_ms) VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?) ON CONFLICT (uid) DO UPDATE SET "
        "ended_ms = excluded.ended_ms, state = excluded.state, seen_ms = excluded.seen_ms RETURNING id");
    d.insertSegment = QStringLiteral("INSERT INTO segments (session_id, segment, first_seq, started_ms, "
                                     "columns) VALUES (?, ?, ?, ?, ?) ON CONFLICT DO NOTHING");
    d.addRows = QStringLiteral("UPDATE sessions SET row_count = row_count + ?, seen_ms = ? WHERE id = ?");
    d.endSession = QStringLiteral("UPDATE sessions SET ended_ms = ?, state = ? WHERE id = ?");
    d.openSessionsOfHost = QStringLiteral("SELECT id, pid FROM sessions WHERE state = 0 AND host = ?");
    d.markInterrupted = QStringLiteral(
        "UPDATE sessions SET state = 2, ended_ms = COALESCE(seen_ms, started_ms) WHERE id = ?");
    d.listSessions
        = QStringLiteral("SELECT id, instrument, model, resource, host, pid, started_ms, ended_ms, "
                         "state, row_count, seen_ms FROM sessions ORDER BY started_ms DESC, id DESC");
    d.sessionSource
        = QStringLiteral("SELECT uid, instrument, model, resource, host, pid, started_ms, ended_ms, "
                         "state, seen_ms FROM sessions WHERE id = ?");
    d.segmentsOf = QStringLiteral("SELECT segment, first_seq, started_ms, columns FROM segments "
                                  "WHERE session_id = ? ORDER BY segment");
    d.rowsFrom
        = QStringLiteral("SELECT seq, segment, t_ms, cells FROM rows WHERE session_id = ? AND seq >= ? "
                         "ORDER BY seq LIMIT ?");
    d.rowsInTime = QStringLiteral("SELECT seq, segment, t_ms, cells FROM rows WHERE session_id = ? "
                                  "AND t_ms BETWEEN ? AND ? ORDER BY seq");
    // By the key, not the time index: two lookups instead of a scan of the session.
    d.timeSpan = QStringLiteral("SELECT (SELECT t_ms FROM rows WHERE session_id = ? ORDER BY seq LIMIT 1), "
                                "(SELECT t_ms FROM rows WHERE session_id = ? ORDER BY seq DESC LIMIT 1)");
    d.seqFrom = QStringLiteral(
        "SELECT seq FROM rows WHERE session_id = ? AND t_ms >= ? ORDER BY t_ms, seq LIMIT 1");
    d.seqUpTo = QStringLiteral(
        "SELECT seq FROM rows WHERE session_id = ? AND t_ms <= ? ORDER BY t_ms DESC, seq DESC LIMIT 1");
    QStringList numbers;
    for (int i = 0; i < kNumberColumns; ++i)
        numbers << QStringLiteral("n%1").arg(i);
    d.spoolRows = QStringLiteral("SELECT seq, segment, t_ms, cells, %1 FROM rows WHERE session_id = ? "
                                 "ORDER BY seq LIMIT ?")
                      .arg(numbers.join(QStringLiteral(", ")));
    d.dropRowsUpTo = QStringLiteral("DELETE FROM rows WHERE session_id = ? AND seq <= ?");
    d.rowsLeft = QStringLiteral("SELECT COUNT(*) FROM rows WHERE session_id = ?");
    d.deleteSession << QStringLiteral("DELETE FROM blocks WHERE session_id = ?")
                    << QStringLiteral("DELETE FROM rows WHERE session_id = ?")
                    << QStringLiteral("DELETE FROM segments WHERE session_id = ?")
                    << QStringLiteral("DELETE FROM sessions WHERE id = ?");
    d.pendingSessions = QStringLiteral("SELECT id, state FROM sessions ORDER BY id");
    return d;
}

} // namespace

QString Dialect::insertRows(int count) const
{
    QString text = QStringLiteral("INSERT INTO rows (session_id, seq, segment, t_ms, cells, ");
    for (int i = 0; i < kNumberColumns; ++i)
        text += QStringLiteral("n%1%2").arg(i).arg(i + 1 < kNumberColumns ? QStringLiteral(", ") : QString());
    text += QStringLiteral(") VALUES ");
    QString one = QStringLiteral("(?, ?, ?, ?, ?");
    for (int i = 0; i < kNumberColumns; ++i)
        one += QStringLiteral(", ?");
    one += u')';
    for (int r = 0; r < count; ++r) {
        if (r > 0)
            text += u',';
        text += one;
    }
    // A row the server already has is one sent again after a lost answer: keep the first.
    if (kind == StoreTarget::Kind::Postgres)
        text += QStringLiteral(" ON CONFLICT DO NOTHING");
    return text;
}

QString Dialect::decimate(QList<int> const& columns) const
{
    QString text = QStringLiteral("SELECT (t_ms - ?) / ? AS b, MIN(t_ms), MAX(t_ms)");
    for (int c : columns)
        text += QStringLiteral(", MIN(n%1), MAX(n%1)").arg(c);
    // A range of the key reads the rows in place; the time index would look each one up.
    text += QStringLiteral(" FROM rows WHERE session_id = ? AND seq BETWEEN ? AND ? GROUP BY b ORDER BY b");
    return text;
}

QString Dialect::decimateBlocks(QList<int> const& columns) const
{
    QString text = QStringLiteral("SELECT (t_first - ?) / ? AS b, MIN(t_first), MAX(t_last)");
    for (int c : columns)
        text += QStringLiteral(", MIN(lo%1), MAX(hi%1)").arg(c);
    text += QStringLiteral(" FROM blocks WHERE session_id = ? AND first_seq >= ? AND last_seq <= ? "
                           "GROUP BY b ORDER BY b");
    return text;
}

Dialect const& Dialect::of(StoreTarget::Kind kind)
{
    static Dialect const sqlite = makeDialect(StoreTarget::Kind::Sqlite);
    static Dialect const postgres = makeDialect(StoreTarget::Kind::Postgres);
    return kind == StoreTarget::Kind::Postgres ? postgres : sqlite;
}

} // namespace zelt::store::detail
