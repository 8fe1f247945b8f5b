#include "specific/comboboxdelegate.h"
#include "specific/delayermodel.h"
#include "specific/floatdelegate.h"
#include "specific/helper.h"
#include "specific/itemroles.h"
#include "specific/listdatamodel.h"

#include <QtTest>
#include <QtWidgets>

#include <memory>

using namespace zelt::specific::pxn3000s::programmer;

class TestProgrammerModels : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        Option option;
        option.timeDecimals = 1;
        option.channels
            = {Channel {QStringLiteral("CH1"), {Range_t(0, 42), Range_t(0, 10.5), Range_t(0, 420)}}};
        Helper::getInstance().setOption(option);
    }

    // The row operations keep the dialog's own list and the model in step, under the
    // tester's eye; new rows take the shortest row time.
    void rows()
    {
        QList<ListData> rows;
        ListDataModel model(rows);
        QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::QtTest);
        QList<ListData> const wave {{1, 0.1, 1}, {2, 0.2, 2}};
        QVERIFY(model.appendRows(wave));
        QVERIFY(model.insertRows(1, QList<ListData> {{9, 0.9, 9}}));
        QCOMPARE(rows, (QList<ListData> {{1, 0.1, 1}, {9, 0.9, 9}, {2, 0.2, 2}}));
        QVERIFY(model.insertRows(0, rows)); // its own list
        QCOMPARE(model.rowCount(), 6);
        QVERIFY(!model.insertRows(7, wave));
        QVERIFY(!model.appendRows({}));
        QVERIFY(model.insertRows(6, 2));
        QCOMPARE(rows.last(), ListData(0, 0, 0.1));
        QVERIFY(model.removeRows(0, 7));
        QVERIFY(!model.removeRows(0, 2));
        QCOMPARE(rows, (QList<ListData> {ListData(0, 0, 0.1)}));

        QList<DelayerData> steps;
        DelayerModel delayer(steps);
        QVERIFY(delayer.insertRows(0, 1));
        QCOMPARE(steps, (QList<DelayerData> {{true, 0.1}}));
    }

    // Edits keep the full value and show the set decimals; out-of-range ones change nothing.
    void edit_data()
    {
        QTest::addColumn<bool>("delayer");
        QTest::addColumn<int>("column");
        QTest::addColumn<QVariant>("value");
        QTest::addColumn<bool>("accepted");
        QTest::addColumn<QVariant>("stored");
        QTest::addColumn<QString>("shown");
        QTest::newRow("voltage, full value")
            << false << 0 << QVariant(12.3456789) << true << QVariant(12.3456789) << "12.346";
        QTest::newRow("voltage above the channel")
            << false << 0 << QVariant(42.5) << false << QVariant(1.0) << "1.000";
        QTest::newRow("time below the shortest")
            << false << 2 << QVariant(0.05) << false << QVariant(3.0) << "3.0";
        QTest::newRow("not a number") << false << 0 << QVariant("abc") << false << QVariant(1.0) << "1.000";
        QTest::newRow("state from its text")
            << true << 0 << QVariant("Off") << true << QVariant(false) << "Off";
        QTest::newRow("state from other text")
            << true << 0 << QVariant("maybe") << false << QVariant(true) << "On";
        QTest::newRow("delayer time") << true << 1 << QVariant(7.25) << true << QVariant(7.25) << "7.3";
    }

    void edit()
    {
        QFETCH(bool, delayer);
        QFETCH(int, column);
        QFETCH(QVariant, value);
        QFETCH(bool, accepted);
        QFETCH(QVariant, stored);
        QFETCH(QString, shown);
        QList<ListData> list {{1, 2, 3}};
        QList<DelayerData> steps {{true, 1}};
        ListDataModel listModel(list);
        DelayerModel delayerModel(steps);
        QAbstractItemModel& model = delayer ? static_cast<QAbstractItemModel&>(delayerModel) : listModel;
        QSignalSpy changed(&model, &QAbstractItemModel::dataChanged);
        QModelIndex const index = model.index(0, column);
        QCOMPARE(model.setData(index, value), accepted);
        QCOMPARE(changed.size(), accepted ? 1 : 0);
        QCOMPARE(index.data(Qt::EditRole), stored);
        QCOMPARE(index.data().toString(), shown);
    }

    // A delegate's editor shows the set decimals; closing it untouched keeps the full value,
    // a change writes the new one.
    void delegates_data()
    {
        QTest::addColumn<bool>("delayer");
        QTest::addColumn<int>("column");
        QTest::addColumn<QVariant>("edit"); // invalid: leave the editor as it opened
        QTest::addColumn<QVariant>("stored");
        QTest::newRow("voltage untouched") << false << 0 << QVariant() << QVariant(1.23456);
        QTest::newRow("time edited") << false << 2 << QVariant(3.2) << QVariant(3.2);
        QTest::newRow("delayer state edited") << true << 0 << QVariant(false) << QVariant(false);
    }

    void delegates()
    {
        QFETCH(bool, delayer);
        QFETCH(int, column);
        QFETCH(QVariant, edit);
        QFETCH(QVariant, stored);
        QList<ListData> list {{1.23456, 0.5, 0.46}};
        QList<DelayerData> steps {{true, 0.46}};
        ListDataModel listModel(list);
        DelayerModel delayerModel(steps);
        QAbstractItemModel* model = delayer ? static_cast<QAbstractItemModel*>(&delayerModel) : &listModel;
        std::unique_ptr<FloatDelegate> delegate(delayer ? new ComboBoxDelegate : new FloatDelegate);
        QWidget parent;
        QModelIndex const index = model->index(0, column);
        std::unique_ptr<QWidget> editor(delegate->createEditor(&parent, QStyleOptionViewItem(), index));
        delegate->setEditorData(editor.get(), index);
        if (auto* box = qobject_cast<QDoubleSpinBox*>(editor.get())) {
            QCOMPARE(box->decimals(), index.data(DecimalsRole).toInt());
            if (edit.isValid())
                box->setValue(edit.toDouble());
        } else {
            auto* combo = qobject_cast<QComboBox*>(editor.get());
            QVERIFY(combo);
            combo->setCurrentIndex(combo->findData(edit));
        }
        delegate->setModelData(editor.get(), model, index);
        QCOMPARE(index.data(Qt::EditRole), stored);
    }
};

QTEST_MAIN(TestProgrammerModels)
#include "tst_programmermodels.moc"
