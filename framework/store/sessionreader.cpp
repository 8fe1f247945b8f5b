#include "store/sessionreader.h"

#include "store/database.h"
#include "store/dialect.h"
#include "util/character.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QSaveFile>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QVariant>

#include <map>
#include <optional>
#include <vector>

namespace zelt::store {

namespace {

using detail::Dialect;

QDateTime fromMs(QVariant const& value)
{
    return value.isNull() ? QDateTime() : QDateTime::fromMSecsSinceEpoch(value.toLongLong());
}

QString csvLine(QStringList const& fields)
{
    QString line;
    for (qsizetype i = 0; i < fields.size(); ++i) {
        if (i > 0)
            line += u',';
        line += zelt::util::character::Character::csvField(fields.at(i));
    }
    line += u'\n';
    return line;
}

} // namespace

SessionReader::SessionReader(StoreTarget target)
    : m_target(std::move(target))
    , m_connection(detail::newConnectionName(QStringLiteral("reader")))
{
}

SessionReader::~SessionReader()
{
    {
        QSqlDatabase db = QSqlDatabase::database(m_connection, false);
        if (db.isValid())
            db.close();
    }
    QSqlDatabase::removeDatabase(m_connection);
}

bool SessionReader::open()
{
    bool const pg = m_target.kind == StoreTarget::Kind::Postgres;
    QSqlDatabase db = QSqlDatabase::contains(m_connection)
        ? QSqlDatabase::database(m_connection, false)
        : QSqlDatabase::addDatabase(pg ? QStringLiteral("QPSQL") : QStringLiteral("QSQLITE"), m_connection);
    if (db.isOpen())
        return true;
    if (pg)
        return detail::openPostgres(db, m_target, &m_error);
    m_empty = !QFileInfo::exists(m_target.path);
    if (m_empty)
        return true;
    db.setDatabaseName(m_target.path);
    db.setConnectOptions(QStringLiteral("QSQLITE_BUSY_TIMEOUT=5000"));
    if (!db.open()) {
        m_error = db.lastError().databaseText();
        return false;
    }
    // A chart of a long session scans it: mapped, its pages are read in place, not copied.
    db.exec(QStringLiteral("PRAGMA mmap_size = 1073741824"));
    return true;
}

QList<SessionInfo> SessionReader::sessions()
{
    QList<SessionInfo> list;
    if (!open() || m_empty)
        return list;
    QSqlQuery query(QSqlDatabase::database(m_connection, false));
    query.setForwardOnly(true);
    if (!query.exec(Dialect::of(m_target.kind).listSessions)) {
        m_error = query.lastError().databaseText();
        return list;
    }
    QString const here = detail::thisHost();
    while (query.next()) {
        SessionInfo info;
        info.id = query.value(0).toLongLong();
        info.header = {query.value(1).toString(), query.value(2).toString(), query.value(3).toString()};
        info.host = query.value(4).toString();
        info.start = fromMs(query.value(6));
        info.end = fromMs(query.value(7));
        info.state = SessionState(query.value(8).toInt());
        info.rows = query.value(9).toLongLong();
        if (info.state == SessionState::Open && info.host == here
            && !detail::processAlive(query.value(5).toLongLong())) {
            info.state = SessionState::Interrupted;
            info.end = fromMs(query.value(10));
        }
        list << info;
    }
    return list;
}

QList<Segment> SessionReader::segments(qint64 session)
{
    QList<Segment> list;
    if (!open() || m_empty)
        return list;
    QSqlQuery query(QSqlDatabase::database(m_connection, false));
    query.prepare(Dialect::of(m_target.kind).segmentsOf);
    query.addBindValue(session);
    if (!query.exec())
        return list;
    while (query.next())
        list << Segment {query.value(0).toInt(), query.value(1).toLongLong(), fromMs(query.value(2)),
                         detail::parseJsonArray(query.value(3).toString())};
    return list;
}

QList<StoredRow> SessionReader::rows(qint64 session, qint64 fromSeq, int count)
{
    QList<StoredRow> list;
    if (!open() || m_empty)
        return list;
    QSqlQuery query(QSqlDatabase::database(m_connection, false));
    query.setForwardOnly(true);
    query.prepare(Dialect::of(m_target.kind).rowsFrom);
    query.addBindValue(session);
    query.addBindValue(fromSeq);
    query.addBindValue(count);
    if (!query.exec())
        return list;
    list.reserve(count);
    while (query.next())
        list << StoredRow {query.value(0).toLongLong(), query.value(1).toInt(), query.value(2).toLongLong(),
                           detail::parseJsonArray(query.value(3).toString())};
    return list;
}

bool SessionReader::timeSpan(qint64 session, qint64* firstMs, qint64* lastMs)
{
    if (!open() || m_empty)
        return false;
    QSqlQuery query(QSqlDatabase::database(m_connection, false));
    query.prepare(Dialect::of(m_target.kind).timeSpan);
    query.addBindValue(session);
    query.addBindValue(session);
    if (!query.exec() || !query.next() || query.value(0).isNull())
        return false;
    *firstMs = query.value(0).toLongLong();
    *lastMs = query.value(1).toLongLong();
    return true;
}

QList<QList<Bucket>> SessionReader::decimate(qint64 session, QList<int> const& columns, qint64 fromMs,
                                             qint64 toMs, int buckets)
{
    QList<QList<Bucket>> result(columns.size());
    if (!open() || m_empty || columns.isEmpty() || buckets <= 0 || toMs < fromMs)
        return result;
    QList<int> wanted;
    for (int c : columns)
        wanted << qBound(0, c, detail::kNumberColumns - 1);
    QSqlDatabase db = QSqlDatabase::database(m_connection, false);
    auto seqAt = [&db, session](QString const& statement, qint64 timeMs, qint64* seq) {
        QSqlQuery query(db);
        query.prepare(statement);
        query.addBindValue(session);
        query.addBindValue(timeMs);
        if (!query.exec() || !query.next())
            return false;
        *seq = query.value(0).toLongLong();
        return true;
    };
    qint64 fromSeq = 0;
    qint64 toSeq = 0;
    Dialect const& dialect = Dialect::of(m_target.kind);
    if (!seqAt(dialect.seqFrom, fromMs, &fromSeq) || !seqAt(dialect.seqUpTo, toMs, &toSeq))
        return result;
    qint64 const width = qMax<qint64>(1, (toMs - fromMs) / buckets + 1);
    // Slices by number, merged from the blocks and the rows around them.
    std::map<qint64, std::vector<std::optional<Bucket>>> slices;
    auto gather = [&](QString const& statement, qint64 firstSeq, qint64 lastSeq) {
        if (firstSeq > lastSeq)
            return true;
        QSqlQuery query(db);
        query.setForwardOnly(true);
        query.prepare(statement);
        query.addBindValue(fromMs);
        query.addBindValue(width);
        query.addBindValue(session);
        query.addBindValue(firstSeq);
        query.addBindValue(lastSeq);
        if (!query.exec()) {
            m_error = query.lastError().databaseText();
            return false;
        }
        while (query.next()) {
            auto& slice = slices[query.value(0).toLongLong()];
            slice.resize(wanted.size());
            qint64 const first = query.value(1).toLongLong();
            qint64 const last = query.value(2).toLongLong();
            for (qsizetype i = 0; i < wanted.size(); ++i) {
                QVariant const min = query.value(3 + 2 * int(i));
                if (min.isNull())
                    continue;
                Bucket const add {first, last, min.toDouble(), query.value(4 + 2 * int(i)).toDouble()};
                auto& into = slice[size_t(i)];
                into = !into ? add
                             : Bucket {std::min(into->firstMs, first), std::max(into->lastMs, last),
                                       std::min(into->min, add.min), std::max(into->max, add.max)};
            }
        }
        return true;
    };
    bool done = false;
    // Blocks only where a slice spans two of them at least, so that a block's place in time is
    // a small part of its slice.
    if ((toSeq - fromSeq) / buckets >= qint64(2) * detail::kBlockRows) {
        QSqlQuery span(db);
        span.prepare(dialect.blockSpan);
        span.addBindValue(session);
        span.addBindValue(fromSeq);
        span.addBindValue(toSeq);
        if (span.exec() && span.next() && !span.value(0).isNull()) {
            qint64 const first = span.value(0).toLongLong();
            qint64 const last = span.value(1).toLongLong();
            // Every block there, or the rows are read instead.
            if (last - first + 1 == span.value(2).toLongLong() * detail::kBlockRows)
                done = gather(dialect.decimateBlocks(wanted), first, last)
                    && gather(dialect.decimate(wanted), fromSeq, first - 1)
                    && gather(dialect.decimate(wanted), last + 1, toSeq);
        }
    }
    if (!done) {
        slices.clear();
        gather(dialect.decimate(wanted), fromSeq, toSeq);
    }
    for (auto const& [bucket, columns] : slices) {
        for (size_t i = 0; i < columns.size(); ++i) {
            if (columns[i])
                result[qsizetype(i)] << *columns[i];
        }
    }
    return result;
}

bool SessionReader::exportCsv(qint64 session, QString const& path, qint64 fromMs, qint64 toMs)
{
    QList<Segment> const parts = segments(session);
    if (parts.isEmpty())
        return false;
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly)) {
        m_error = file.errorString();
        return false;
    }
    QSqlQuery query(QSqlDatabase::database(m_connection, false));
    query.setForwardOnly(true);
    query.prepare(Dialect::of(m_target.kind).rowsInTime);
    query.addBindValue(session);
    query.addBindValue(fromMs);
    query.addBindValue(toMs);
    if (!query.exec()) {
        m_error = query.lastError().databaseText();
        return false;
    }
    auto columnsOf = [&parts](int segment) {
        for (Segment const& part : parts) {
            if (part.number == segment)
                return part.columns;
        }
        return parts.constFirst().columns;
    };
    QString text;
    bool header = false;
    QStringList columns;
    auto write = [&file, &text] {
        QByteArray const bytes = text.toUtf8();
        text.resize(0);
        return file.write(bytes) == bytes.size();
    };
    while (query.next()) {
        QStringList const now = columnsOf(query.value(1).toInt());
        if (!header || now != columns) {
            columns = now;
            header = true;
            text += csvLine(columns);
        }
        text += csvLine(detail::parseJsonArray(query.value(3).toString()));
        if (text.size() > qsizetype(32) * 1024 && !write())
            return false;
    }
    // A range without rows still names its columns, as the window's empty table would.
    if (!header)
        text += csvLine(parts.constFirst().columns);
    if (!write() || !file.commit()) {
        m_error = file.errorString();
        return false;
    }
    return true;
}

bool SessionReader::remove(qint64 session)
{
    if (!open() || m_empty)
        return false;
    QSqlDatabase db = QSqlDatabase::database(m_connection, false);
    db.transaction();
    for (QString const& statement : Dialect::of(m_target.kind).deleteSession) {
        QSqlQuery query(db);
        query.prepare(statement);
        query.addBindValue(session);
        if (!query.exec()) {
            m_error = detail::describe(query.lastError(), statement, m_target);
            db.rollback();
            return false;
        }
    }
    return db.commit();
}

} // namespace zelt::store
