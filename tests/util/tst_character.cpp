#include "util/character.h"

#include <QAbstractTableModel>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QTest>

using zelt::util::character::Character;

namespace {

// A table with header titles under the display role and keys under Qt::UserRole + 1,
// as the record's models offer them. A column with an empty key has none.
class TableModel : public QAbstractTableModel
{
public:
    TableModel(QList<QStringList> header, QList<QStringList> rows)
        : m_header(std::move(header))
        , m_rows(std::move(rows))
    {
    }

    int rowCount(QModelIndex const& parent = {}) const override
    {
        return parent.isValid() ? 0 : int(m_rows.size());
    }
    int columnCount(QModelIndex const& parent = {}) const override
    {
        return parent.isValid() ? 0 : int(m_header.size());
    }
    QVariant data(QModelIndex const& index, int role) const override
    {
        if (role != Qt::DisplayRole || !checkIndex(index, CheckIndexOption::IndexIsValid))
            return {};
        return m_rows.at(index.row()).at(index.column());
    }
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override
    {
        if (orientation != Qt::Horizontal || section < 0 || section >= m_header.size())
            return {};
        if (role == Qt::DisplayRole)
            return m_header.at(section).at(0);
        if (role == Qt::UserRole + 1 && !m_header.at(section).at(1).isEmpty())
            return m_header.at(section).at(1);
        return {};
    }

private:
    QList<QStringList> m_header; // {title, key}
    QList<QStringList> m_rows;
};

// Many rows, formatted on demand as the history models do.
class LargeModel : public QAbstractTableModel
{
public:
    explicit LargeModel(int rows)
        : m_rows(rows)
    {
    }
    int rowCount(QModelIndex const& = {}) const override { return m_rows; }
    int columnCount(QModelIndex const& = {}) const override { return 3; }
    QVariant data(QModelIndex const& index, int role) const override
    {
        if (role != Qt::DisplayRole)
            return {};
        switch (index.column()) {
        case 0:
            return index.row() + 1;
        case 1:
            return QString::number(index.row() * 0.001, 'f', 3) + QStringLiteral("V");
        default:
            return QStringLiteral("Ω,%1").arg(index.row()); // quoted: holds a comma
        }
    }
    QVariant headerData(int section, Qt::Orientation, int role) const override
    {
        return role == Qt::DisplayRole ? QVariant(QStringLiteral("c%1").arg(section)) : QVariant();
    }

private:
    int m_rows;
};

QByteArray readAll(QString const& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

bool writeAll(QString const& path, QByteArray const& bytes)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
}

} // namespace

class TestCharacter : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { QVERIFY(m_dir.isValid()); }

    void simplify_data();
    void simplify();
    void isStart_data();
    void isStart();
    void strToBool_data();
    void strToBool();
    void boolToStr_data();
    void boolToStr();
    void csvField_data();
    void csvField();

    void csvLoad_data();
    void csvLoad();
    void csvLoadUnreadable();
    void csvSaveLines();
    void csvSaveModel_data();
    void csvSaveModel();
    void csvSaveFails_data();
    void csvSaveFails();
    void csvSaveFailureKeepsOldFile();
    void csvSaveLargeModel();

private:
    QString path(QString const& name) const { return m_dir.filePath(name); }
    QTemporaryDir m_dir;
};

void TestCharacter::simplify_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("both");
    QTest::addColumn<QString>("end");

    QTest::newRow("answer with CRLF") << "12.000\r\n"
                                      << "12.000"
                                      << "12.000";
    QTest::newRow("blanks both sides") << "  ON \t"
                                       << "ON"
                                       << "  ON";
    QTest::newRow("inner blanks stay") << " 1, 2 \n"
                                       << "1, 2"
                                       << " 1, 2";
    QTest::newRow("only white space") << " \r\n "
                                      << ""
                                      << "";
    QTest::newRow("empty") << ""
                           << ""
                           << "";
    QTest::newRow("clean") << "CV"
                           << "CV"
                           << "CV";
}

void TestCharacter::simplify()
{
    QFETCH(QString, text);
    QFETCH(QString, both);
    QFETCH(QString, end);
    QCOMPARE(Character::simplifyString(text), both);
    QCOMPARE(Character::simplifyEnd(text), end);
}

void TestCharacter::isStart_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("start");
    QTest::addColumn<bool>("expected");

    QTest::newRow("case differs") << "Voltage"
                                  << "voltage" << true;
    QTest::newRow("longer text") << "voltage(V)"
                                 << "Voltage" << true;
    QTest::newRow("same case") << "Current"
                               << "Cur" << true;
    QTest::newRow("start longer than text") << "Volt"
                                            << "Voltage" << false;
    QTest::newRow("other word") << "Power"
                                << "voltage" << false;
    QTest::newRow("inside, not at start") << "P/S Voltage"
                                          << "voltage" << false;
    QTest::newRow("empty start") << "Power"
                                 << "" << true;
    QTest::newRow("empty text") << ""
                                << "V" << false;
}

void TestCharacter::isStart()
{
    QFETCH(QString, text);
    QFETCH(QString, start);
    QFETCH(bool, expected);
    QCOMPARE(Character::isStart(text, start), expected);
}

void TestCharacter::strToBool_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("expected");

    QTest::newRow("1") << "1" << true;
    QTest::newRow("ON") << "ON" << true;
    QTest::newRow("on with blanks") << " on " << true;
    QTest::newRow("True") << "True" << true;
    QTest::newRow("answer line") << "1\r\n" << true;
    QTest::newRow("0") << "0" << false;
    QTest::newRow("off") << "off" << false;
    QTest::newRow("FALSE") << "FALSE" << false;
    QTest::newRow("2") << "2" << false;
    QTest::newRow("10") << "10" << false;
    QTest::newRow("ONE") << "ONE" << false;
    QTest::newRow("inner blank") << "O N" << false;
    QTest::newRow("empty") << "" << false;
}

void TestCharacter::strToBool()
{
    QFETCH(QString, text);
    QFETCH(bool, expected);
    QCOMPARE(Character::strToBool(text), expected);
}

void TestCharacter::boolToStr_data()
{
    QTest::addColumn<bool>("value");
    QTest::addColumn<bool>("word");
    QTest::addColumn<QString>("expected");

    QTest::newRow("word on") << true << true << "ON";
    QTest::newRow("word off") << false << true << "OFF";
    QTest::newRow("digit on") << true << false << "1";
    QTest::newRow("digit off") << false << false << "0";
}

void TestCharacter::boolToStr()
{
    QFETCH(bool, value);
    QFETCH(bool, word);
    QFETCH(QString, expected);
    QString const text = Character::boolToStr(value, word);
    QCOMPARE(text, expected);
    QCOMPARE(Character::strToBool(text), value); // the instrument's words read back
}

void TestCharacter::csvField_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("expected");

    QTest::newRow("plain") << "12.000V"
                           << "12.000V";
    QTest::newRow("empty") << ""
                           << "";
    QTest::newRow("blanks stay unquoted") << " a b "
                                          << " a b ";
    QTest::newRow("comma") << "1,2"
                           << "\"1,2\"";
    QTest::newRow("quote doubled") << "say \"hi\""
                                   << "\"say \"\"hi\"\"\"";
    QTest::newRow("line feed") << "a\nb"
                               << "\"a\nb\"";
    QTest::newRow("carriage return") << "a\rb"
                                     << "\"a\rb\"";
}

void TestCharacter::csvField()
{
    QFETCH(QString, text);
    QFETCH(QString, expected);
    QCOMPARE(Character::csvField(text), expected);
}

void TestCharacter::csvLoad_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QStringList>("lines");

    QTest::newRow("CRLF") << QByteArray("start,0\r\ncount,2\r\n") << QStringList {"start,0", "count,2"};
    QTest::newRow("LF") << QByteArray("a\nb\n") << QStringList {"a", "b"};
    QTest::newRow("no final terminator") << QByteArray("a\r\nb") << QStringList {"a", "b"};
    QTest::newRow("mixed terminators") << QByteArray("a\r\nb\nc") << QStringList {"a", "b", "c"};
    QTest::newRow("empty lines inside kept") << QByteArray("a\n\r\n\nb\n") << QStringList {"a", "", "", "b"};
    QTest::newRow("lone CR inside a line") << QByteArray("a\rb\n") << QStringList {"a\rb"};
    QTest::newRow("one empty line") << QByteArray("\n") << QStringList {""};
    QTest::newRow("empty file") << QByteArray() << QStringList {};
    QTest::newRow("byte order mark") << QByteArray("\xEF\xBB\xBFstart,0\n") << QStringList {"start,0"};
    QTest::newRow("UTF-8") << QByteArray("R(\xCE\xA9),\xC2\xB5s\n")
                           << QStringList {QString::fromUtf8("R(Ω),µs")};
}

void TestCharacter::csvLoad()
{
    QFETCH(QByteArray, bytes);
    QFETCH(QStringList, lines);
    QString const file = path(QStringLiteral("load.csv"));
    QVERIFY(writeAll(file, bytes));
    QCOMPARE(Character::csvLoad(file), lines);
}

void TestCharacter::csvLoadUnreadable()
{
    QVERIFY(Character::csvLoad(path(QStringLiteral("missing.csv"))).isEmpty());
    QVERIFY(Character::csvLoad(m_dir.path()).isEmpty());
    QVERIFY(Character::csvLoad(QString()).isEmpty());
}

void TestCharacter::csvSaveLines()
{
    QString const file = path(QStringLiteral("lines.csv"));
    // A longer old file must be replaced whole, not overwritten in place.
    QVERIFY(writeAll(file, QByteArray(4096, 'x')));

    QStringList const lines {QStringLiteral("start,0"), QString(), QString::fromUtf8("Ω,1.000")};
    QVERIFY(Character::csvSave(file, lines));
    QCOMPARE(readAll(file), QByteArray("start,0\n\n\xCE\xA9,1.000\n"));
    QCOMPARE(Character::csvLoad(file), lines);

    QVERIFY(Character::csvSave(file, QStringList {}));
    QCOMPARE(readAll(file), QByteArray());
}

void TestCharacter::csvSaveModel_data()
{
    QTest::addColumn<bool>("withKeys");
    QTest::addColumn<QByteArray>("header");

    QTest::newRow("titles") << false << QByteArray("No.,\"P/S Voltage(V), set\",Note\n");
    // The last column offers no key and falls back to its title.
    QTest::newRow("keys") << true << QByteArray("No,Voltage(P/S),Note\n");
}

void TestCharacter::csvSaveModel()
{
    QFETCH(bool, withKeys);
    QFETCH(QByteArray, header);

    TableModel model({{"No.", "No"}, {"P/S Voltage(V), set", "Voltage(P/S)"}, {"Note", ""}},
                     {{"1", "12.000V", "plain"},
                      {"2", "1,5", "say \"hi\""},
                      {"3", "", "two\nlines"},
                      {"4", "-", QString::fromUtf8("Ω")}});
    QString const file = path(QStringLiteral("model.csv"));
    QVERIFY(Character::csvSave(file, &model, withKeys));
    QByteArray const expected = header
        + "1,12.000V,plain\n"
          "2,\"1,5\",\"say \"\"hi\"\"\"\n"
          "3,,\"two\nlines\"\n"
          "4,-,\xCE\xA9\n";
    QCOMPARE(readAll(file), expected);
}

void TestCharacter::csvSaveFails_data()
{
    QTest::addColumn<QString>("name");
    QTest::newRow("missing folder") << QStringLiteral("no-such-folder/out.csv");
    QTest::newRow("folder given as file") << QStringLiteral("folder");
    QTest::newRow("empty path") << QString();
}

void TestCharacter::csvSaveFails()
{
    QFETCH(QString, name);
    QVERIFY(QDir(m_dir.path()).mkpath(QStringLiteral("folder")));
    QString const file = name.isEmpty() ? QString() : path(name);
    QStringList const before = QDir(m_dir.path()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot);

    TableModel model({{"a", ""}}, {{"1"}});
    QVERIFY(!Character::csvSave(file, QStringList {QStringLiteral("a,b")}));
    QVERIFY(!Character::csvSave(file, &model, false));

    // Nothing left behind: no file, no temporary file beside it.
    QCOMPARE(QDir(m_dir.path()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot), before);
    QVERIFY(QFileInfo(path(QStringLiteral("folder"))).isDir());
    QVERIFY(QDir(path(QStringLiteral("folder"))).isEmpty());
}

void TestCharacter::csvSaveFailureKeepsOldFile()
{
    QString const folder = path(QStringLiteral("readonly"));
    QVERIFY(QDir(m_dir.path()).mkpath(QStringLiteral("readonly")));
    QString const file = folder + QStringLiteral("/old.csv");
    QVERIFY(writeAll(file, "old,content\n"));
    QVERIFY(QFile::setPermissions(folder, QFileDevice::ReadOwner | QFileDevice::ExeOwner));
    auto const restore = qScopeGuard([&] {
        QFile::setPermissions(folder,
                              QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
    });
    if (QFileInfo(folder).isWritable())
        QSKIP("This user may write into a read-only folder");

    QVERIFY(!Character::csvSave(file, QStringList {QStringLiteral("new")}));
    QCOMPARE(readAll(file), QByteArray("old,content\n"));
}

void TestCharacter::csvSaveLargeModel()
{
    // Far more than one write chunk: every row must arrive once, in order.
    int const rows = 100000;
    LargeModel model(rows);
    QString const file = path(QStringLiteral("large.csv"));
    QElapsedTimer timer;
    timer.start();
    QVERIFY(Character::csvSave(file, &model, true));
    qint64 const elapsed = timer.elapsed();

    QList<QString> const lines = Character::csvLoad(file);
    QCOMPARE(lines.size(), rows + 1);
    QCOMPARE(lines.first(), QStringLiteral("c0,c1,c2"));
    QCOMPARE(lines.at(1), QString::fromUtf8("1,0.000V,\"Ω,0\""));
    QCOMPARE(lines.at(50001), QString::fromUtf8("50001,50.000V,\"Ω,50000\""));
    QCOMPARE(lines.last(), QString::fromUtf8("100000,99.999V,\"Ω,99999\""));
    qInfo("csvSave of %d rows: %lld ms", rows, elapsed);
}

QTEST_GUILESS_MAIN(TestCharacter)
#include "tst_character.moc"
