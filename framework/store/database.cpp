#include "store/database.h"

#include <QAtomicInteger>
#include <QCoreApplication>
#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QSqlQuery>
#include <QSysInfo>
#include <QThread>
#include <QVariant>

#include <cerrno>
#include <csignal>

namespace zelt::store::detail {

namespace {

// "ZELT": a file with another application id belongs to someone else.
constexpr int kApplicationId = 0x5A454C54;

QString tr(char const* text)
{
    return QCoreApplication::translate("zelt::store::SessionStore", text);
}

bool exec(QSqlDatabase& db, QString const& statement, QSqlError* error, QVariant* first = nullptr)
{
    QSqlQuery query(db);
    if (!query.exec(statement)) {
        *error = query.lastError();
        return false;
    }
    if (first && query.next())
        *first = query.value(0);
    return true;
}

// Why the file cannot be the store (empty when it can); false when it cannot even be
// asked, which is the folder's or the disk's fault and not the file's.
bool rejection(QSqlDatabase& db, QString* why, QSqlError* error)
{
    auto unreadable = [why, error] {
        int const code = error->nativeErrorCode().toInt();
        if (code != 26 && code != 11) // SQLITE_NOTADB, SQLITE_CORRUPT
            return false;
        *why = error->databaseText();
        return true;
    };
    // One statement, so one snapshot: another host may be making its tables in this file right
    // now, and a mark read before they came beside tables read after would take it for foreign.
    QVariant foreign;
    if (!exec(db,
              QStringLiteral("SELECT application_id <> %1 AND (SELECT COUNT(*) FROM sqlite_master) > 0 "
                             "FROM pragma_application_id")
                  .arg(kApplicationId),
              error, &foreign))
        return unreadable();
    if (foreign.toBool()) {
        *why = tr("it belongs to another program");
        return true;
    }
    QVariant check;
    if (!exec(db, QStringLiteral("PRAGMA quick_check(1)"), error, &check))
        return unreadable();
    if (check.toString() != QLatin1String("ok"))
        *why = check.toString();
    return true;
}

bool moveAside(QString const& path, QString* moved)
{
    QString const stamp = QDateTime::currentDateTime().toString(QStringLiteral("yyyyMMdd-hhmmss"));
    QString target = QStringLiteral("%1.unreadable-%2").arg(path, stamp);
    for (int i = 2; QFileInfo::exists(target); ++i)
        target = QStringLiteral("%1.unreadable-%2-%3").arg(path, stamp).arg(i);
    if (!QFile::rename(path, target))
        return false;
    // The journal files go with it: they belong to the old file.
    for (char const* suffix : {"-wal", "-shm"}) {
        QString const side = path + QLatin1String(suffix);
        if (QFileInfo::exists(side))
            QFile::rename(side, target + QLatin1String(suffix));
    }
    *moved = target;
    return true;
}

bool prepareSqlite(QSqlDatabase& db, int maxPageCount, QSqlError* error)
{
    QVariant mode;
    if (!exec(db, QStringLiteral("PRAGMA busy_timeout = 5000"), error)
        || !exec(db, QStringLiteral("PRAGMA journal_mode = WAL"), error, &mode))
        return false;
    if (mode.toString().compare(QLatin1String("wal"), Qt::CaseInsensitive) != 0) {
        *error = QSqlError(tr("the file cannot use a write-ahead log"), QString(), QSqlError::StatementError,
                           QStringLiteral("8"));
        return false;
    }
    // FULL: a commit is on the disk before the next one, so power loss costs at most the last.
    // A writer that appends needs few pages in memory, however long the session.
    if (!exec(db, QStringLiteral("PRAGMA synchronous = FULL"), error)
        || !exec(db, QStringLiteral("PRAGMA cache_size = -1024"), error))
        return false;
    if (maxPageCount > 0 && !exec(db, QStringLiteral("PRAGMA max_page_count = %1").arg(maxPageCount), error))
        return false;
    if (!exec(db, QStringLiteral("PRAGMA application_id = %1").arg(kApplicationId), error))
        return false;
    for (QString const& statement : Dialect::of(StoreTarget::Kind::Sqlite).schema) {
        if (!exec(db, statement, error))
            return false;
    }
    return true;
}

} // namespace

QString jsonArray(QStringList const& texts)
{
    // Written by hand: the writer does this for every row, and a QJsonDocument costs more.
    QString out;
    out.reserve(16 * texts.size() + 2);
    out += u'[';
    for (qsizetype i = 0; i < texts.size(); ++i) {
        if (i > 0)
            out += u',';
        out += u'"';
        for (QChar const c : texts.at(i)) {
            if (c == u'"' || c == u'\\') {
                out += u'\\';
                out += c;
            } else if (c.unicode() < 0x20) {
                out += QStringLiteral("\\u%1").arg(c.unicode(), 4, 16, QLatin1Char('0'));
            } else {
                out += c;
            }
        }
        out += u'"';
    }
    out += u']';
    return out;
}

QStringList parseJsonArray(QString const& text)
{
    QStringList list;
    QJsonArray const array = QJsonDocument::fromJson(text.toUtf8()).array();
    list.reserve(array.size());
    for (auto const& value : array)
        list << value.toString();
    return list;
}

QString newConnectionName(QString const& role)
{
    static QAtomicInteger<int> counter;
    return QStringLiteral("zelt-store-%1-%2").arg(role).arg(counter.fetchAndAddRelaxed(1));
}

bool openSqlite(QSqlDatabase& db, QString const& path, bool create, int maxPageCount, QString* notice,
                QString* error)
{
    QFileInfo const info(path);
    if (!create && !info.exists()) {
        *error = tr("%1 does not exist.").arg(QDir::toNativeSeparators(path));
        return false;
    }
    if (create && !QDir().mkpath(info.absolutePath())) {
        *error = tr("Cannot make the folder %1.").arg(QDir::toNativeSeparators(info.absolutePath()));
        return false;
    }
    db.setDatabaseName(path);
    if (!db.open()) {
        *error = tr("Cannot open %1: %2").arg(QDir::toNativeSeparators(path), db.lastError().databaseText());
        return false;
    }
    if (info.exists() && info.size() > 0) {
        QString why;
        QSqlError sqlError;
        if (!rejection(db, &why, &sqlError)) {
            *error = tr("%1 cannot be written (%2).")
                         .arg(QDir::toNativeSeparators(path), sqlError.databaseText());
            db.close();
            return false;
        }
        if (!why.isEmpty()) {
            db.close();
            QString moved;
            if (!moveAside(path, &moved)) {
                *error = tr("%1 cannot be read (%2) and cannot be moved aside.")
                             .arg(QDir::toNativeSeparators(path), why);
                return false;
            }
            *notice = tr("%1 could not be read (%2); it was moved to %3 and a new session file was made.")
                          .arg(QDir::toNativeSeparators(path), why, QDir::toNativeSeparators(moved));
            if (!db.open()) {
                *error = tr("Cannot open %1: %2")
                             .arg(QDir::toNativeSeparators(path), db.lastError().databaseText());
                return false;
            }
        }
    }
    QSqlError sqlError;
    if (!prepareSqlite(db, maxPageCount, &sqlError)) {
        *error
            = tr("%1 cannot be written (%2).").arg(QDir::toNativeSeparators(path), sqlError.databaseText());
        db.close();
        return false;
    }
    return true;
}

bool openPostgres(QSqlDatabase& db, StoreTarget const& target, QString* error)
{
    db.setHostName(target.host);
    db.setPort(target.port);
    db.setUserName(target.user);
    db.setDatabaseName(target.database);
    // The server may be away: never let a connect hang for long.
    db.setConnectOptions(QStringLiteral("connect_timeout=2;options='-c client_min_messages=warning'"));
    if (!db.open()) {
        *error = tr("Cannot reach %1: %2").arg(target.describe(), db.lastError().databaseText().trimmed());
        return false;
    }
    Dialect const& dialect = Dialect::of(StoreTarget::Kind::Postgres);
    // Two hosts that make the tables at the same moment may collide once; the second try finds them.
    for (int attempt = 0;; ++attempt) {
        QSqlError sqlError;
        QString failed;
        for (QString const& statement : dialect.schema) {
            if (!exec(db, statement, &sqlError)) {
                failed = statement;
                break;
            }
        }
        if (failed.isEmpty())
            return true;
        if (attempt >= 2 || classify(sqlError, StoreTarget::Kind::Postgres) == Failure::Permission) {
            *error = describe(sqlError, failed, target);
            db.close();
            return false;
        }
        QThread::msleep(100);
    }
}

QString describe(QSqlError const& error, QString const& statement, StoreTarget const& target)
{
    QString const text = error.databaseText().trimmed();
    if (classify(error, target.kind) == Failure::Permission) {
        QString const right = statement.section(u' ', 0, 0).toUpper();
        // The server names the object: "permission denied for table rows".
        QString const object = text.section(QStringLiteral(" for "), 1).section(u'\n', 0, 0);
        if (object.isEmpty())
            return tr("The PostgreSQL user %1 lacks the %2 right in %3 (%4). Grant it or choose another "
                      "store.")
                .arg(target.user, right, target.describe(), text);
        // "schema public" becomes "SCHEMA public", as GRANT spells it.
        QString const grant
            = QStringLiteral("GRANT %1 ON %2 %3 TO %4")
                  .arg(right, object.section(u' ', 0, 0).toUpper(), object.section(u' ', 1), target.user);
        return tr("The PostgreSQL user %1 lacks the %2 right on %3 in %4. Grant it (%5) or choose another "
                  "store.")
            .arg(target.user, right, object, target.describe(), grant);
    }
    if (target.kind == StoreTarget::Kind::Postgres)
        return tr("%1: %2").arg(target.describe(), text);
    return tr("%1: %2").arg(QDir::toNativeSeparators(target.path), text);
}

Failure classify(QSqlError const& error, StoreTarget::Kind kind)
{
    if (error.type() == QSqlError::NoError)
        return Failure::None;
    QString const code = error.nativeErrorCode();
    if (kind == StoreTarget::Kind::Postgres) {
        if (code == QLatin1String("42501"))
            return Failure::Permission;
        // Class 08 and the server's shutdown; a lost socket comes without a code.
        if (code.isEmpty() || code.startsWith(QLatin1String("08")) || code.startsWith(QLatin1String("57P"))
            || error.type() == QSqlError::ConnectionError)
            return Failure::Connection;
        return Failure::Other;
    }
    switch (code.toInt()) {
    case 13: // SQLITE_FULL
        return Failure::Full;
    case 8: // SQLITE_READONLY
    case 14: // SQLITE_CANTOPEN
    case 10: // SQLITE_IOERR
        return Failure::NoWrite;
    case 23: // SQLITE_AUTH
        return Failure::Permission;
    default:
        return Failure::Other;
    }
}

bool processAlive(qint64 pid)
{
    if (pid <= 0)
        return false;
    if (pid == QCoreApplication::applicationPid())
        return true;
    return ::kill(pid_t(pid), 0) == 0 || errno == EPERM;
}

QString thisHost()
{
    return QSysInfo::machineHostName();
}

} // namespace zelt::store::detail
