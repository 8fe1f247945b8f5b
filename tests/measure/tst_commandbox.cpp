#include "measure/commandbox.h"
#include "util/code.h"

#include <QTest>

using zelt::measure::CommandBox;

class TestCommandBox : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void queryCmdsInOrder();
    void texts_data();
    void texts();
};

void TestCommandBox::queryCmdsInOrder()
{
    CommandBox box;
    QVERIFY(box.queryCmds().isEmpty());
    box.append(QStringLiteral("SOUR:VOLT"));
    box.append(QList<QString> {QStringLiteral("SOUR:CURR"), QString(), QStringLiteral("OUTP")});
    box.append(QStringLiteral("MEAS:ALL"));
    // The empty command is not registered.
    QCOMPARE(box.queryCmds(), (QList<QString> {"SOUR:VOLT?", "SOUR:CURR?", "OUTP?", "MEAS:ALL?"}));
    QCOMPARE(box.commands().size(), 4);
}

void TestCommandBox::texts_data()
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

void TestCommandBox::texts()
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
    QCOMPARE(zelt::util::StringCode(text).frame(), wire);
}

QTEST_GUILESS_MAIN(TestCommandBox)
#include "tst_commandbox.moc"
