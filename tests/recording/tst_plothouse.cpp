// The chart house on a chart of three graphs with one value axis each: the time axis that
// follows the newest points, which axes a wheel moves, and the way home; a chart that cannot be
// seen is drawn when it shows again. The tracer is tested on the window's chart.

#include "recording/dpdatarender.h"

#include <QMdiArea>
#include <QMdiSubWindow>
#include <QScreen>
#include <QtTest>

namespace {

QList<QCPRange> const kHome = {QCPRange(0, 42), QCPRange(0, 21), QCPRange(0, 840)};

QCPRange scaled(QCPRange range, double factor)
{
    double const center = range.center();
    return QCPRange(center - range.size() * factor / 2, center + range.size() * factor / 2);
}

// Keys that grow faster and faster, so that a window of points has its own width.
double keyOf(int i)
{
    return 1.7e9 + i * i;
}

} // namespace

class TestPlotHouse : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        // The set-up of the window's chart that the house relies on.
        m_plot = new QCustomPlot();
        m_plot->legend->setVisible(true);
        m_plot->yAxis2->setVisible(true);
        m_plot->axisRect()->addAxis(QCPAxis::atRight);
        QList<QCPAxis*> const axes = m_plot->axisRect()->axes(QCPAxis::atLeft | QCPAxis::atRight);
        for (QCPAxis* axis : axes)
            m_plot->addGraph(m_plot->xAxis, axis)->setSelectable(QCP::stSingleData);
        m_plot->setInteractions(QCP::iRangeDrag | QCP::iRangeZoom | QCP::iSelectPlottables | QCP::iSelectAxes
                                | QCP::iSelectLegend);
        m_house = new PlotHouse(QString(), *m_plot, kHome);
        m_house->rescaleYAxes();
        m_plot->resize(900, 500);
        m_plot->show();
        QVERIFY(QTest::qWaitForWindowExposed(m_plot));
    }

    void cleanup()
    {
        delete m_house;
        delete m_plot;
    }

    void timeAxis_data()
    {
        QTest::addColumn<int>("points");
        QTest::addColumn<int>("first"); // index of the leftmost point shown; -1: the axis keeps its range
        QTest::newRow("one point: no width, the axis stays") << 1 << -1;
        QTest::newRow("twenty") << 20 << 0;
        QTest::newRow("twenty-five") << 25 << 5;
    }

    void timeAxis()
    {
        QFETCH(int, points);
        QFETCH(int, first);
        QCPRange const before = m_plot->xAxis->range();
        addPoints(points);
        m_house->replot();
        QCPRange const expected = first < 0 ? before : QCPRange(keyOf(first), keyOf(points - 1));
        QCOMPARE(m_plot->xAxis->range(), expected);
        // The value axes are the house's only at a rescale.
        QCOMPARE(m_plot->yAxis->range(), scaled(kHome.at(0), 1.03));
    }

    void wheelAndDoubleClick_data()
    {
        QTest::addColumn<bool>("selectPowerAxis");
        QTest::newRow("no axis selected: all zoom") << false;
        QTest::newRow("power axis selected") << true;
    }

    void wheelAndDoubleClick()
    {
        QFETCH(bool, selectPowerAxis);
        addPoints(30);
        m_house->replot();
        m_plot->replot();
        QCPRange const time = m_plot->xAxis->range();
        QCPRange const voltage = m_plot->yAxis->range();
        QCPRange const power = powerAxis()->range();

        if (selectPowerAxis) {
            // A click on the tick labels selects the whole axis.
            int const y = m_plot->axisRect()->center().y();
            int x = m_plot->axisRect()->right();
            while (x < m_plot->width() && powerAxis()->getPartAt(QPointF(x, y)) != QCPAxis::spTickLabels)
                ++x;
            QTest::mouseClick(m_plot, Qt::LeftButton, {}, QPoint(x, y));
            QCOMPARE(powerAxis()->selectedParts(),
                     QCPAxis::spAxis | QCPAxis::spTickLabels | QCPAxis::spAxisLabel);
        }
        wheel(m_plot->axisRect()->center());
        QCOMPARE(m_plot->xAxis->range() != time, !selectPowerAxis);
        QCOMPARE(m_plot->yAxis->range() != voltage, !selectPowerAxis);
        QVERIFY(powerAxis()->range() != power);

        // The next sample puts the time axis back and leaves the value axes as zoomed.
        QCPRange const zoomedPower = powerAxis()->range();
        addPoints(1);
        m_house->replot();
        QCOMPARE(m_plot->xAxis->range(), QCPRange(keyOf(11), keyOf(30)));
        QCOMPARE(powerAxis()->range(), zoomedPower);

        QTest::mouseDClick(m_plot, Qt::LeftButton, {}, m_plot->axisRect()->center());
        QCOMPARE(powerAxis()->range(), scaled(kHome.at(2), 1.03));
        QCOMPARE(m_plot->yAxis->range(), scaled(kHome.at(0), 1.03));
    }

    void shownAgain_data()
    {
        QTest::addColumn<QString>("hidden");
        QTest::newRow("minimised") << QStringLiteral("minimised");
        QTest::newRow("covered") << QStringLiteral("covered");
        QTest::newRow("another tab") << QStringLiteral("tab");
    }

    // Samples that come while nobody can see the chart are not drawn; shown again, the chart
    // shows all of them at once.
    void shownAgain()
    {
        QFETCH(QString, hidden);
        QMdiArea area;
        area.setViewMode(hidden == QLatin1String("tab") ? QMdiArea::TabbedView : QMdiArea::SubWindowView);
        QMdiSubWindow* chart = area.addSubWindow(m_plot);
        // The chart is the suite's, not the area's.
        auto const giveBack = qScopeGuard([this] { m_plot->setParent(nullptr); });
        QMdiSubWindow* other = area.addSubWindow(new QWidget());
        area.resize(1000, 700);
        area.show();
        chart->setGeometry(0, 0, 950, 650);
        other->setGeometry(chart->geometry());
        QVERIFY(QTest::qWaitForWindowExposed(&area));
        area.setActiveSubWindow(other);
        if (hidden == QLatin1String("minimised"))
            chart->showMinimized();
        QCoreApplication::processEvents();

        QSignalSpy drawn(m_plot, &QCustomPlot::afterReplot);
        addPoints(25);
        m_house->replot();
        QCoreApplication::processEvents();
        QCOMPARE(drawn.count(), 0);

        if (hidden == QLatin1String("minimised"))
            chart->showNormal();
        area.setActiveSubWindow(chart);
        QCoreApplication::processEvents();
        QRect const place(m_plot->mapTo(&area, QPoint()), m_plot->size());
        QImage const shown
            = area.screen()
                  ->grabWindow(area.winId(), place.x(), place.y(), place.width(), place.height())
                  .toImage();
        m_plot->replot();
        QCOMPARE(shown.convertToFormat(QImage::Format_RGB32),
                 m_plot->grab().toImage().convertToFormat(QImage::Format_RGB32));
    }

private:
    void addPoints(int count)
    {
        for (int i = m_plot->graph(0)->dataCount(), end = i + count; i < end; ++i) {
            for (int g = 0; g < 3; ++g)
                m_plot->graph(g)->addData(keyOf(i), kHome.at(g).upper * (0.2 + 0.25 * g + 0.02 * (i % 5)));
        }
    }
    void wheel(QPoint pos)
    {
        QWheelEvent event(pos, m_plot->mapToGlobal(pos), QPoint(), QPoint(0, 120), Qt::NoButton,
                          Qt::NoModifier, Qt::NoScrollPhase, false);
        QApplication::sendEvent(m_plot, &event);
    }
    QCPAxis* powerAxis() const { return m_plot->axisRect()->axes(QCPAxis::atLeft | QCPAxis::atRight).at(2); }

    QCustomPlot* m_plot = nullptr;
    PlotHouse* m_house = nullptr;
};

QTEST_MAIN(TestPlotHouse)
#include "tst_plothouse.moc"
