// The history table's copied cells look exactly as the cells drawn afresh, through the changes
// that a copy could miss: another text in a cell, a selection, a scroll and another size.

#include "recording/celldelegate.h"

#include <QStandardItemModel>
#include <QTableView>
#include <QtTest>

#include <functional>

using Change = std::function<void(QTableView&)>;

class TestCellDelegate : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void copiesLookAsDrawn_data()
    {
        QTest::addColumn<Change>("change");
        QTest::newRow("nothing") << Change([](QTableView&) {});
        QTest::newRow("another text") << Change([](QTableView& view) {
            view.model()->setData(view.model()->index(1, 1), QStringLiteral("12.3456"));
        });
        QTest::newRow("a row selected") << Change([](QTableView& view) { view.selectRow(2); });
        QTest::newRow("scrolled to the bottom") << Change([](QTableView& view) { view.scrollToBottom(); });
        QTest::newRow("narrower") << Change([](QTableView& view) { view.resize(300, 200); });
    }

    void copiesLookAsDrawn()
    {
        QFETCH(Change, change);
        QStandardItemModel model(40, 4);
        for (int row = 0; row < model.rowCount(); ++row) {
            for (int column = 0; column < model.columnCount(); ++column)
                model.setData(model.index(row, column), QStringLiteral("%1.%2").arg(row % 7).arg(column));
        }
        QTableView cached;
        QTableView plain;
        cached.setItemDelegate(new CellCacheDelegate(&cached));
        for (QTableView* view : {&cached, &plain}) {
            view->setModel(&model);
            view->setSelectionBehavior(QAbstractItemView::SelectRows);
            view->resize(400, 300);
            view->show();
        }
        QVERIFY(QTest::qWaitForWindowExposed(&cached));
        QVERIFY(QTest::qWaitForWindowExposed(&plain));
        // Drawn once, so that the change meets a filled cache.
        cached.grab();
        change(cached);
        change(plain);
        QCOMPARE(cached.grab().toImage(), plain.grab().toImage());
    }
};

QTEST_MAIN(TestCellDelegate)
#include "tst_celldelegate.moc"
