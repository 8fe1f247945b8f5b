#pragma once
// Every SQL text of the store, one set per database. Both share the shape of the
// tables, so that the same rows read the same in SQLite and in PostgreSQL:
//   sessions(id, uid, instrument, model, resource, host, pid, started_ms, ended_ms, state,
//            row_count, seen_ms)
//   segments(session_id, segment, first_seq, started_ms, columns)   columns: a JSON array
//   rows(session_id, seq, segment, t_ms, cells, n0 .. n23)
//   blocks(session_id, first_seq, last_seq, t_first, t_last, lo0 .. lo23, hi0 .. hi23)
// cells holds the row's texts as a JSON array; nK the number of cell K where it is one.
// A block sums up kBlockRows rows (the minimum and maximum of each numeric cell), so that a
// chart of a long session reads a few thousand blocks instead of every row; only the local
// file keeps them, a server's database aggregates fast enough by itself.

#include "store/storetypes.h"

#include <QString>
#include <QStringList>

namespace zelt::store::detail {

using zelt::store::kNumberColumns;
constexpr int kBlockRows = 256;

struct Dialect
{
    StoreTarget::Kind kind;
    QStringList schema; // run in order on a new or older database
    QString insertSession; // uid, instrument, model, resource, host, pid, started_ms -> id
    QString upsertSession; // the same plus ended_ms, state, seen_ms, keyed by uid -> id
    QString insertSegment; // session_id, segment, first_seq, started_ms, columns
    QString addRows; // count, seen_ms, id
    QString endSession; // ended_ms, state, id
    QString openSessionsOfHost; // host -> id, pid
    QString markInterrupted; // id
    QString listSessions; // -> id, instrument, model, resource, host, pid, started_ms, ended_ms, state,
                          // row_count, seen_ms
    QString sessionSource; // id -> uid, instrument, model, resource, host, pid, started_ms, ended_ms, state,
                           // seen_ms
    QString segmentsOf; // session_id -> segment, first_seq, started_ms, columns
    QString rowsFrom; // session_id, seq, limit -> seq, segment, t_ms, cells
    QString rowsInTime; // session_id, from_ms, to_ms -> seq, segment, t_ms, cells
    QString timeSpan; // session_id, session_id -> t_ms of the first and of the last row
    QString seqFrom; // session_id, t_ms -> the first row's seq at or after t_ms
    QString seqUpTo; // session_id, t_ms -> the last row's seq at or before t_ms
    QString spoolRows; // session_id, limit -> seq, segment, t_ms, cells, n0..n23
    QString dropRowsUpTo; // session_id, seq
    QString rowsLeft; // session_id -> count
    QStringList deleteSession; // id, in each
    QString pendingSessions; // -> id, state
    QString insertBlock; // session_id, first_seq, last_seq, t_first, t_last, lo0..lo23, hi0..hi23
    QString blockSpan; // session_id, from_seq, to_seq -> first seq, last seq, count of the blocks inside

    // INSERT of count rows: session_id, seq, segment, t_ms, cells, n0..n23 each.
    QString insertRows(int count) const;
    // Minimum and maximum of numeric cells over buckets of time, for a range of rows:
    // from_ms, width_ms, session_id, from_seq, to_seq -> bucket, first t, last t, min, max per column.
    QString decimate(QList<int> const& columns) const;
    // The same over blocks: from_ms, width_ms, session_id, from_seq, to_seq.
    QString decimateBlocks(QList<int> const& columns) const;
    static Dialect const& of(StoreTarget::Kind kind);
};

} // namespace zelt::store::detail
