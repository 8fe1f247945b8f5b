// The quick-settings table of the window against the simulated instrument: a row's button
// sends its values, the context menu edits the rows, and the rows outlive the window.

#include "tests/window/windowharness.h"

namespace {

QString const kModel = QStringLiteral("KVR9040-40");
QString const kKey = kModel + QStringLiteral("/QuickSettings");

using Rows = QList<QPair<double, double>>;

// Stores the rows as the window keeps them: a count, then voltage and current of each row.
void storeRows(Rows const& rows)
{
    QByteArray array;
    QDataStream stream(&array, QIODevice::WriteOnly);
    stream << quint32(rows.size());
    for (auto const& row : rows)
        stream << row.first << row.second;
    QSettings().setValue(kKey, array);
}

// The voltage and current texts of each row, as the table shows them.
QStringList shownRows(QAbstractItemModel const* model)
{
    QStringList rows;
    for (int row = 0; row < model->rowCount(); ++row)
        rows << model->index(row, 1).data().toString() + '/' + model->index(row, 2).data().toString();
    return rows;
}

QString cellText(QModelIndex const& index)
{
    return index.isValid() ? QStringLiteral("%1,%2").arg(index.row()).arg(index.column())
                           : QStringLiteral("none");
}

} // namespace

class TestQuickSettingsWindow : public QObject, WindowFixture
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { isolateSettings(QStringLiteral("tst_quicksettingswindow")); }
    void init()
    {
        QSettings().clear();
        QVERIFY2(startSimulator(kModel), qPrintable(m_server.errorString()));
    }
    void cleanup()
    {
        QVERIFY(closeWindow());
        m_server.stop();
    }

    void executeRow();
    void contextMenu_data();
    void contextMenu();

private:
    QTableView* table() const { return child<QTableView>("tvQuickSetting"); }
};

void TestQuickSettingsWindow::executeRow()
{
    storeRows({{1.0, 0.1}, {3.5, 1.25}, {0.0, 0.0}});
    QVERIFY(openRunning(kModel));
    QTableView* view = table();
    auto* quick = child<QGroupBox>("widgetQuickSetting");
    QRect const cell = view->visualRect(view->model()->index(1, 3));
    QVERIFY(view->viewport()->rect().contains(cell));
    QList<bool> enabled;
    connect(driver(), &MyDMM::updateData, this, [&] { enabled << quick->isEnabled(); });
    m_server.clearLog();

    // The margins of the button cell, then the button; the hand shows on the button only.
    int const middle = cell.center().y();
    for (QPoint const at : {QPoint(cell.left(), middle), QPoint(cell.center().x(), cell.top()),
                            QPoint(cell.right(), middle), cell.center()}) {
        bool const onButton = at == cell.center();
        enabled.clear();
        QTest::mousePress(view->viewport(), Qt::LeftButton, {}, at);
        QGuiApplication const* gui = qGuiApp;
        QCOMPARE(gui->overrideCursor() ? gui->overrideCursor()->shape() : Qt::ArrowCursor,
                 onButton ? Qt::PointingHandCursor : Qt::ArrowCursor);
        QTest::mouseRelease(view->viewport(), Qt::LeftButton, {}, at);
        QVERIFY(!QGuiApplication::overrideCursor());
        QCOMPARE(quick->isEnabled(), !onButton);
    }
    QVERIFY(waitUntil([&] { return enabled.size() >= 2; }));
    QCOMPARE(enabled.mid(0, 2), (QList<bool> {false, true}));
    QCOMPARE(settingLines(), (QStringList {":SOURce:VOLTage:LEVel 3.5", ":SOURce:CURRent:LEVel 1.25"}));
}

void TestQuickSettingsWindow::contextMenu_data()
{
    QTest::addColumn<int>("rows"); // stored rows of 1 V, 2 V, 3 V...
    QTest::addColumn<QString>("current"); // "row,column" or "none"
    QTest::addColumn<QString>("action");
    QTest::addColumn<QString>("menu"); // disabled entries in brackets
    QTest::addColumn<QStringList>("after");
    QTest::addColumn<QString>("currentAfter");
    QString const all = QStringLiteral("Append Insert | Delete Clear");
    QString const z = QStringLiteral("0.000/0.000");
    QTest::newRow("append to an empty table")
        << 0 << "none"
        << "Append"
        << "Append [Insert] | [Delete] [Clear]" << QStringList {z} << "0,1";
    QTest::newRow("append without a current cell")
        << 1 << "none"
        << "Append"
        << "Append [Insert] | [Delete] Clear" << QStringList {"1.000/0.100", z} << "1,1";
    QTest::newRow("insert before the current row")
        << 2 << "1,2"
        << "Insert" << all << QStringList {"1.000/0.100", z, "2.000/0.200"} << "1,1";
    QTest::newRow("delete a middle row")
        << 3 << "1,2"
        << "Delete" << all << QStringList {"1.000/0.100", "3.000/0.300"} << "1,2";
    QTest::newRow("delete the last row") << 2 << "1,1"
                                         << "Delete" << all << QStringList {"1.000/0.100"} << "0,1";
    QTest::newRow("delete the only row") << 1 << "0,2"
                                         << "Delete" << all << QStringList() << "none";
    QTest::newRow("clear") << 3 << "0,1"
                           << "Clear" << all << QStringList() << "none";
}

void TestQuickSettingsWindow::contextMenu()
{
    QFETCH(int, rows);
    QFETCH(QString, current);
    QFETCH(QString, action);
    QFETCH(QString, menu);
    QFETCH(QStringList, after);
    QFETCH(QString, currentAfter);
    Rows stored;
    for (int i = 1; i <= rows; ++i)
        stored.append({i * 1.0, i * 0.1});
    storeRows(stored);
    QVERIFY(openRunning(kModel));
    QTableView* view = table();
    if (current != QLatin1String("none"))
        view->setCurrentIndex(
            view->model()->index(current.section(',', 0, 0).toInt(), current.section(',', 1).toInt()));

    // Reads the menu as it pops up, then chooses the action.
    QString shown;
    auto const choose = whenShown<QMenu>([&](QMenu* popup) {
        QStringList entries;
        for (QAction* entry : popup->actions()) {
            QString const text = entry->isSeparator() ? QStringLiteral("|") : entry->text();
            entries << (entry->isEnabled() ? text : '[' + text + ']');
            if (entry->text() == action)
                entry->trigger();
        }
        shown = entries.join(' ');
        popup->close();
    });
    QPoint const at = view->viewport()->rect().center();
    QContextMenuEvent event(QContextMenuEvent::Mouse, at, view->viewport()->mapToGlobal(at));
    QApplication::sendEvent(view->viewport(), &event);
    QCOMPARE(shown, menu);
    QCOMPARE(shownRows(view->model()), after);
    QCOMPARE(cellText(view->currentIndex()), currentAfter);

    // The rows are kept when the window closes and come back with the next one.
    QVERIFY(closeWindow());
    QCOMPARE(QSettings().value(kKey).toByteArray().size(), 4 + 16 * after.size());
    QVERIFY(openRunning(kModel));
    QCOMPARE(shownRows(table()->model()), after);
}

QTEST_MAIN(TestQuickSettingsWindow)
#include "tst_quicksettingswindow.moc"
