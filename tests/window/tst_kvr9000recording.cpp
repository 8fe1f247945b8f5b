// The window's record against the simulated instrument with its output on into a load: samples
// become table rows and chart points, the sampling options gate them, and Clear, Export and
// Save Image act on them through their dialogs.

#include "tests/window/windowharness.h"

#include "driver/dmmhelper.h"
#include "simulator/kvrinstrument.h"

#include "plot/customplot.h"

namespace {

QString const kModel = QStringLiteral("KVR9040-40");

// Answers the window's modal dialogs in turn: a file dialog with the next name (an empty one
// cancels), a message box with the next button. Each box is kept as "[title] text".
class DialogScript : public QObject
{
public:
    explicit DialogScript(QVariantList answers)
        : m_answers(std::move(answers))
    {
        m_timer.setInterval(10);
        connect(&m_timer, &QTimer::timeout, this, &DialogScript::answer);
        m_timer.start();
    }

    QStringList boxes;

private:
    void answer()
    {
        QWidget* modal = QApplication::activeModalWidget();
        if (!modal || !modal->isVisible() || m_answers.isEmpty())
            return;
        if (auto* files = qobject_cast<QFileDialog*>(modal)) {
            QString const name = m_answers.takeFirst().toString();
            if (name.isEmpty()) {
                files->reject();
                return;
            }
            files->selectFile(name);
            static_cast<QDialog*>(files)->accept();
        } else if (auto* box = qobject_cast<QMessageBox*>(modal)) {
            boxes << QStringLiteral("[%1] %2").arg(box->windowTitle(), box->text());
            auto const button = QMessageBox::StandardButton(m_answers.takeFirst().toInt());
            button == QMessageBox::Cancel ? box->reject() : box->button(button)->click();
        }
    }

    QVariantList m_answers;
    QTimer m_timer;
};

QStringList rowTexts(QAbstractItemModel const& model, int row)
{
    QStringList cells;
    for (int c = 0; c < model.columnCount(); ++c)
        cells << model.data(model.index(row, c)).toString();
    return cells;
}

} // namespace

class TestKvr9000Recording : public QObject, WindowFixture
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { isolateSettings(QStringLiteral("tst_kvr9000recording")); }
    void init();
    void cleanup()
    {
        QVERIFY(closeWindow());
        m_server.stop();
    }

    void samplesBecomeRowsAndPoints();
    void gate_data();
    void gate();
    void clear_data();
    void clear();
    void exportCsv_data();
    void exportCsv();
    void saveImage_data();
    void saveImage();
    void tracerNote();
    void historyMenu();

private:
    bool openRecording()
    {
        if (!open(kModel))
            return false;
        m_window->resize(1280, 800);
        return waitUntil([this] { return rows() >= 3; });
    }
    int rows() const { return m_window ? child<QTableView>("tv1")->model()->rowCount() : 0; }
    QAbstractItemModel* table() const { return child<QTableView>("tv1")->model(); }
    QCustomPlot* chart() const
    {
        auto* splitter = child<QSplitter>("splitterView");
        return qobject_cast<QCustomPlot*>(splitter->widget(splitter->count() - 1));
    }
    // Stops the recording so that table and chart hold still; the panels go on.
    void pause() { child<QAction>("actionPause")->trigger(); }
    QPoint pointOf(int graph, int index) const
    {
        QCPGraph* g = chart()->graph(graph);
        auto const point = g->data()->at(index);
        return QPointF(g->keyAxis()->coordToPixel(point->key), g->valueAxis()->coordToPixel(point->value))
            .toPoint();
    }
    void move(QPoint pos)
    {
        QMouseEvent event(QEvent::MouseMove, pos, chart()->mapToGlobal(pos), Qt::NoButton, Qt::NoButton,
                          Qt::NoModifier);
        QApplication::sendEvent(chart(), &event);
    }

    QTemporaryDir m_dir;
};

void TestKvr9000Recording::init()
{
    QSettings().clear();
    QVERIFY2(startSimulator(kModel), qPrintable(m_server.errorString()));
    // Output on into 2 ohms: 30 V, 15 A and 450 W, three graphs apart on their axes.
    kvrsim::KvrInstrument& unit = m_server.instrument();
    unit.setLoad(2.0);
    unit.setVoltage(30.0);
    unit.setCurrent(20.0);
    unit.setOutput(true);
}

void TestKvr9000Recording::samplesBecomeRowsAndPoints()
{
    // Each sample, as the driver publishes it, is already the table's last row and the
    // graphs' last points.
    QStringList mismatches;
    int seen = 0;
    QVERIFY(open(kModel));
    connect(driver(), &MyDMM::updateData, this, [&](QSharedPointer<DmmData> const& data) {
        QAbstractItemModel* model = table();
        int const last = model->rowCount() - 1;
        Channel const& ch = *data->activeChannel();
        QStringList const expected {QString::number(last + 1),
                                    data->dateTime().toString(QStringLiteral("yyyy-MM-dd hh:mm:ss")),
                                    QStringLiteral("Normal"),
                                    dmmhelper::VBText(ch.voltage.measured),
                                    dmmhelper::VBText(ch.current.measured),
                                    dmmhelper::VBText(ch.power),
                                    "-",
                                    "-",
                                    "-"};
        if (rowTexts(*model, last) != expected)
            mismatches << rowTexts(*model, last).join(',');
        QList<double> const values {ch.voltage.measured.value, ch.current.measured.value, ch.power.value};
        for (int g = 0; g < 3; ++g) {
            QCPGraph* graph = chart()->graph(g);
            if (graph->dataCount() != last + 1 || (graph->data()->constEnd() - 1)->value != values.at(g))
                mismatches << QStringLiteral("graph %1 at row %2").arg(g).arg(last);
        }
        ++seen;
    });
    QVERIFY(waitUntil([&] { return seen >= 10; }));
    QCOMPARE(mismatches, QStringList());
    QCOMPARE(rows(), seen);

    // Three graphs apart, one value axis each, on a date-time axis that follows the newest.
    QCustomPlot* plot = chart();
    QStringList graphs;
    for (int g = 0; g < plot->graphCount(); ++g) {
        QCPGraph* graph = plot->graph(g);
        graphs << QStringLiteral("%1 %2 %3 %4")
                      .arg(graph->name(), graph->pen().color().name(QColor::HexRgb).toUpper(),
                           graph->valueAxis()->label(), QString::number(graph->valueAxis()->axisType()));
    }
    QCOMPARE(graphs,
             (QStringList {"Voltage(V) #8EEB00 Voltage(V) 1", "Current(A) #133AAC Current(A) 2",
                           "Power(W) #FF5600 Power(W) 2"}));
    QCOMPARE(plot->xAxis->range().upper, (plot->graph(0)->data()->constEnd() - 1)->key);
    auto ticker = plot->xAxis->ticker().dynamicCast<QCPAxisTickerDateTime>();
    QCOMPARE(ticker ? ticker->dateTimeFormat() : QString(), QStringLiteral("yyyy-MM-dd\nHH:mm:ss"));
    // 0.1 V to 5 % over 40 V, widened by 3 % about its middle.
    QCOMPARE(plot->yAxis->range().lower, -0.5285);
    QCOMPARE(plot->yAxis->range().upper, 42.6285);
    QVERIFY(child<QCustomPlot>("plot1")->isHidden());
    QCOMPARE(child<QSplitter>("splitterView")->widget(0), child<QTableView>("tv1"));
}

void TestKvr9000Recording::gate_data()
{
    QTest::addColumn<QVariantList>("options"); // infinitely, points, interval
    QTest::addColumn<bool>("paused");
    QTest::newRow("pause") << QVariantList {true, 9999, 0} << true;
    QTest::newRow("five points") << QVariantList {false, 5, 0} << false;
    QTest::newRow("interval of 300 ms") << QVariantList {true, 9999, 300} << false;
}

void TestKvr9000Recording::gate()
{
    QFETCH(QVariantList, options);
    QFETCH(bool, paused);
    QStringList const keys {"SampleInfinitely", "SamplePoints", "SampleInterval"};
    for (int i = 0; i < keys.size(); ++i)
        QSettings().setValue(kModel + '/' + keys.at(i), options.at(i));
    int const interval = options.at(2).toInt();
    QVERIFY(open(kModel));
    QVERIFY(waitUntil([&] { return rows() >= 1; }));
    if (paused)
        pause();

    // A second of polling: dozens of samples, and three firings of a 300 ms timer.
    QElapsedTimer clock;
    clock.start();
    int const before = rows();
    QSignalSpy samples(driver(), &MyDMM::updateData);
    QVERIFY(waitUntil([&] { return clock.elapsed() >= 1000 && samples.count() >= 20; }));
    qint64 const elapsed = clock.elapsed();
    int const added = rows() - before;
    if (paused)
        QCOMPARE(added, 0);
    else if (interval > 0)
        QVERIFY2(added >= 2 && added <= elapsed / interval + 1,
                 qPrintable(QStringLiteral("%1 rows in %2 ms").arg(added).arg(elapsed)));
    else
        QCOMPARE(rows(), options.at(1).toInt());

    // Released, or cleared at the limit, the recording goes on by itself, numbered from 1.
    DialogScript answers({QMessageBox::Yes});
    paused ? pause() : child<QAction>("actionClear")->trigger();
    QVERIFY(waitUntil([&] { return rows() >= (paused ? before + 2 : 2); }));
    QCOMPARE(table()->data(table()->index(0, 0)), QVariant(1));
}

void TestKvr9000Recording::clear_data()
{
    QTest::addColumn<int>("answer");
    QTest::newRow("yes") << int(QMessageBox::Yes);
    QTest::newRow("no") << int(QMessageBox::No);
    QTest::newRow("box closed") << int(QMessageBox::Cancel);
}

void TestKvr9000Recording::clear()
{
    QFETCH(int, answer);
    QVERIFY(openRecording());
    pause();
    int const before = rows();
    DialogScript answers({answer});
    child<QAction>("actionClear")->trigger();
    QCOMPARE(answers.boxes, QStringList {"[Clear Data] Are you sure you want to clear all data?"});
    bool const cleared = answer == QMessageBox::Yes;
    QCOMPARE(rows(), cleared ? 0 : before);
    QCOMPARE(chart()->graph(2)->dataCount(), cleared ? 0 : before);
    // The driver keeps its samples.
    QVERIFY(driver()->getMeasureData().size() >= before);
}

void TestKvr9000Recording::exportCsv_data()
{
    QTest::addColumn<QString>("name"); // empty: the file dialog is cancelled
    QTest::newRow("written") << "record.csv";
    QTest::newRow("cancelled") << "";
}

void TestKvr9000Recording::exportCsv()
{
    QFETCH(QString, name);
    QVERIFY(openRecording());
    pause();
    QString const path
        = name.isEmpty() ? QString() : m_dir.filePath(QString::fromLatin1(QTest::currentDataTag()) + name);
    DialogScript answers({path, QMessageBox::No});
    child<QAction>("actionExport")->trigger();
    if (name.isEmpty()) {
        QCOMPARE(answers.boxes, QStringList());
        return;
    }
    QCOMPARE(answers.boxes, QStringList {"[] Successful to export data.\nDo you want to open the file?"});

    // The file holds the table as it shows: the header, then every row.
    QFile file(path);
    QVERIFY(file.open(QIODevice::ReadOnly | QIODevice::Text));
    QStringList const lines = QString::fromUtf8(file.readAll()).split('\n', Qt::SkipEmptyParts);
    QStringList expected {QStringLiteral("No.,Date/Time,Mode,Voltage(V),Current(A),Power(W),"
                                         "P/S Voltage(V),P/S Current(A),P/S Power(W)")};
    for (int r = 0; r < rows(); ++r)
        expected << rowTexts(*table(), r).join(',');
    QCOMPARE(lines, expected);
    QVERIFY(lines.size() > 3);
}

void TestKvr9000Recording::saveImage_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QByteArray>("format"); // what the file holds
    QTest::newRow("png") << "chart.png" << QByteArray("png");
    QTest::newRow("jpg") << "chart.jpg" << QByteArray("jpeg");
    QTest::newRow("bmp") << "chart.bmp" << QByteArray("bmp");
    QTest::newRow("mixed case") << "chart.Png" << QByteArray("png");
}

void TestKvr9000Recording::saveImage()
{
    QFETCH(QString, name);
    QFETCH(QByteArray, format);
    QVERIFY(openRecording());
    QString const path = m_dir.filePath(name);
    DialogScript answers({path, QMessageBox::No});
    child<QAction>("actionSaveImage")->trigger();
    QCOMPARE(answers.boxes, QStringList {"[] Successful to export data.\nDo you want to open this file?"});
    QImageReader reader(path);
    QCOMPARE(reader.format(), format);
    QImage const image = reader.read();
    QCOMPARE(image.size(), chart()->size());
}

void TestKvr9000Recording::tracerNote()
{
    QVERIFY(openRecording());
    pause();
    chart()->replot();
    int const index = rows() - 2;
    QTest::mouseClick(chart(), Qt::LeftButton, {}, pointOf(1, index));
    QVERIFY(chart()->graph(1)->selected());
    auto note = [this] {
        for (int i = 0; i < chart()->itemCount(); ++i) {
            if (auto* text = qobject_cast<QCPItemText*>(chart()->item(i)))
                return text->text();
        }
        return QStringLiteral("no note");
    };

    // The note of a current reading: the word, then time, number, and suffix with unit.
    // Just right of the point: the marker takes the last point at or before the mouse.
    QPoint const where = pointOf(1, index) + QPoint(2, 0);
    move(where);
    QString const row = rowTexts(*table(), index).at(1);
    QStringList const parts = note().split('\n');
    QCOMPARE(parts.size(), 2);
    QCOMPARE(parts.at(0), QStringLiteral("Current"));
    QCOMPARE(parts.at(1),
             QStringLiteral("%1: %2 A").arg(row, table()->data(table()->index(index, 4)).toString()));

    // After a clear the graph stays selected, and the note falls back.
    DialogScript answers({QMessageBox::Yes});
    child<QAction>("actionClear")->trigger();
    QVERIFY(chart()->graph(1)->selected());
    move(where);
    QCOMPARE(note(), QStringLiteral("-"));
}

void TestKvr9000Recording::historyMenu()
{
    QVERIFY(openRecording());
    QStringList shown;
    QTimer::singleShot(0, this, [&] {
        auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
        QVERIFY(menu);
        for (QAction* action : menu->actions())
            shown << (action->isSeparator() ? QStringLiteral("|") : action->text());
        menu->close();
    });
    auto* view = child<QTableView>("tv1");
    QContextMenuEvent event(QContextMenuEvent::Mouse, QPoint(20, 20), view->mapToGlobal(QPoint(20, 20)));
    QApplication::sendEvent(view, &event);
    QCOMPARE(shown, (QStringList {"Export", "|", "Clear"}));
}

QTEST_MAIN(TestKvr9000Recording)
#include "tst_kvr9000recording.moc"
