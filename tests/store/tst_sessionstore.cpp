// The session store, with SQLite and with a PostgreSQL server of its own as rows of the
// same tests: what is written is read back whole, in order, once; bad files and full or
// read-only folders stop the logging with a message and lose nothing already stored.

#include "tests/common/files.h"
#include "tests/common/pgserver.h"
#include "tests/store/storetarget.h"

#include "store/sessionreader.h"
#include "store/sessionstore.h"

#include <QtTest>

#include <linux/capability.h>
#include <sys/syscall.h>
#include <unistd.h>

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

// Rows from to to (excluded) as the window records them, a millisecond apart.
void appendRows(SessionStore& store, quint64 id, int from, int to)
{
    for (int i = from; i < to; ++i)
        store.appendRow(id, kBase + i, cellsOf(i));
}

quint64 begin(SessionStore& store, QString const& instrument = QStringLiteral("PSU"))
{
    return store.beginSession({instrument, "KVR9040-40", "sim"}, kColumns);
}

} // namespace

// QSKIP ends only the function it is in: a macro, not a helper.
#define SKIP_WITHOUT_SERVER(needed)                                                                          \
    do {                                                                                                     \
        if ((needed) && !m_pgUp)                                                                             \
            QSKIP(qPrintable(QStringLiteral("no PostgreSQL server: %1").arg(m_pg.why())));                   \
    } while (false)

class TestSessionStore : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;
    PgServer m_pg;
    bool m_pgUp = false;
    int m_count = 0;

    // A database of its own on the server, with its own spool.
    StoreTarget onServer(QString const& name)
    {
        StoreTarget result;
        if (!m_pg.createDatabase(name))
            qWarning("%s", qPrintable(m_pg.why()));
        StoreTarget::parse(m_pg.url(QStringLiteral("postgres"), name), &result);
        result.path = m_dir.filePath(name + QStringLiteral(".sqlite"));
        return result;
    }
    // A fresh store of the row's kind.
    StoreTarget target()
    {
        QString const name = QStringLiteral("s%1").arg(++m_count);
        QFETCH(bool, postgres);
        return postgres ? onServer(name) : sqliteTarget(m_dir.filePath(name + QStringLiteral(".sqlite")));
    }
    void kinds()
    {
        QTest::addColumn<bool>("postgres");
        QTest::newRow("sqlite") << false;
        QTest::newRow("postgresql") << true;
    }

private Q_SLOTS:
    void initTestCase()
    {
        QStandardPaths::setTestModeEnabled(true);
        QVERIFY(m_dir.isValid());
        m_pgUp = m_pg.start();
        if (!m_pgUp)
            qWarning("PostgreSQL rows skip: %s", qPrintable(m_pg.why()));
    }
    void cleanupTestCase() { QVERIFY(m_pg.stop()); }

    // Clear and another power mode start segments; a range exports as the window's Export.
    void rowsInOrderAcrossClear_data() { kinds(); }
    void rowsInOrderAcrossClear()
    {
        QFETCH(bool, postgres);
        SKIP_WITHOUT_SERVER(postgres);
        StoreTarget const where = target();
        QStringList const other {"No.", "Time", "V1", "V2"};
        {
            SessionStore store(where);
            quint64 const id
                = store.beginSession({"Bench 3", "KVR9040-40", "TCPIP0::10.0.0.7::5025::SOCKET"}, kColumns);
            appendRows(store, id, 0, 100);
            store.newSegment(id, kColumns); // the window's Clear
            appendRows(store, id, 100, 200);
            store.newSegment(id, other);
            appendRows(store, id, 200, 300);
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
        QList<QStringList> shown;
        for (int i = 10; i <= 20; ++i)
            shown << cellsOf(i);
        QString const exported = m_dir.filePath(QStringLiteral("browser-%1.csv").arg(m_count));
        QVERIFY(reader.exportCsv(sessions.first().id, exported, kBase + 10, kBase + 20));
        QCOMPARE(readFile(exported),
                 Table(kColumns, shown).csv(m_dir.filePath(QStringLiteral("window.csv"))));
    }

    // Whole blocks of rows and a tail of single rows: each slice keeps its extremes.
    void chartSlicesKeepExtremes_data() { kinds(); }
    void chartSlicesKeepExtremes()
    {
        QFETCH(bool, postgres);
        SKIP_WITHOUT_SERVER(postgres);
        StoreTarget const where = target();
        int const total = 5000;
        {
            SessionStore store(where);
            quint64 const id = begin(store);
            for (int i = 0; i < total; ++i) {
                QStringList cells = cellsOf(i);
                double const voltage = i == 1234 ? 999.0 : i == total - 1 ? -5.0 : double(i % 100);
                cells[3] = QString::number(voltage, 'f', 3);
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

    // Two hosts of one machine share the file; with a server, each has its own spool.
    void twoWritersAtOnce_data() { kinds(); }
    void twoWritersAtOnce()
    {
        QFETCH(bool, postgres);
        SKIP_WITHOUT_SERVER(postgres);
        StoreTarget const where = target();
        StoreTarget second = where;
        if (postgres)
            second.path = m_dir.filePath(QStringLiteral("second-%1.sqlite").arg(m_count));
        {
            SessionStore a(where);
            SessionStore b(second);
            quint64 const ida = begin(a, "A");
            quint64 const idb = begin(b, "B");
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

    // The rows wait in the spool while the server is away and reach it once, in order.
    void serverStoppedMidSession()
    {
        SKIP_WITHOUT_SERVER(true);
        StoreTarget const where = onServer(QStringLiteral("away"));
        // More rows kept while the server is away than one forwarding batch takes.
        int const total = 6500;
        {
            SessionStore store(where);
            QSignalSpy messages(&store, &SessionStore::message);
            quint64 const id = begin(store);
            appendRows(store, id, 0, 500);
            QVERIFY(store.flush(10000));
            QVERIFY(m_pg.stop());
            appendRows(store, id, 500, 6000);
            QVERIFY(!store.flush(1500));
            QTRY_VERIFY_WITH_TIMEOUT(!messages.isEmpty(), 10000);
            QVERIFY2(messages.first().first().toString().contains(QStringLiteral("kept")),
                     qPrintable(messages.first().first().toString()));
            QVERIFY(m_pg.restart());
            appendRows(store, id, 6000, total);
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

    void unreadableFileMovedAside_data()
    {
        QTest::addColumn<QByteArray>("content"); // empty: a database of another program
        QTest::newRow("not a database") << QByteArray(8192, 'x');
        QTest::newRow("another program's database") << QByteArray();
    }
    void unreadableFileMovedAside()
    {
        QFETCH(QByteArray, content);
        StoreTarget const where
            = sqliteTarget(m_dir.filePath(QStringLiteral("bad-%1.sqlite").arg(++m_count)));
        if (content.isEmpty()) {
            // Our own store first, then stamped as another program's file.
            QVERIFY(SessionStore(where).flush(5000));
            QFile file(where.path);
            QVERIFY(file.open(QIODevice::ReadWrite) && file.seek(68)); // the header's application id
            QVERIFY(file.write(QByteArray::fromHex("0badf00d")) == 4);
        } else {
            QVERIFY(writeFile(where.path, content));
        }
        QByteArray const before = readFile(where.path);
        {
            SessionStore store(where);
            QSignalSpy messages(&store, &SessionStore::message);
            store.appendRow(begin(store), kBase, cellsOf(0));
            QVERIFY(store.flush(5000));
            QTRY_COMPARE(messages.size(), 1);
            QString const text = messages.first().first().toString();
            QRegularExpressionMatch const moved
                = QRegularExpression(QStringLiteral("moved to (\\S+)")).match(text);
            QVERIFY2(moved.hasMatch(), qPrintable(text));
            QCOMPARE(readFile(moved.captured(1)), before);
        }
        SessionReader reader(where);
        QVERIFY(reader.open());
        QCOMPARE(reader.sessions().size(), 1);
    }

    // The rows committed before the trouble stay readable.
    void loggingStops_data()
    {
        QTest::addColumn<bool>("readOnly"); // else a file that fills
        QTest::addColumn<QString>("words");
        QTest::newRow("read-only folder") << true << QStringLiteral("cannot be written");
        QTest::newRow("full") << false << QStringLiteral("is full");
    }
    void loggingStops()
    {
        QFETCH(bool, readOnly);
        QFETCH(QString, words);
        QTemporaryDir folder;
        QVERIFY(folder.isValid());
        StoreTarget const where = sqliteTarget(folder.filePath(QStringLiteral("sessions.sqlite")));
        SessionStore::Options options;
        options.maxPageCount = readOnly ? 0 : 40;
        int const stored = 20; // rows committed before the trouble
        auto const permissions = QFile::permissions(folder.path());
        auto const saysStopped = [&words](SessionStore const& store, QSignalSpy const& stopped) {
            QTRY_COMPARE(stopped.size(), 1);
            QVERIFY2(stopped.first().first().toString().contains(words),
                     qPrintable(stopped.first().first().toString()));
            QVERIFY(!store.isLogging());
        };
        {
            SessionStore store(where, options);
            QSignalSpy stopped(&store, &SessionStore::loggingStopped);
            quint64 const id = begin(store);
            appendRows(store, id, 0, stored);
            QVERIFY(store.flush(5000));
            for (int i = stored; i < 20000 && store.isLogging() && !readOnly; ++i) {
                store.appendRow(id, kBase + i, cellsOf(i));
                if (i % 50 == 0)
                    store.flush(5000);
            }
            if (!readOnly)
                saysStopped(store, stopped);
        }
        if (readOnly) {
            QVERIFY(QFile::setPermissions(folder.path(), QFileDevice::ReadOwner | QFileDevice::ExeOwner));
            NoOverride const guard;
            SessionStore store(where);
            QSignalSpy stopped(&store, &SessionStore::loggingStopped);
            store.appendRow(begin(store), kBase, cellsOf(0));
            saysStopped(store, stopped);
        }
        QVERIFY(QFile::setPermissions(folder.path(), permissions));
        SessionReader reader(where);
        QVERIFY(reader.open());
        auto const sessions = reader.sessions();
        QCOMPARE(sessions.size(), 1);
        auto const rows = allRows(reader, sessions.first().id);
        QVERIFY(rows.size() >= stored);
        for (int i = 0; i < rows.size(); ++i)
            QCOMPARE(rows.at(i).cells, cellsOf(i));
    }
};

QTEST_GUILESS_MAIN(TestSessionStore)
#include "tst_sessionstore.moc"
