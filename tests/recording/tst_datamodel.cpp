// The history table models: the cells of every column in every power mode, headers, flags,
// and the rows of adding and clearing, all under QAbstractItemModelTester.

#include "recording/datamodel.h"

#include "tests/common/table.h"

#include <QAbstractItemModelTester>
#include <QtTest>

namespace {

zelt::measure::QUnitValueBox box(QString const& text, int kind = 0)
{
    zelt::measure::QUnitValueBox result;
    result.kind = kind;
    result.text = text;
    result.suffix = kind == 0 ? QStringLiteral("m") : QString();
    result.unit = QStringLiteral("V");
    return result;
}

// A sample whose values say where they come from: "1" to "3" the unit's own, "4" to "6" the
// parallel group's, "7" to "9" the series group's; a group of kind 1 failed to read.
QSharedPointer<DmmData> sample(QString const& mode, int groupKind = 0, int channels = 1)
{
    auto data = QSharedPointer<DmmData>::create();
    data->setDateTime(QDateTime(QDate(2026, 3, 4), QTime(5, 6, 7, 890)));
    data->config().powerMode = mode;
    data->channels.resize(channels);
    for (int i = 0; i < channels; ++i) {
        Channel& ch = data->channels[i];
        QString const c = i > 0 ? QString::number(i) : QString();
        ch.voltage.measured = box(c + '1');
        ch.current.measured = box(c + '2');
        ch.power = box(c + '3');
        ch.parallelVoltage.measured = box(QStringLiteral("4"), groupKind);
        ch.parallelCurrent.measured = box(QStringLiteral("5"), groupKind);
        ch.parallelPower = box(QStringLiteral("6"), groupKind);
        ch.seriesVoltage.measured = box(QStringLiteral("7"), groupKind);
        ch.seriesCurrent.measured = box(QStringLiteral("8"), groupKind);
        ch.seriesPower = box(QStringLiteral("9"), groupKind);
    }
    return data;
}

QList<Column*> makeColumns(int count)
{
    QList<Column*> columns;
    for (int i = 0; i < count; ++i)
        columns.append(new Column {QStringLiteral("Title %1").arg(i), QStringLiteral("key%1").arg(i), 1});
    return columns;
}

} // namespace

class TestDataModel : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void cleanupTestCase() { qDeleteAll(m_columns); }

    void singleChannelCells_data()
    {
        QTest::addColumn<QString>("mode");
        QTest::addColumn<int>("groupKind");
        QTest::addColumn<QString>("modeCell");
        QTest::addColumn<QStringList>("groupCells");
        QStringList const none {"-", "-", "-"};
        QStringList const parallel {"4m", "5m", "6m"};
        QStringList const series {"7m", "8m", "9m"};
        QTest::newRow("Normal") << "Normal" << 0 << "Normal" << none;
        QTest::newRow("PARAMaster") << "PARAMaster" << 0 << "Parallel Master" << parallel;
        QTest::newRow("PARASlave") << "PARASlave" << 0 << "Parallel Slave" << parallel;
        QTest::newRow("SERMaster") << "SERMaster" << 0 << "Series Master" << series;
        QTest::newRow("SERSlave") << "SERSlave" << 0 << "Series Slave" << series;
        QTest::newRow("EXT_V") << "EXT_V" << 0 << "Ext-V" << none;
        QTest::newRow("unknown word") << "paramaster" << 0 << "" << none;
        QTest::newRow("group reading failed") << "SERMaster" << 1 << "Series Master" << none;
    }

    void singleChannelCells()
    {
        QFETCH(QString, mode);
        QFETCH(int, groupKind);
        QFETCH(QString, modeCell);
        QFETCH(QStringList, groupCells);
        SingleChannelDataModel model(columns(9), 0);
        QAbstractItemModelTester tester(&model);
        // The row before is in another mode: each row reads its own sample's mode.
        model.addData(sample(QStringLiteral("SERSlave")));
        model.addData(sample(mode, groupKind));

        QStringList const expected
            = QStringList {"2", "2026-03-04 05:06:07", modeCell, "1m", "2m", "3m"} + groupCells;
        QCOMPARE(rowTexts(model, 1), expected);
        QCOMPARE(model.data(model.index(1, 0)).typeId(), QMetaType::Int);
        QCOMPARE(model.getMainValue(1).toString(), modeCell);
    }

    void allChannelCells_data()
    {
        QTest::addColumn<int>("column");
        QTest::addColumn<QVariant>("cell");
        QTest::newRow("current of channel 1") << 6 << QVariant("12m");
        QTest::newRow("column 20 is beyond the six channels") << 20 << QVariant();
    }

    void allChannelCells()
    {
        QFETCH(int, column);
        QFETCH(QVariant, cell);
        AllChannelDataModel model(columns(22));
        QAbstractItemModelTester tester(&model);
        // Group values never show here, whatever the mode.
        model.addData(sample(QStringLiteral("PARAMaster"), 0, 7));
        QCOMPARE(model.data(model.index(0, column)), cell);
        QCOMPARE(model.data(model.index(0, 0)), QVariant(1));
    }

    void rowsAndHeaders()
    {
        SingleChannelDataModel model(columns(9), 0);
        QAbstractItemModelTester tester(&model);
        model.addData(sample(QStringLiteral("Normal")));
        model.addData(QList<QSharedPointer<DmmData>> {sample(QStringLiteral("Normal")),
                                                      sample(QStringLiteral("Normal"))});
        model.addData(QList<QSharedPointer<DmmData>>());
        QCOMPARE(model.rowCount(), 3);
        model.clear();
        QCOMPARE(model.rowCount(), 0);

        QCOMPARE(model.headerData(6, Qt::Horizontal, Qt::UserRole + 1), QVariant("key6"));
        QVERIFY(!model.flags(model.index(0, 3)).testFlag(Qt::ItemIsEditable));
    }

private:
    QList<Column*> columns(int count)
    {
        QList<Column*> const made = makeColumns(count);
        m_columns += made;
        return made;
    }
    QList<Column*> m_columns;
};

QTEST_MAIN(TestDataModel)
#include "tst_datamodel.moc"
