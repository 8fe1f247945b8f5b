// The history table's copied cells look exactly as the cells drawn afresh, through the changes
// that a copy could miss: another text in a cell, a selection, a scroll and another size; and
// the row header, which keeps its size hint, takes the one that QHeaderView would.

#include "recording/celldelegate.h"
#include "recording/recordrowheader.h"
#include "recording/recordview.h"

#include <QScreen>
#include <QStandardItemModel>
#include <QTableView>
#include <QtTest>

#include <functional>

using Change = std::function<void(QTableView&)>;

// Rows without header texts of their own, as the record's.
class PlainRowsModel : public QStandardItemModel
{
public:
    using QStandardItemModel::QStandardItemModel;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override
    {
        return orientation == Qt::Vertical ? QVariant()
                                           : QStandardItemModel::headerData(section, orientation, role);
    }
};

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

    void rowHeaderHint_data()
    {
        QTest::addColumn<std::function<void(QStandardItemModel&, QHeaderView&)>>("change");
        using Change = std::function<void(QStandardItemModel&, QHeaderView&)>;
        QTest::newRow("rows added") << Change([](QStandardItemModel& model, QHeaderView&) {
            for (int i = 0; i < 300; ++i) {
                model.appendRow(new QStandardItem(QStringLiteral("x")));
                model.setVerticalHeaderItem(model.rowCount() - 1, new QStandardItem());
            }
        });
        QTest::newRow("rows removed")
            << Change([](QStandardItemModel& model, QHeaderView&) { model.removeRows(0, model.rowCount()); });
        QTest::newRow("a header text") << Change([](QStandardItemModel& model, QHeaderView&) {
            model.setVerticalHeaderItem(0, new QStandardItem(QStringLiteral("12345678")));
        });
        QTest::newRow("a larger font") << Change([](QStandardItemModel&, QHeaderView& header) {
            QFont font = header.font();
            font.setPointSize(font.pointSize() * 2);
            header.setFont(font);
        });
    }

    // The row header keeps its hint across rows, and takes a new one when its look changes.
    void rowHeaderHint()
    {
        QFETCH(std::function<void(QStandardItemModel&, QHeaderView&)>, change);
        QStandardItemModel model(2, 1);
        for (int row = 0; row < model.rowCount(); ++row)
            model.setVerticalHeaderItem(row, new QStandardItem());
        RecordRowHeader record;
        QHeaderView plain(Qt::Vertical);
        for (QHeaderView* header : {static_cast<QHeaderView*>(&record), &plain})
            header->setModel(&model);
        QCOMPARE(record.sizeHint(), plain.sizeHint());
        change(model, record);
        if (plain.font() != record.font())
            plain.setFont(record.font());
        QCOMPARE(record.sizeHint(), plain.sizeHint());
    }

    void rowsComeOnScreen_data()
    {
        QTest::addColumn<int>("rows");
        QTest::newRow("fewer than the view holds") << 3;
        QTest::newRow("more, scrolled each time") << 30;
    }

    // The record's view repaints only the rows that come; the screen still shows the whole table.
    void rowsComeOnScreen()
    {
        QFETCH(int, rows);
        PlainRowsModel model(0, 2);
        RecordView view;
        view.setItemDelegate(new CellCacheDelegate(&view));
        view.setModel(&model);
        view.resize(300, 200);
        view.show();
        QVERIFY(QTest::qWaitForWindowExposed(&view));
        while (model.rowCount() < rows) {
            int const row = model.rowCount();
            model.appendRow(
                {new QStandardItem(QString::number(row)), new QStandardItem(QString::number(row * 7))});
            view.scrollToBottom();
            QCoreApplication::processEvents();
        }
        QImage const shown = view.screen()->grabWindow(view.winId()).toImage();
        QCOMPARE(shown.convertToFormat(QImage::Format_RGB32),
                 view.grab().toImage().convertToFormat(QImage::Format_RGB32));
    }
};

QTEST_MAIN(TestCellDelegate)
#include "tst_celldelegate.moc"
