// The session store, with SQLite and with a PostgreSQL server of its own as rows of the
// same tests: what is written is read back whole, in order, once; bad files and full or
// read-only folders stop the logging with a message and lose nothing already stored.

#include "tests/common/pgserver.h"

#include "store/sessionreader.h"
#include "store/sessionstore.h"
#include "util/character.h"

#include <QAbstractTableModel>
#include <QSignalSpy>
#include <QtTest>

#include <linux/capability.h>
#include <sys/syscall.h>
#include <unistd.h>

using zelt::store::SessionHeader;
using zelt::store::SessionReader;
using zelt::store::SessionState;
using zelt::store::SessionStore;
using zelt::store::StoredRow;
using zelt::store::StoreTarget;

namespace {

QStringList const kColumns {"No.", "Time", "Mode", "Voltage", "Current", "Note"};
qint64 const kBase = 1764000000000; // a fixed start, so ranges are exact

QStringList cellsOf(int i)
{
    // Numbers with their trailing zeros, text, and the characters CSV must quote.
    return {QString::number(i + 1),
            QStringLiteral("2026-11-24 10:00:%1").arg(i % 60, 2, 10, QLatin1Char('0')),
            i % 2 ? QStringLiteral("CV") : QStringLiteral("CC"),
            QString::number(10 + i * 0.5, 'f', 3),
            QStringLiteral("1.250"),
            i % 3 ? QStringLiteral("a,b \"c\"") : QString()};
}

// The window's table as the window's Export sees it.
class Table : public QAbstractTableModel
{
public:
    Table(QStringList columns, QList<QStringList> rows)
        : m_columns(std::move(columns))
        , m_rows(std::move(rows))
    {
    }
    int rowCount(QModelIndex const& = {}) const override { return int(m_rows.size()); }
    int columnCount(QModelIndex const& = {}) const override { return int(m_columns.size()); }
    QVariant data(QModelIndex const& index, int role) const override
    {
        return role == Qt::DisplayRole ? QVariant(m_rows.at(index.row()).at(index.column())) : QVariant();
    }
    QVariant headerData(int section, Qt::Orientation, int role) const override
    {
        return role == Qt::DisplayRole ? QVariant(m_columns.at(section)) : QVariant();
    }

private:
    QStringList m_columns;
    QList<QStringList> m_rows;
};

// As root, file modes bind only without the right to override them: dropped on this
// thread (and the threads it starts) while alive.
class NoOverride
{
public:
    NoOverride()
    {
        m_header.version = _LINUX_CAPABILITY_VERSION_3;
        if (::syscall(SYS_capget, &m_header, m_saved) != 0)
            return;
        __user_cap_data_struct reduced[2] = {m_saved[0], m_saved[1]};
        reduced[0].effective
            &= ~((1U << CAP_DAC_OVERRIDE) | (1U << CAP_DAC_READ_SEARCH) | (1U << CAP_FOWNER));
        m_ok = ::syscall(SYS_capset, &m_header, reduced) == 0;
    }
    ~NoOverride()
    {
        if (m_ok)
            ::syscall(SYS_capset, &m_header, m_saved);
    }
    NoOverride(NoOverride const&) = delete;
    NoOverride& operator=(NoOverride const&) = delete;

private:
    __user_cap_header_struct m_header {};
    __user_cap_data_struct m_saved[2] {};
    bool m_ok = false;
};

QList<StoredRow> allRows(SessionReader& reader, qint64 session)
{
    return reader.rows(session, 0, 1 << 20);
}

} // namespace

class TestSessionStore : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase();
    void cleanupTestCase();
    void rowsInOrderAcrossClear_data() { kinds(); }
    void rowsInOrderAcrossClear();
    void chartSlicesKeepExtremes_data() { kinds(); }
    void chartSlicesKeepExtremes();
    void csvRangeAsWindowExport_data() { kinds(); }
    void csvRangeAsWindowExport();
    void twoWritersAtOnce_data() { kinds(); }
    void twoWritersAtOnce();
    void serverStoppedMidSession();
    void userWithoutRights();
    void unreadableFileMovedAside_data();
    void unreadableFileMovedAside();
    void loggingStops_data();
    void loggingStops();

private:
    void kinds();
    // A fresh store of the row's kind: its own file, or its own database with its own spool.
    StoreTarget target(QString const& user = QStringLiteral("postgres"));

    QTemporaryDir m_dir;
    PgServer m_pg;
    bool m_pgUp = false;
    int m_count = 0;
};

void TestSessionStore::initTestCase()
{
    QStandardPaths::setTestModeEnabled(true);
    QVERIFY(m_dir.isValid());
    m_pgUp = m_pg.start();
    if (!m_pgUp)
        qWarning("PostgreSQL rows skip: %s", qPrintable(m_pg.why()));
}

void TestSessionStore::cleanupTestCase()
{
    QVERIFY(m_pg.stop());
}

void TestSessionStore::kinds()
{
    QTest::addColumn<bool>("postgres");
    QTest::newRow("sqlite") << false;
    QTest::newRow("postgresql") << true;
}

StoreTarget TestSessionStore::target(QString const& user)
{
    QString const name = QStringLiteral("s%1").arg(++m_count);
    StoreTarget result;
    QFETCH(bool, postgres);
    if (postgres) {
        if (!m_pgUp)
            return result;
        if (!m_pg.createDatabase(name))
            qWarning("%s", qPrintable(m_pg.why()));
        StoreTarget::parse(m_pg.url(user, name), &result);
    }
    result.path = m_dir.filePath(name + QStringLiteral(".sqlite"));
    return result;
}

#define SKIP_WITHOUT_SERVER()                                                                                \
    do {                                                                                                     \
        QFETCH(bool, postgres);                                                                              \
        if (postgres && !m_pgUp)                                                                             \
            QSKIP(qPrintable(QStringLiteral("no PostgreSQL server: %1").arg(m_pg.why())));                   \
    } while (false)

void TestSessionStore::rowsInOrderAcrossClear()
{
    SKIP_WITHOUT_SERVER();
    StoreTarget const where = target();
    QStringList const other {"No.", "Time", "V1", "V2"};
    {
        SessionStore store(where);
        quint64 const id
            = store.beginSession({"Bench 3", "KVR9040-40", "TCPIP0::10.0.0.7::5025::SOCKET"}, kColumns);
        for (int i = 0; i < 300; ++i) {
            if (i == 100)
                store.newSegment(id, kColumns); // the window's Clear
            if (i == 200)
                store.newSegment(id, other); // another power mode's table
            store.appendRow(id, kBase + i, cellsOf(i));
        }
        store.endSession(id);
        QVERIFY(store.flush(10000));
    }
    SessionReader reader(where);
    QVERIFY2(reader.open(), qPrintable(reader.lastError()));
    auto const sessions = reader.sessions();
    QCOMPARE(sessions.size(), 1);
    QCOMPARE(sessions.first().header.instrument, QStringLiteral("Bench 3"));
    QCOMPARE(sessions.first().header.resource, QStringLiteral("TCPIP0::10.0.0.7::5025::SOCKET"));
    QCOMPARE(sessions.first().state, SessionState::Ended);
    QCOMPARE(sessions.first().rows, 300);
    QVERIFY(sessions.first().end >= sessions.first().start);
    auto const segments = reader.segments(sessions.first().id);
    QCOMPARE(segments.size(), 3);
    QCOMPARE(segments.at(1).firstSeq, 100);
    QCOMPARE(segments.at(2).columns, other);
    auto const rows = allRows(reader, sessions.first().id);
    QCOMPARE(rows.size(), 300);
    for (int i = 0; i < 300; ++i) {
        QCOMPARE(rows.at(i).seq, i);
        QCOMPARE(rows.at(i).segment, i / 100);
        QCOMPARE(rows.at(i).timeMs, kBase + i);
        QCOMPARE(rows.at(i).cells, cellsOf(i));
    }
    // The numbers are numbers to the chart: the voltage's slices span its values.
    auto const buckets = reader.decimate(sessions.first().id, {3}, kBase, kBase + 299, 3);
    QCOMPARE(buckets.first().size(), 3);
    QCOMPARE(buckets.first().first().min, 10.0);
    QCOMPARE(buckets.first().last().max, 10 + 299 * 0.5);
}

void TestSessionStore::chartSlicesKeepExtremes()
{
    SKIP_WITHOUT_SERVER();
    StoreTarget const where = target();
    int const total = 5000; // whole blocks of rows and a tail of single rows
    auto voltage = [](int i) {
        return i == 1234 ? 999.0 : i == total - 1 ? -5.0 : double(i % 100);
    };
    {
        SessionStore store(where);
        quint64 const id = store.beginSession({"PSU", "KVR9040-40", "sim"}, kColumns);
        for (int i = 0; i < total; ++i) {
            QStringList cells = cellsOf(i);
            cells[3] = QString::number(voltage(i), 'f', 3);
            store.appendRow(id, kBase + i, cells);
        }
        QVERIFY(store.flush(10000));
    }
    SessionReader reader(where);
    QVERIFY(reader.open());
    auto const slices
        = reader.decimate(reader.sessions().first().id, {3}, kBase, kBase + total - 1, 2).first();
    QCOMPARE(slices.size(), 2);
    QCOMPARE(slices.at(0).firstMs, kBase);
    QCOMPARE(slices.at(0).max, 999.0);
    QCOMPARE(slices.at(0).min, 0.0);
    QCOMPARE(slices.at(1).max, 99.0);
    QCOMPARE(slices.at(1).min, -5.0);
    QCOMPARE(slices.at(1).lastMs, kBase + total - 1);
}

void TestSessionStore::csvRangeAsWindowExport()
{
    SKIP_WITHOUT_SERVER();
    StoreTarget const where = target();
    {
        SessionStore store(where);
        quint64 const id = store.beginSession({"PSU", "KVR9040-40", "sim"}, kColumns);
        for (int i = 0; i < 50; ++i)
            store.appendRow(id, kBase + qint64(100) * i, cellsOf(i));
        QVERIFY(store.flush(10000));
    }
    SessionReader reader(where);
    QVERIFY(reader.open());
    qint64 const session = reader.sessions().first().id;
    QList<QStringList> expected;
    for (int i = 10; i <= 20; ++i)
        expected << cellsOf(i);
    Table table(kColumns, expected);
    QString const windowFile = m_dir.filePath(QStringLiteral("window-%1.csv").arg(m_count));
    QString const browserFile = m_dir.filePath(QStringLiteral("browser-%1.csv").arg(m_count));
    QVERIFY(zelt::util::character::Character::csvSave(windowFile, &table, false));
    QVERIFY(reader.exportCsv(session, browserFile, kBase + 1000, kBase + 2000));
    QFile window(windowFile);
    QFile browser(browserFile);
    QVERIFY(window.open(QIODevice::ReadOnly) && browser.open(QIODevice::ReadOnly));
    QCOMPARE(browser.readAll(), window.readAll());
}

void TestSessionStore::twoWritersAtOnce()
{
    SKIP_WITHOUT_SERVER();
    StoreTarget const where = target();
    StoreTarget second = where;
    second.path = m_dir.filePath(QStringLiteral("second-%1.sqlite").arg(m_count));
    QFETCH(bool, postgres);
    if (!postgres)
        second.path = where.path; // two hosts of one machine share the file
    {
        SessionStore a(where);
        SessionStore b(second);
        quint64 const ida = a.beginSession({"A", "KVR9040-40", "a"}, kColumns);
        quint64 const idb = b.beginSession({"B", "KVR9040-40", "b"}, kColumns);
        for (int i = 0; i < 2000; ++i) {
            a.appendRow(ida, kBase + i, cellsOf(i));
            b.appendRow(idb, kBase + i, cellsOf(2000 - i));
        }
        a.endSession(ida);
        b.endSession(idb);
        QVERIFY(a.flush(20000));
        QVERIFY(b.flush(20000));
    }
    SessionReader reader(where);
    QVERIFY(reader.open());
    auto const sessions = reader.sessions();
    QCOMPARE(sessions.size(), 2);
    for (auto const& session : sessions) {
        bool const isA = session.header.instrument == QLatin1String("A");
        auto const rows = allRows(reader, session.id);
        QCOMPARE(rows.size(), 2000);
        QCOMPARE(session.rows, 2000);
        for (int i = 0; i < 2000; ++i)
            QCOMPARE(rows.at(i).cells, cellsOf(isA ? i : 2000 - i));
    }
}

void TestSessionStore::serverStoppedMidSession()
{
    if (!m_pgUp)
        QSKIP(qPrintable(QStringLiteral("no PostgreSQL server: %1").arg(m_pg.why())));
    QString const name = QStringLiteral("away");
    QVERIFY(m_pg.createDatabase(name));
    StoreTarget where;
    QVERIFY(StoreTarget::parse(m_pg.url(QStringLiteral("postgres"), name), &where));
    where.path = m_dir.filePath(QStringLiteral("away.sqlite"));
    int const total = 1500;
    {
        SessionStore store(where);
        QSignalSpy messages(&store, &SessionStore::message);
        quint64 const id = store.beginSession({"PSU", "KVR9040-40", "sim"}, kColumns);
        for (int i = 0; i < 500; ++i)
            store.appendRow(id, kBase + i, cellsOf(i));
        QVERIFY(store.flush(10000));
        QVERIFY(m_pg.stop());
        for (int i = 500; i < 1000; ++i)
            store.appendRow(id, kBase + i, cellsOf(i));
        QVERIFY(!store.flush(1500)); // the server is away: the rows wait in the spool
        QTRY_VERIFY_WITH_TIMEOUT(!messages.isEmpty(), 10000);
        QVERIFY2(messages.first().first().toString().contains(QStringLiteral("kept")),
                 qPrintable(messages.first().first().toString()));
        QVERIFY(m_pg.restart());
        for (int i = 1000; i < total; ++i)
            store.appendRow(id, kBase + i, cellsOf(i));
        store.endSession(id);
        QVERIFY(store.flush(20000));
    }
    SessionReader reader(where);
    QVERIFY(reader.open());
    auto const sessions = reader.sessions();
    QCOMPARE(sessions.size(), 1);
    QCOMPARE(sessions.first().rows, total);
    QCOMPARE(sessions.first().state, SessionState::Ended);
    auto const rows = allRows(reader, sessions.first().id);
    QCOMPARE(rows.size(), total);
    for (int i = 0; i < total; ++i) {
        QCOMPARE(rows.at(i).seq, i);
        QCOMPARE(rows.at(i).cells, cellsOf(i));
    }
}

void TestSessionStore::userWithoutRights()
{
    if (!m_pgUp)
        QSKIP(qPrintable(QStringLiteral("no PostgreSQL server: %1").arg(m_pg.why())));
    QVERIFY(m_pg.createRole(QStringLiteral("visitor")));
    QVERIFY(m_pg.createDatabase(QStringLiteral("guarded")));
    StoreTarget where;
    QVERIFY(StoreTarget::parse(m_pg.url(QStringLiteral("visitor"), QStringLiteral("guarded")), &where));
    where.path = m_dir.filePath(QStringLiteral("guarded.sqlite"));
    SessionStore store(where);
    QSignalSpy messages(&store, &SessionStore::message);
    store.appendRow(store.beginSession({"PSU", "KVR9040-40", "sim"}, kColumns), kBase, cellsOf(0));
    QTRY_VERIFY_WITH_TIMEOUT(!messages.isEmpty(), 10000);
    QString const text = messages.first().first().toString();
    QVERIFY2(text.contains(QStringLiteral("visitor"))
                 && text.contains(QStringLiteral("CREATE right on schema public")),
             qPrintable(text));
    QVERIFY(store.isLogging()); // the spool keeps the rows for when the right is granted
}

void TestSessionStore::unreadableFileMovedAside_data()
{
    QTest::addColumn<QByteArray>("content"); // empty: a database of another program
    QTest::newRow("not a database") << QByteArray(8192, 'x');
    QTest::newRow("another program's database") << QByteArray();
}

void TestSessionStore::unreadableFileMovedAside()
{
    QFETCH(QByteArray, content);
    QString const path = m_dir.filePath(QStringLiteral("bad-%1.sqlite").arg(++m_count));
    if (content.isEmpty()) {
        // Our own store first, then stamped as another program's file.
        {
            SessionStore store(StoreTarget {StoreTarget::Kind::Sqlite, path, {}, {}, 5432, {}, {}});
            QVERIFY(store.flush(5000));
        }
        QFile file(path);
        QVERIFY(file.open(QIODevice::ReadWrite));
        QVERIFY(file.seek(68)); // the header's application id
        QVERIFY(file.write(QByteArray::fromHex("0badf00d")) == 4);
    } else {
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly) && file.write(content) == content.size());
    }
    QFile original(path);
    QVERIFY(original.open(QIODevice::ReadOnly));
    QByteArray const before = original.readAll();
    original.close();

    StoreTarget const where {StoreTarget::Kind::Sqlite, path, {}, {}, 5432, {}, {}};
    {
        SessionStore store(where);
        QSignalSpy messages(&store, &SessionStore::message);
        store.appendRow(store.beginSession({"PSU", "KVR9040-40", "sim"}, kColumns), kBase, cellsOf(0));
        QVERIFY(store.flush(5000));
        QTRY_COMPARE(messages.size(), 1);
        QString const text = messages.first().first().toString();
        QRegularExpressionMatch const moved
            = QRegularExpression(QStringLiteral("moved to (\\S+)")).match(text);
        QVERIFY2(moved.hasMatch(), qPrintable(text));
        QFile aside(moved.captured(1));
        QVERIFY(aside.open(QIODevice::ReadOnly));
        QCOMPARE(aside.readAll(), before);
    }
    SessionReader reader(where);
    QVERIFY(reader.open());
    QCOMPARE(reader.sessions().size(), 1);
}

void TestSessionStore::loggingStops_data()
{
    QTest::addColumn<bool>("readOnly"); // else a file that fills
    QTest::addColumn<QString>("words");
    QTest::newRow("read-only folder") << true << QStringLiteral("cannot be written");
    QTest::newRow("full") << false << QStringLiteral("is full");
}

void TestSessionStore::loggingStops()
{
    QFETCH(bool, readOnly);
    QFETCH(QString, words);
    QTemporaryDir folder;
    QVERIFY(folder.isValid());
    StoreTarget const where {
        StoreTarget::Kind::Sqlite, folder.filePath(QStringLiteral("sessions.sqlite")), {}, {}, 5432, {}, {}};
    SessionStore::Options options;
    options.maxPageCount = readOnly ? 0 : 40;
    int stored = 0; // rows committed before the trouble
    {
        SessionStore store(where, options);
        quint64 const id = store.beginSession({"PSU", "KVR9040-40", "sim"}, kColumns);
        for (; stored < 20; ++stored)
            store.appendRow(id, kBase + stored, cellsOf(stored));
        QVERIFY(store.flush(5000));
        if (!readOnly) {
            QSignalSpy stopped(&store, &SessionStore::loggingStopped);
            for (int i = stored; i < 20000 && store.isLogging(); ++i) {
                store.appendRow(id, kBase + i, cellsOf(i));
                if (i % 50 == 0)
                    store.flush(5000);
            }
            QVERIFY(!store.isLogging());
            QTRY_COMPARE(stopped.size(), 1);
            QVERIFY2(stopped.first().first().toString().contains(words),
                     qPrintable(stopped.first().first().toString()));
        }
    }
    if (readOnly) {
        QVERIFY(QFile::setPermissions(folder.path(), QFileDevice::ReadOwner | QFileDevice::ExeOwner));
        {
            NoOverride const guard;
            SessionStore store(where);
            QSignalSpy stopped(&store, &SessionStore::loggingStopped);
            store.appendRow(store.beginSession({"PSU", "KVR9040-40", "sim"}, kColumns), kBase, cellsOf(0));
            QTRY_COMPARE(stopped.size(), 1);
            QVERIFY2(stopped.first().first().toString().contains(words),
                     qPrintable(stopped.first().first().toString()));
            QVERIFY(!store.isLogging());
        }
        QVERIFY(QFile::setPermissions(
            folder.path(), QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner));
    }
    SessionReader reader(where);
    QVERIFY(reader.open());
    auto const sessions = reader.sessions();
    QCOMPARE(sessions.size(), 1);
    auto const rows = allRows(reader, sessions.first().id);
    QVERIFY(rows.size() >= stored);
    for (int i = 0; i < rows.size(); ++i)
        QCOMPARE(rows.at(i).cells, cellsOf(i));
}

QTEST_GUILESS_MAIN(TestSessionStore)
#include "tst_sessionstore.moc"
