// The quick-settings rows: their stored bytes, and the table model that edits them in place. Rows
// are added and removed through the window's menu, tested with the window.

#include "quicksettings/dpdata.h"
#include "quicksettings/quicksettingdatamodel.h"

#include <QAbstractItemModelTester>
#include <QtTest>

namespace {

using Rows = QList<QPair<double, double>>;

QList<QSharedPointer<DPData>> makeRows(Rows const& rows)
{
    QList<QSharedPointer<DPData>> datas;
    for (auto const& row : rows)
        datas.append(QSharedPointer<DPData>::create(DPData {row.first, row.second}));
    return datas;
}

Rows rowsOf(QList<QSharedPointer<DPData>> const& datas)
{
    Rows rows;
    for (auto const& data : datas)
        rows.append({data->voltage, data->current});
    return rows;
}

QByteArray encode(QList<QSharedPointer<DPData>> const& datas)
{
    QByteArray array;
    QDataStream stream(&array, QIODevice::WriteOnly);
    stream << datas;
    return array;
}

QList<QSharedPointer<DPData>> decode(QByteArray const& array)
{
    QList<QSharedPointer<DPData>> datas = makeRows({{7, 7}}); // reading replaces what was there
    QDataStream stream(array);
    stream >> datas;
    return datas;
}

} // namespace

class TestQuickSettings : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void storedForm_data()
    {
        QTest::addColumn<QByteArray>("hex");
        QTest::addColumn<Rows>("rows"); // as read back
        QTest::addColumn<bool>("written"); // the rows are written as these bytes
        QByteArray const row = "3ff0000000000000 3fb999999999999a";
        QTest::newRow("empty") << QByteArray("00000000") << Rows {} << true;
        QTest::newRow("rows in order, voltage first")
            << "00000002" + row + "4024000000000000 3f847ae147ae147b" << Rows {{1.0, 0.1}, {10.0, 0.01}}
            << true;
        QTest::newRow("count cut short") << QByteArray("000000") << Rows {} << false;
        QTest::newRow("row cut short") << "00000001" + row.left(row.size() - 2) << Rows {} << false;
        QTest::newRow("second row missing") << "00000002" + row << Rows {} << false;
        // No room may be reserved for the rows a count claims before they have been read.
        QTest::newRow("hostile count") << "7fffffff" + row << Rows {} << false;
        QTest::newRow("extended count marker") << "fffffffe" + row << Rows {} << false;
        QTest::newRow("bytes beyond the rows are ignored")
            << "00000001" + row + "ff" << Rows {{1.0, 0.1}} << false;
    }

    void storedForm()
    {
        QFETCH(QByteArray, hex);
        QFETCH(Rows, rows);
        QFETCH(bool, written);
        QByteArray const bytes = QByteArray::fromHex(hex);
        QCOMPARE(rowsOf(decode(bytes)), rows);
        if (written)
            QCOMPARE(encode(makeRows(rows)).toHex(' '), bytes.toHex(' '));
    }

    void editCell_data()
    {
        QTest::addColumn<int>("column");
        QTest::addColumn<QVariant>("value");
        QTest::addColumn<QVariant>("shown"); // display and edit role alike
        QTest::addColumn<Rows>("stored");
        QTest::addColumn<bool>("editable");
        QTest::newRow("number") << 0 << QVariant(5) << QVariant(2) << Rows {{1.5, 0.25}} << false;
        QTest::newRow("voltage rounded, kept whole")
            << 1 << QVariant("12.34567") << QVariant("12.346") << Rows {{12.34567, 0.25}} << true;
        QTest::newRow("current") << 2 << QVariant(3.0) << QVariant("3.000") << Rows {{1.5, 3.0}} << true;
        QTest::newRow("letters are zero")
            << 2 << QVariant("abc") << QVariant("0.000") << Rows {{1.5, 0.0}} << true;
        QTest::newRow("button column") << 3 << QVariant("x") << QVariant() << Rows {{1.5, 0.25}} << false;
    }

    void editCell()
    {
        QFETCH(int, column);
        QFETCH(QVariant, value);
        QFETCH(QVariant, shown);
        QFETCH(Rows, stored);
        QFETCH(bool, editable);
        QList<QSharedPointer<DPData>> datas = makeRows({{0, 0}, {1.5, 0.25}});
        QuickSettingDataModel model(datas);
        QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::QtTest);
        QModelIndex const cell = model.index(1, column);

        QSignalSpy changed(&model, &QAbstractItemModel::dataChanged);
        QVERIFY(model.setData(cell, value, Qt::EditRole));
        QCOMPARE(changed.count(), 1);
        QCOMPARE(model.data(cell, Qt::DisplayRole), shown);
        QCOMPARE(model.data(cell, Qt::EditRole), shown);
        QCOMPARE(rowsOf(datas).mid(1), stored);
        QCOMPARE(bool(model.flags(cell) & Qt::ItemIsEditable), editable);
        QVERIFY(!model.setData(cell, value, Qt::DisplayRole));
    }
};

QTEST_MAIN(TestQuickSettings)
#include "tst_quicksettings.moc"
