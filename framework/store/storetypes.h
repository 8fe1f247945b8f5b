#pragma once
// What the session store keeps and where: one window's run (a session), its segments
// (a Clear or a change of columns starts one) and its rows.

#include "store/zelt_store_export.h"

#include <QDateTime>
#include <QList>
#include <QString>
#include <QStringList>

namespace zelt::store {

// Cells 0 .. kNumberColumns - 1 are kept as numbers beside their texts where they are numbers.
constexpr int kNumberColumns = 24;

// Where the sessions go: a SQLite file, or a PostgreSQL database with a local SQLite
// file that holds the rows the server has not taken yet.
struct ZELT_STORE_EXPORT StoreTarget
{
    enum class Kind { Sqlite, Postgres };
    Kind kind = Kind::Sqlite;
    QString path; // the SQLite file: the store itself, or the spool of a PostgreSQL store
    QString user;
    QString host;
    int port = 5432;
    QString database;
    QString url; // as the user gave it; empty for the default file

    // Empty text: the default file in the user's data folder. Else a file path, a
    // sqlite:///path URL or postgresql://USER@HOST[:PORT]/DB. False with the reason
    // in error when the text is none of these.
    static bool parse(QString const& text, StoreTarget* target, QString* error = nullptr);
    // sessions.sqlite in QStandardPaths::AppDataLocation.
    static QString defaultPath();
    // How the target is named to the user (never with a password).
    QString describe() const;
};

// Who made a session.
struct ZELT_STORE_EXPORT SessionHeader
{
    QString instrument;
    QString model;
    QString resource;
};

enum class SessionState { Open = 0, Ended = 1, Interrupted = 2 };

struct ZELT_STORE_EXPORT SessionInfo
{
    qint64 id = 0;
    SessionHeader header;
    QString host; // the machine whose host wrote it
    QDateTime start;
    QDateTime end; // invalid while open
    SessionState state = SessionState::Open;
    qint64 rows = 0;
};

struct ZELT_STORE_EXPORT Segment
{
    int number = 0;
    qint64 firstSeq = 0; // the sequence number of its first row
    QDateTime start;
    QStringList columns;
};

struct ZELT_STORE_EXPORT StoredRow
{
    qint64 seq = 0; // 0, 1, 2, ... in the order the rows came, across segments
    int segment = 0;
    qint64 timeMs = 0; // milliseconds since the epoch, UTC
    QStringList cells; // the texts as the table showed them
};

// Minimum and maximum of one numeric column over a slice of time.
struct ZELT_STORE_EXPORT Bucket
{
    qint64 firstMs = 0;
    qint64 lastMs = 0;
    double min = 0;
    double max = 0;
};

} // namespace zelt::store
