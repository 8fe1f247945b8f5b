#include "measure/commandbox.h"
#include "measure/wordbox.h"
#include "util/code.h"

#include <QTest>

using zelt::measure::CommandBox;
using zelt::measure::WordBoxFactory;

class TestCommandBox : public QObject
{
    Q_OBJECT

private slots:
    void queryCmdsInOrder();
    void texts_data();
    void texts();
    void wordBoxes();
};

void TestCommandBox::queryCmdsInOrder()
{
    CommandBox box;
    box.append(QStringLiteral("SOUR:VOLT"));
    box.append(QList<QString> {QStringLiteral("SOUR:CURR"), QString(), QStringLiteral("OUTP")});
    box.append(QStringLiteral("MEAS:ALL"));
    QCOMPARE(box.queryCmds(),
             (QList<QString> {QStringLiteral("SOUR:VOLT?"), QStringLiteral("SOUR:CURR?"),
                              QStringLiteral("OUTP?"), QStringLiteral("MEAS:ALL?")}));
    QCOMPARE(box.commands().size(), 4);
    QVERIFY(CommandBox().queryCmds().isEmpty());
}

void TestCommandBox::texts_data()
{
    QTest::addColumn<QString>("command");
    QTest::addColumn<QString>("argument");
    QTest::addColumn<QString>("query");
    QTest::addColumn<QString>("filled");
    QTest::addColumn<QByteArray>("wire");

    QTest::newRow("registered") << "SOUR:VOLT"
                                << "12.000"
                                << "SOUR:VOLT?"
                                << "SOUR:VOLT 12.000" << QByteArray("SOUR:VOLT 12.000\n");
    QTest::newRow("never appended") << "DELAY:STAT"
                                    << "ON"
                                    << "DELAY:STAT?"
                                    << "DELAY:STAT ON" << QByteArray("DELAY:STAT ON\n");
    QTest::newRow("no parameter") << "OUTP:PROT:CLE"
                                  << ""
                                  << "OUTP:PROT:CLE?"
                                  << "OUTP:PROT:CLE " << QByteArray("OUTP:PROT:CLE\n");
    QTest::newRow("empty command") << ""
                                   << "1"
                                   << ""
                                   << "" << QByteArray("\n");
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

void TestCommandBox::wordBoxes()
{
    auto const word = QSharedPointer<zelt::util::Word>::create(
        QSharedPointer<zelt::util::StringCode>::create(QStringLiteral("MEAS:ALL?")), 5000);
    auto const cyclic = WordBoxFactory::makeCyclic(word);
    auto const acyclic = WordBoxFactory::makeAcyclic(word);
    QVERIFY(cyclic->isCyclic());
    QVERIFY(!acyclic->isCyclic());
    QCOMPARE(cyclic->word(), word);
    QCOMPARE(acyclic->word(), word);
}

QTEST_GUILESS_MAIN(TestCommandBox)
#include "tst_commandbox.moc"
