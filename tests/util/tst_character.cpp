#include "util/character.h"

#include "tests/common/files.h"
#include "tests/common/table.h"

#include <QDir>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QTest>

using zelt::util::character::Character;

class TestCharacter : public QObject
{
    Q_OBJECT

    QString path(QString const& name) const { return m_dir.filePath(name); }
    QTemporaryDir m_dir;

private Q_SLOTS:
    void initTestCase() { QVERIFY(m_dir.isValid()); }

    // The helpers that read the instrument's words: which one, its text (and second argument),
    // and what it gives.
    void words_data()
    {
        QTest::addColumn<QString>("helper");
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("argument");
        QTest::addColumn<QString>("result");
        auto row = [](char const* name, char const* helper, char const* text, char const* result,
                      char const* argument = "") {
            QTest::newRow(name) << QString(helper) << QString(text) << QString(argument) << QString(result);
        };
        row("simplify CR LF", "simplify", "12.000\r\n", "12.000");
        row("simplify blanks", "simplify", "  ON \t", "ON");
        row("simplify keeps inner blanks", "simplify", " 1, 2 \n", "1, 2");
        row("simplify blanks only", "simplify", " \r\n ", "");
        row("end keeps the front", "end", "  ON \t", "  ON");
        row("start, case differs", "start", "voltage(V)", "true", "Voltage");
        row("start longer than text", "start", "Volt", "false", "Voltage");
        row("start inside, not at start", "start", "P/S Voltage", "false", "voltage");
        row("bool 1", "bool", "1", "true");
        row("bool on with blanks", "bool", " on ", "true");
        row("bool off", "bool", "off", "false");
        row("bool 10", "bool", "10", "false");
        row("bool ONE", "bool", "ONE", "false");
    }

    void words()
    {
        QFETCH(QString, helper);
        QFETCH(QString, text);
        QFETCH(QString, argument);
        QFETCH(QString, result);
        QString const got = helper == u"simplify" ? Character::simplifyString(text)
            : helper == u"end"                    ? Character::simplifyEnd(text)
            : helper == u"start"                  ? QVariant(Character::isStart(text, argument)).toString()
                                                  : QVariant(Character::strToBool(text)).toString();
        QCOMPARE(got, result);
    }

    void csvLoad_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<int>("mostLines"); // -1: all
        QTest::addColumn<QStringList>("lines");
        auto row = [](char const* name, QByteArray const& bytes, QStringList const& lines, int most = -1) {
            QTest::newRow(name) << bytes << most << lines;
        };
        row("CRLF", "start,0\r\ncount,2\r\n", {"start,0", "count,2"});
        row("mixed, no final terminator", "a\r\nb\nc", {"a", "b", "c"});
        row("empty lines inside kept", "a\n\r\n\nb\n", {"a", "", "", "b"});
        row("lone CR inside a line", "a\rb\n", {"a\rb"});
        row("empty file", "", {});
        row("UTF-8 after a byte order mark", "\xEF\xBB\xBFR(\xCE\xA9),\xC2\xB5s\n",
            {QString::fromUtf8("R(Ω),µs")});
        row("no file", QByteArray(), {});
        row("only the lines asked for", "a\nb\nc\n", {"a", "b"}, 2);
        row("blank lines up to the size", QByteArray(Character::kCsvMostBytes, '\n'), {"", "", ""}, 3);
        row("a byte past the size", QByteArray(Character::kCsvMostBytes + 1, '\n'), {}, 3);
    }

    void csvLoad()
    {
        QFETCH(QByteArray, bytes);
        QFETCH(int, mostLines);
        QFETCH(QStringList, lines);
        QString const file
            = path(bytes.isNull() ? QStringLiteral("missing.csv") : QStringLiteral("load.csv"));
        QVERIFY(bytes.isNull() || writeFile(file, bytes));
        QCOMPARE(mostLines < 0 ? Character::csvLoad(file) : Character::csvLoad(file, mostLines), lines);
    }

    void csvSaveLines()
    {
        QString const file = path(QStringLiteral("lines.csv"));
        // A longer old file must be replaced whole, not overwritten in place.
        QVERIFY(writeFile(file, QByteArray(4096, 'x')));

        QStringList const lines {QStringLiteral("start,0"), QString(), QString::fromUtf8("Ω,1.000")};
        QVERIFY(Character::csvSave(file, lines));
        QCOMPARE(readFile(file), QByteArray("start,0\n\n\xCE\xA9,1.000\n"));

        QVERIFY(Character::csvSave(file, QStringList {}));
        QCOMPARE(readFile(file), QByteArray());
    }

    void csvSaveModel()
    {
        Table model({"No.", "P/S Voltage(V), set", "Note"},
                    {{"1", "12.000V", " a b "},
                     {"2", "1,5", "say \"hi\""},
                     {"3", "", "two\nlines"},
                     {"4", "a\rb", QString::fromUtf8("Ω")}});
        QString const file = path(QStringLiteral("model.csv"));
        QVERIFY(Character::csvSave(file, &model, false));
        QCOMPARE(readFile(file),
                 QByteArray("No.,\"P/S Voltage(V), set\",Note\n"
                            "1,12.000V, a b \n"
                            "2,\"1,5\",\"say \"\"hi\"\"\"\n"
                            "3,,\"two\nlines\"\n"
                            "4,\"a\rb\",\xCE\xA9\n"));
    }

    void csvSaveFails_data()
    {
        QTest::addColumn<QString>("name");
        QTest::newRow("missing folder") << QStringLiteral("no-such-folder/out.csv");
        QTest::newRow("folder given as file") << QStringLiteral("folder");
        QTest::newRow("empty path") << QString();
    }

    void csvSaveFails()
    {
        QFETCH(QString, name);
        QVERIFY(QDir(m_dir.path()).mkpath(QStringLiteral("folder")));
        QString const file = name.isEmpty() ? QString() : path(name);
        QStringList const before = QDir(m_dir.path()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot);

        Table model({"a"}, {{"1"}});
        QVERIFY(!Character::csvSave(file, QStringList {QStringLiteral("a,b")}));
        QVERIFY(!Character::csvSave(file, &model, false));

        // Nothing left behind: no file, no temporary file beside it.
        QCOMPARE(QDir(m_dir.path()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot), before);
        QVERIFY(QFileInfo(path(QStringLiteral("folder"))).isDir());
        QVERIFY(QDir(path(QStringLiteral("folder"))).isEmpty());
    }

    void csvSaveFailureKeepsOldFile()
    {
        QString const folder = path(QStringLiteral("readonly"));
        QVERIFY(QDir(m_dir.path()).mkpath(QStringLiteral("readonly")));
        QString const file = folder + QStringLiteral("/old.csv");
        QVERIFY(writeFile(file, "old,content\n"));
        QVERIFY(QFile::setPermissions(folder, QFileDevice::ReadOwner | QFileDevice::ExeOwner));
        auto const restore = qScopeGuard([&] {
            QFile::setPermissions(folder,
                                  QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
        });
        if (QFileInfo(folder).isWritable())
            QSKIP("This user may write into a read-only folder");

        QVERIFY(!Character::csvSave(file, QStringList {QStringLiteral("new")}));
        QCOMPARE(readFile(file), QByteArray("old,content\n"));
    }

    void csvSaveLargeModel()
    {
        // Text is written in chunks: every row of many chunks must arrive once, in order.
        QList<QStringList> cells;
        QString expected = QStringLiteral("c0,c1\n");
        for (int row = 1; row <= 20000; ++row) {
            cells.append({QString::number(row), QString::fromUtf8("Ω,%1").arg(row)});
            expected += QString::fromUtf8("%1,\"Ω,%1\"\n").arg(row);
        }
        Table model({"c0", "c1"}, cells);
        QString const file = path(QStringLiteral("large.csv"));
        QVERIFY(Character::csvSave(file, &model, false));
        QCOMPARE(readFile(file), expected.toUtf8());
    }
};

QTEST_GUILESS_MAIN(TestCharacter)
#include "tst_character.moc"
