// The programmer dialog on its own: its files in both formats with their refusals, the
// template parameters kept per instrument, and the data tables of both tabs.

#include "programmer/dialogprogrammer.h"
#include "window/kvr9000window.h"

#include "tests/common/files.h"

#include "specific/helper.h"
#include "specific/wavegenerator.h"

#include <QtTest>
#include <QtWidgets>

using namespace zelt::specific::pxn3000s::programmer;

namespace {

Option makeOption()
{
    Option option;
    option.name = QStringLiteral("bench unit");
    option.channels = {zelt::specific::pxn3000s::programmer::Channel {
        QStringLiteral("CH1"), {{0.0, 42.0}, {0.0, 42.0}, {0.0, 420.0}}}};
    return option;
}

QString const kListHead
    = QStringLiteral("start,0\ncount,2\ncycles,%1\nlastState,%2\nNo,Vol(V),Amp(A),keppT(s)\n");
QString const kDelayerHead = QStringLiteral(
    "start,0\ncount,2\ncycles,%1\nlastState,%2\nstopCondi,0\nstopValue,0\nNo,State,delayT(s)\n");

enum Reader { WindowList, WindowDelayer, DialogList, DialogDelayer };

} // namespace

class TestProgrammerDialog : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY(m_dir.isValid());
        // Settings in a folder of this run's, which a restarted run shares: the test-mode folder
        // is shared by every run of the suite on the machine.
        QString const folder = restarted() ? qEnvironmentVariable("ZELT_TEMPLATES_RESTARTED") : m_dir.path();
        QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, folder);
        QStandardPaths::setTestModeEnabled(true);
        QCoreApplication::setOrganizationName(QStringLiteral("zelt-tests"));
        QCoreApplication::setApplicationName(QStringLiteral("tst_programmerdialog"));
    }
    void init()
    {
        if (!restarted())
            QSettings().clear();
    }

    void load_data()
    {
        QTest::addColumn<int>("reader");
        QTest::addColumn<QString>("text");
        QTest::addColumn<int>("rows"); // -1: refused, nothing taken over
        QTest::addColumn<int>("cycles");
        QTest::addColumn<QString>("endState"); // of the window's readers

        auto const row = [](char const* name, int reader, QString const& text, int rows, int cycles = 0,
                            char const* endState = "") {
            QTest::newRow(name) << reader << text << rows << cycles << QString(endState);
        };
        QString const twoRows = QStringLiteral("0,1.5,0.2,1.0\n7,2,0.3,0.5\n");
        row("cycles 99999", WindowList, kListHead.arg("99999", "1") + twoRows, 2, 99999, "ON");
        row("cycles 100000", WindowList, kListHead.arg("100000", "1") + twoRows, -1);
        row("cycles letters", WindowList, kListHead.arg("abc", "0") + twoRows, 2, 0, "OFF");
        row("list lastState 2", WindowList, kListHead.arg("3", "2") + twoRows, -1);
        row("short rows skipped, bad numbers 0", WindowList, kListHead.arg("3", "0") + "0,1,2\n1,x,2,3\n", 1,
            3, "OFF");
        row("list header only, short", WindowList, "start,0\ncount,0\ncycles,1\n", -1);
        row("delayer file as list: no rows, settings taken", WindowList,
            kDelayerHead.arg("4", "1") + "0,1,0.5\n", 0, 4, "ON");
        row("list file as delayer", WindowDelayer, kListHead.arg("3", "1") + twoRows, -1);
        row("delayer LAST", WindowDelayer, kDelayerHead.arg("2", "2") + "0,1,0.5\n1,0,1.5\n", 2, 2, "LAST");
        row("delayer short", WindowDelayer, kDelayerHead.section('\n', 0, 4).arg("2", "0"), -1);
        QString many = kListHead.arg("1", "0");
        for (int i = 0; i < 130; ++i)
            many += QStringLiteral("%1,1,1,1\n").arg(i);
        row("more rows than the instrument holds", WindowList, many, 128, 1, "OFF");
        QString const list
            = QStringLiteral("LIST,10\nCycles,%1\nEnd Status,%2\nGroups,%3\nNo.,V,A,T\n0,1,2,3\n");
        row("dialog list Output On", DialogList, list.arg("5", "Output On", "1"), -1);
        row("dialog list as delayer", DialogDelayer, list.arg("5", "Output Off", "1"), -1);
    }

    // Both file formats of either kind, read back with their refusals.
    void load()
    {
        QFETCH(int, reader);
        QFETCH(QString, text);
        QFETCH(int, rows);
        QFETCH(int, cycles);
        QFETCH(QString, endState);
        QString const path = m_dir.filePath(QStringLiteral("f.csv"));
        QVERIFY(writeFile(path, text.toUtf8()));
        Option option = makeOption();
        if (reader == WindowList || reader == WindowDelayer) {
            UploadParam param;
            param.cycles = 77;
            param.endState = QStringLiteral("untouched");
            qsizetype const got = reader == WindowDelayer
                ? KVR9000Window::loadDelayerDataFromCsv(path, option, param).size()
                : KVR9000Window::loadlistDataFromCsv(path, option, param).size();
            QCOMPARE(got, qsizetype(std::max(rows, 0)));
            QCOMPARE(param.cycles, rows < 0 ? 77 : cycles);
            QCOMPARE(param.endState, rows < 0 ? QStringLiteral("untouched") : endState);
            return;
        }
        DialogProgrammer dialog(option, nullptr);
        auto* box = dialog.findChild<QSpinBox*>(reader == DialogDelayer ? "sbDelayerCycles" : "sbListCycles");
        box->setValue(42);
        qsizetype const got = reader == DialogDelayer ? dialog.delayerLoadData(path).size()
                                                      : dialog.listLoadData(path).size();
        QCOMPARE(got, qsizetype(std::max(rows, 0)));
        QCOMPARE(box->value(), rows < 0 ? 42 : cycles); // a refused file changes no widget
    }

    void roundTrip_data()
    {
        QTest::addColumn<bool>("dialogFormat");
        QTest::addColumn<QString>("endState");
        QTest::newRow("window format, ON") << false << "ON";
        QTest::newRow("dialog format") << true << "OFF";
    }

    // Rows come back with their times on the tenth of a second; the list and delayer alike.
    void roundTrip()
    {
        QFETCH(bool, dialogFormat);
        QFETCH(QString, endState);
        Option option = makeOption();
        QList<ListData> const list {{1.2346, 0.5, 0.26}, {40.0, 2.0, 1.04}};
        QList<DelayerData> const steps {{true, 0.26}, {false, 12.34}};
        QList<ListData> const listBack {{1.235, 0.5, 0.3}, {40.0, 2.0, 1.0}};
        QList<DelayerData> const stepsBack {{true, 0.3}, {false, 12.3}};
        QString const listFile = m_dir.filePath(QStringLiteral("r.lst.csv"));
        QString const delayerFile = m_dir.filePath(QStringLiteral("r.dly.csv"));

        if (dialogFormat) {
            DialogProgrammer dialog(option, nullptr);
            dialog.findChild<QSpinBox*>("sbListCycles")->setValue(0);
            QVERIFY(dialog.listSaveData(listFile, list));
            QVERIFY(dialog.delayerSaveData(delayerFile, steps));
            QCOMPARE(dialog.listLoadData(listFile), listBack);
            QCOMPARE(dialog.delayerLoadData(delayerFile), stepsBack);
            QCOMPARE(dialog.findChild<QSpinBox*>("sbListCycles")->text(), QStringLiteral("Infinite"));
            return;
        }
        UploadParam param;
        param.cycles = 12;
        param.start = 30;
        param.endState = endState;
        QVERIFY(KVR9000Window::saveListDataToCsv(listFile, option, list, param));
        QVERIFY(KVR9000Window::saveDelayerData(delayerFile, option, steps, param));
        UploadParam back;
        QCOMPARE(KVR9000Window::loadlistDataFromCsv(listFile, option, back), listBack);
        QCOMPARE(back.cycles, 12);
        QCOMPARE(back.endState, endState);
        QCOMPARE(back.start, 0); // the start is not kept
        QCOMPARE(KVR9000Window::loadDelayerDataFromCsv(delayerFile, option, back), stepsBack);
    }

    void storedTemplates_data()
    {
        QTest::addColumn<int>("records");
        QTest::addColumn<int>("activeType");
        QTest::addColumn<double>("period"); // of the Sine record stored
        QTest::addColumn<QString>("typeShown");
        QTest::addColumn<double>("periodShown"); // by the Sine page; 0: not on show
        QTest::addColumn<bool>("capNoted");
        QList<ListTemplateParam> defaults;
        resetListTemplateParams(defaults);
        double const byDefault = defaults.at(0).period;
        QTest::newRow("nine records give defaults") << 9 << 5 << 7.0 << "Sine" << byDefault << false;
        QTest::newRow("active type 5") << 8 << 5 << 7.0 << "Stair Up Down" << 0.0 << false;
        QTest::newRow("sine past the row cap") << 8 << 0 << 3600.0 << "Sine" << 3600.0 << true;
    }

    // What is stored, the next opening shows: per instrument, with a bad record set replaced by
    // the defaults, and a note when the row cap cuts the template on show. What a closing
    // stores is read back after a restart below.
    void storedTemplates()
    {
        QFETCH(int, records);
        QFETCH(int, activeType);
        QFETCH(double, period);
        QFETCH(QString, typeShown);
        QFETCH(double, periodShown);
        QFETCH(bool, capNoted);
        Option option = makeOption();
        Helper::getInstance().setOption(option);
        if (records > 0) {
            QList<ListTemplateParam> params;
            resetListTemplateParams(params);
            params[0].period = period;
            params[0].interval = 0.1;
            while (params.size() < records)
                params.append(params.last());
            QSettings settings;
            settings.beginGroup(option.name + QStringLiteral("/Programmer"));
            settings.setValue(QStringLiteral("List Active Type"), activeType);
            settings.setValue(QStringLiteral("List Template Params"), QVariant::fromValue(params));
        }
        DialogProgrammer dialog(option, nullptr);
        auto* type = dialog.findChild<QComboBox*>("cbbListTempType");
        QCOMPARE(type->currentText(), typeShown);
        QCOMPARE(dialog.findChild<QStackedWidget*>("stackedWidget")->currentIndex(), type->currentIndex());
        QCOMPARE(dialog.findChild<QStatusBar*>()->currentMessage().contains(QString::number(kMaxWaveRows)),
                 capNoted);
        QVERIFY(dialog.findChild<QTableView*>("tvListTemplate")->model()->rowCount() <= kMaxWaveRows);
        if (periodShown > 0)
            QCOMPARE(dialog.findChild<QDoubleSpinBox*>("sbListTempPeriod0")->value(), periodShown);
    }

    // Another process reads the file back as a host started anew does: the window reads its own
    // group, in the same section of the file when the instrument is named after its model, before
    // a dialog is ever made.
    void storedTemplatesAfterRestart()
    {
        Option option = makeOption();
        if (restarted()) {
            QCOMPARE(QSettings().value(option.name + QStringLiteral("/SamplePoints")).toInt(), 99);
            DialogProgrammer dialog(option, nullptr);
            QCOMPARE(dialog.findChild<QComboBox*>("cbbListTempType")->currentText(), QStringLiteral("Ramp"));
            QCOMPARE(dialog.findChild<QDoubleSpinBox*>("sbListTempPeriod2")->value(), 10.8);
            return;
        }
        {
            QSettings().setValue(option.name + QStringLiteral("/SamplePoints"), 99);
            DialogProgrammer dialog(option, nullptr);
            dialog.findChild<QComboBox*>("cbbListTempType")->setCurrentIndex(2);
            auto* period = dialog.findChild<QDoubleSpinBox*>("sbListTempPeriod2");
            period->setValue(10.8);
            Q_EMIT period->editingFinished();
        }
        QSettings().sync();
        QProcess again;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("ZELT_TEMPLATES_RESTARTED"), m_dir.path());
        again.setProcessEnvironment(environment);
        again.setProcessChannelMode(QProcess::ForwardedChannels);
        again.start(QCoreApplication::applicationFilePath(), {QStringLiteral("storedTemplatesAfterRestart")});
        QVERIFY(again.waitForFinished(60000));
        QCOMPARE(again.exitCode(), 0);
    }

    void contextMenu_data()
    {
        QTest::addColumn<QString>("action");
        QTest::addColumn<QList<QPoint>>("cells"); // selected (row, column); the first is current
        QTest::addColumn<int>("rows"); // of the three, afterwards
        QTest::addColumn<int>("currentRow"); // -1 none, -2 not looked at; -1 also: the action is disabled
        QTest::newRow("append") << "Append" << QList<QPoint>() << 4 << 3;
        QTest::newRow("insert") << "Insert" << QList<QPoint> {{1, 2}} << 4 << 1;
        QTest::newRow("delete without a current row") << "Delete" << QList<QPoint>() << 3 << -1;
        QTest::newRow("delete two cells of a row") << "Delete" << QList<QPoint> {{1, 0}, {1, 2}} << 2 << -2;
        QTest::newRow("clear") << "Clear" << QList<QPoint> {{0, 0}} << 0 << -2;
    }

    // The data table's menu, opened by a right click on the table as a user does; the groups
    // box follows the rows.
    void contextMenu()
    {
        QFETCH(QString, action);
        QFETCH(QList<QPoint>, cells);
        QFETCH(int, rows);
        QFETCH(int, currentRow); // -2: not looked at
        Option option = makeOption();
        DialogProgrammer dialog(option, nullptr);
        dialog.show();
        auto* view = dialog.findChild<QTableView*>("tvList");
        QAbstractItemModel* model = view->model();
        QVERIFY(model->insertRows(0, 3));
        view->selectionModel()->clear();
        for (int i = 0; i < cells.size(); ++i) {
            QModelIndex const cell = model->index(cells.at(i).x(), cells.at(i).y());
            view->selectionModel()->setCurrentIndex(
                cell, i == 0 ? QItemSelectionModel::ClearAndSelect : QItemSelectionModel::Select);
        }
        QContextMenuEvent click(QContextMenuEvent::Mouse, QPoint(5, 5),
                                view->viewport()->mapToGlobal(QPoint(5, 5)));
        QApplication::sendEvent(view->viewport(), &click);
        auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
        QVERIFY(menu);
        QAction* chosen = nullptr;
        for (QAction* a : menu->actions()) {
            if (a->text() == action)
                chosen = a;
        }
        QVERIFY(chosen);
        QCOMPARE(chosen->isEnabled(), currentRow != -1);
        chosen->trigger();
        menu->close();
        QCOMPARE(model->rowCount(), rows);
        if (currentRow == -1)
            return;
        QCOMPARE(dialog.findChild<QSpinBox*>("sbListGroups")->value(), rows);
        if (currentRow >= 0)
            QCOMPARE(view->currentIndex().row(), currentRow);
    }

    void templateRows_data()
    {
        QTest::addColumn<bool>("delayer");
        QTest::addColumn<bool>("insert");
        QTest::addColumn<int>("currentRow"); // -1: none
        QTest::addColumn<int>("firstNew");
        QTest::newRow("list append") << false << false << 1 << 3;
        QTest::newRow("delayer insert") << true << true << 2 << 2;
        QTest::newRow("delayer insert without a current row") << true << true << -1 << 3;
    }

    // The template's rows go into the data table at its end, or before its current row, and stand
    // selected; the groups box counts them.
    void templateRows()
    {
        QFETCH(bool, delayer);
        QFETCH(bool, insert);
        QFETCH(int, currentRow);
        QFETCH(int, firstNew);
        Option option = makeOption();
        DialogProgrammer dialog(option, nullptr);
        dialog.show();
        auto* view = dialog.findChild<QTableView*>(delayer ? "tvDelayer" : "tvList");
        QAbstractItemModel* model = view->model();
        int const k = dialog.findChild<QTableView*>(delayer ? "tvDelayerTemplate" : "tvListTemplate")
                          ->model()
                          ->rowCount();
        QVERIFY(k > 0);
        QVERIFY(model->insertRows(0, 3));
        view->setCurrentIndex(currentRow < 0 ? QModelIndex() : model->index(currentRow, 0));
        QString const button = QStringLiteral("btn%1Template%2")
                                   .arg(delayer ? "Delayer" : "List", insert ? "Insert" : "Append");
        QTest::mouseClick(dialog.findChild<QPushButton*>(button), Qt::LeftButton);

        QCOMPARE(model->rowCount(), 3 + k);
        QCOMPARE(dialog.findChild<QSpinBox*>(delayer ? "sbDelayerGroups" : "sbListGroups")->value(), 3 + k);
        QModelIndexList const selected = view->selectionModel()->selectedIndexes();
        QCOMPARE(selected.size(), k * model->columnCount());
        auto const [low, high] = std::minmax_element(
            selected.cbegin(), selected.cend(),
            [](QModelIndex const& a, QModelIndex const& b) { return a.row() < b.row(); });
        QCOMPARE(low->row(), firstNew);
        QCOMPARE(high->row(), firstNew + k - 1);
        QCOMPARE(view->currentIndex().row(), firstNew);
    }

    void templateWithinRanges_data()
    {
        QTest::addColumn<int>("type");
        QTest::addColumn<int>("row"); // one at the minimum
        QTest::newRow("sine") << 0 << 15;
        QTest::newRow("ramp") << 2 << 0;
    }

    // A model whose lowest voltage is above the template's default minimum: the rows keep to the
    // minimum that the spin box shows.
    void templateWithinRanges()
    {
        QFETCH(int, type);
        QFETCH(int, row);
        Option option = makeOption();
        option.channels[0].ranges[0] = Range_t(0.1, 42.0);
        DialogProgrammer dialog(option, nullptr);
        dialog.findChild<QComboBox*>("cbbListTempType")->setCurrentIndex(type);
        QCOMPARE(dialog.findChild<QDoubleSpinBox*>("sbListTempMin")->value(), 0.1);
        QCOMPARE(dialog.findChild<QTableView*>("tvListTemplate")->model()->index(row, 0).data(Qt::EditRole),
                 0.1);
    }

private:
    // This suite run again by storedTemplatesAfterRestart, on the settings of the first run.
    static bool restarted() { return qEnvironmentVariableIsSet("ZELT_TEMPLATES_RESTARTED"); }

    QTemporaryDir m_dir;
};

QTEST_MAIN(TestProgrammerDialog)
#include "tst_programmerdialog.moc"
