#pragma once
// Opening the store's databases on the calling thread, and saying their errors in words.

#include "store/dialect.h"
#include "store/storetypes.h"

#include <QSqlDatabase>
#include <QSqlError>
#include <QString>
#include <QStringList>

namespace zelt::store::detail {

// The connection's name is unique in the process; the caller removes it when done.
QString newConnectionName(QString const& role);

// Opens (and makes, when create is true) the SQLite file at path with the store's
// tables, in WAL mode. A file that is not a database, is damaged or belongs to another
// program is moved aside, never overwritten: notice then says where it went.
// maxPageCount > 0 caps the file, so that a test can fill it.
bool openSqlite(QSqlDatabase& db, QString const& path, bool create, int maxPageCount, QString* notice,
                QString* error);

// Connects to the PostgreSQL database of target and makes the store's tables.
bool openPostgres(QSqlDatabase& db, StoreTarget const& target, QString* error);

// The user's words for a failed statement.
QString describe(QSqlError const& error, QString const& statement, StoreTarget const& target);

enum class Failure { None, Full, NoWrite, Permission, Connection, Other };
Failure classify(QSqlError const& error, StoreTarget::Kind kind);

// A list of texts as a JSON array, and back.
QString jsonArray(QStringList const& texts);
QStringList parseJsonArray(QString const& text);

// Whether the process pid of this machine still runs.
bool processAlive(qint64 pid);
QString thisHost();

} // namespace zelt::store::detail
