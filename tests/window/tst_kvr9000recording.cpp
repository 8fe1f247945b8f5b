// The window's record against the simulated instrument with its output on into a load: samples
// become table rows and chart points, the sampling options gate them, and Clear, Export and
// Save Image act on them through their dialogs.

#include "tests/common/files.h"
#include "tests/common/table.h"
#include "tests/window/windowharness.h"

#include "driver/dmmhelper.h"
#include "simulator/kvrinstrument.h"

#include "plot/customplot.h"

namespace {

QString const kModel = QStringLiteral("KVR9040-40");

} // namespace

class TestKvr9000Recording : public QObject, WindowFixture
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { isolateSettings(QStringLiteral("tst_kvr9000recording")); }
    void cleanup()
    {
        QVERIFY(closeWindow());
        m_server.stop();
    }

    void init()
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

    void samplesBecomeRowsAndPoints()
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
            QStringList const expected
                = QStringList {QString::number(last + 1),
                               data->dateTime().toString(QStringLiteral("yyyy-MM-dd hh:mm:ss")),
                               QStringLiteral("Normal"),
                               dmmhelper::VBText(ch.voltage.measured),
                               dmmhelper::VBText(ch.current.measured),
                               dmmhelper::VBText(ch.power)}
                + QStringList(3, QStringLiteral("-"));
            if (rowTexts(*model, last) != expected)
                mismatches << rowTexts(*model, last).join(',');
            QList<double> const values {ch.voltage.measured.value, ch.current.measured.value, ch.power.value};
            for (int g = 0; g < 3; ++g) {
                QCPGraph* graph = chart()->graph(g);
                auto const point = graph->data()->constEnd() - 1;
                if (graph->dataCount() != last + 1 || point->value != values.at(g)
                    || point->key != QCPAxisTickerDateTime::dateTimeToKey(data->dateTime()))
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
            graphs << QStringLiteral("%1 %2 %3")
                          .arg(graph->name(), graph->pen().color().name().toUpper(),
                               graph->valueAxis()->label());
        }
        QCOMPARE(graphs,
                 (QStringList {"Voltage(V) #8EEB00 Voltage(V)", "Current(A) #133AAC Current(A)",
                               "Power(W) #FF5600 Power(W)"}));
        QCOMPARE(plot->xAxis->range().upper, (plot->graph(0)->data()->constEnd() - 1)->key);
        // 0.1 V to 5 % over 40 V, widened by 3 % about its middle.
        QCOMPARE(plot->yAxis->range().lower, -0.5285);
        QCOMPARE(plot->yAxis->range().upper, 42.6285);
    }

    void gate_data()
    {
        QTest::addColumn<QVariantList>("options"); // infinitely, points, interval
        QTest::addColumn<bool>("paused");
        QTest::newRow("pause") << QVariantList {true, 9999, 0} << true;
        QTest::newRow("five points") << QVariantList {false, 5, 0} << false;
        QTest::newRow("interval of 300 ms") << QVariantList {true, 9999, 300} << false;
    }

    void gate()
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

    void clear_data()
    {
        QTest::addColumn<int>("answer");
        QTest::newRow("yes") << int(QMessageBox::Yes);
        QTest::newRow("no") << int(QMessageBox::No);
        QTest::newRow("box closed") << int(QMessageBox::Cancel);
    }

    void clear()
    {
        QFETCH(int, answer);
        QVERIFY(openRecording());
        pause();
        int const before = rows();
        // Chosen from the table's context menu, as a user does.
        DialogScript answers({answer});
        QStringList menu;
        auto const choose = whenShown<QMenu>([&](QMenu* popup) {
            for (QAction* action : popup->actions())
                menu << (action->isSeparator() ? QStringLiteral("|") : action->text());
            popup->close();
            popup->actions().constLast()->trigger();
        });
        auto* view = child<QTableView>("tv1");
        QContextMenuEvent event(QContextMenuEvent::Mouse, QPoint(20, 20), view->mapToGlobal(QPoint(20, 20)));
        QApplication::sendEvent(view, &event);
        QCOMPARE(menu, (QStringList {"Export", "|", "Clear"}));
        QCOMPARE(answers.shown,
                 QStringList {"Question [Clear Data] Are you sure you want to clear all data?"});
        bool const cleared = answer == QMessageBox::Yes;
        QCOMPARE(rows(), cleared ? 0 : before);
        QCOMPARE(chart()->graph(2)->dataCount(), cleared ? 0 : before);
        // The driver keeps its samples.
        QVERIFY(driver()->getMeasureData().size() >= before);
    }

    void exportCsv_data()
    {
        QTest::addColumn<QString>("name"); // empty: the file dialog is cancelled
        QTest::newRow("written") << "record.csv";
        QTest::newRow("cancelled") << "";
    }

    void exportCsv()
    {
        QFETCH(QString, name);
        QVERIFY(openRecording());
        pause();
        QString const path = name.isEmpty()
            ? QString()
            : m_dir.filePath(QString::fromLatin1(QTest::currentDataTag()) + name);
        DialogScript answers({path, QMessageBox::No});
        child<QAction>("actionExport")->trigger();
        if (name.isEmpty()) {
            QCOMPARE(answers.shown, QStringList());
            return;
        }
        QCOMPARE(answers.shown,
                 QStringList {"Question [] Successful to export data.\nDo you want to open the file?"});

        // The file holds the table as it shows: the header, then every row.
        QStringList const lines = QString::fromUtf8(readFile(path)).split('\n', Qt::SkipEmptyParts);
        QStringList expected {QStringLiteral("No.,Date/Time,Mode,Voltage(V),Current(A),Power(W),"
                                             "P/S Voltage(V),P/S Current(A),P/S Power(W)")};
        for (int r = 0; r < rows(); ++r)
            expected << rowTexts(*table(), r).join(',');
        QCOMPARE(lines, expected);
        QVERIFY(lines.size() > 3);
    }

    void saveImage_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QByteArray>("format"); // what the file holds
        QTest::newRow("jpg") << "chart.jpg" << QByteArray("jpeg");
        QTest::newRow("mixed case") << "chart.Png" << QByteArray("png");
    }

    void saveImage()
    {
        QFETCH(QString, name);
        QFETCH(QByteArray, format);
        QVERIFY(openRecording());
        QString const path = m_dir.filePath(name);
        DialogScript answers({path, QMessageBox::No});
        child<QAction>("actionSaveImage")->trigger();
        QCOMPARE(answers.shown,
                 QStringList {"Question [] Successful to export data.\nDo you want to open this file?"});
        QImageReader reader(path);
        QCOMPARE(reader.format(), format);
        QImage const image = reader.read();
        QCOMPARE(image.size(), chart()->size());
    }

    void tracerNote()
    {
        QVERIFY(openRecording());
        pause();
        chart()->replot();
        int const index = rows() - 2;
        QTest::mouseClick(chart(), Qt::LeftButton, {}, pointOf(1, index));
        QVERIFY(chart()->graph(1)->selected());
        QCOMPARE(chart()->graph(1)->scatterStyle().shape(), QCPScatterStyle::ssDisc);
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
        // A click on empty chart drops the selection and the note.
        QTest::mouseClick(chart(), Qt::LeftButton, {}, chart()->axisRect()->rect().topLeft() + QPoint(5, 5));
        QVERIFY(!chart()->graph(1)->selected());
        QCOMPARE(note(), QStringLiteral("no note"));
    }

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

QTEST_MAIN(TestKvr9000Recording)
#include "tst_kvr9000recording.moc"
