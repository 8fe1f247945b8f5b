// The texts a command box forms and the frames they go out as.

#include "measure/commandbox.h"
#include "util/code.h"

#include <QTest>

using zelt::measure::CommandBox;
using zelt::util::StringCode;

class TestCommandBox : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void texts_data()
    {
        QTest::addColumn<QString>("command");
        QTest::addColumn<QString>("argument");
        QTest::addColumn<QString>("query");
        QTest::addColumn<QString>("filled");
        QTest::addColumn<QByteArray>("wire");
        auto const row = [](char const* name, char const* command, char const* argument, char const* query,
                            char const* filled, QByteArray wire) {
            QTest::newRow(name) << QString(command) << QString(argument) << QString(query) << QString(filled)
                                << wire;
        };
        row("registered", "SOUR:VOLT", "12.000", "SOUR:VOLT?", "SOUR:VOLT 12.000", "SOUR:VOLT 12.000\n");
        row("never appended", "DELAY:STAT", "ON", "DELAY:STAT?", "DELAY:STAT ON", "DELAY:STAT ON\n");
        // The blank left by an empty argument does not reach the wire.
        row("no argument", "OUTP:PROT:CLE", "", "OUTP:PROT:CLE?", "OUTP:PROT:CLE ", "OUTP:PROT:CLE\n");
        row("empty command", "", "1", "", "", "\n");
    }

    void texts()
    {
        QFETCH(QString, command);
        QFETCH(QString, argument);
        QFETCH(QString, query);
        QFETCH(QString, filled);
        QFETCH(QByteArray, wire);

        CommandBox box;
        box.append(QStringLiteral("SOUR:VOLT"));
        QCOMPARE(box.queryCmd(command), query);
        QString const perform = box.perfCmd(command);
        QCOMPARE(perform.isEmpty(), command.isEmpty());
        QString const text = perform.isEmpty() ? QString() : perform.arg(argument);
        QCOMPARE(text, filled);
        QCOMPARE(StringCode(text).frame(), wire);
    }

    void frame_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QByteArray>("frame");
        QTest::newRow("trailing line end") << "*IDN?\r\n" << QByteArray("*IDN?\n");
        QTest::newRow("trailing tabs and blanks") << "SYST:REM \t " << QByteArray("SYST:REM\n");
        QTest::newRow("leading blank kept") << " *CLS" << QByteArray(" *CLS\n");
        QTest::newRow("UTF-8") << QString::fromUtf8("SYST:NAME Ω") << QByteArray("SYST:NAME \xCE\xA9\n");
    }

    void frame()
    {
        QFETCH(QString, text);
        QFETCH(QByteArray, frame);
        StringCode const code(text);
        QCOMPARE(code.data(), text); // the word keeps its text as given
        QCOMPARE(code.frame(), frame);
    }
};

QTEST_GUILESS_MAIN(TestCommandBox)
#include "tst_commandbox.moc"
