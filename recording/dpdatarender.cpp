#include "recording/dpdatarender.h"

#include <QContextMenuEvent>
#include <QCursor>
#include <QMenu>

#include <algorithm>
#include <cmath>
#include <limits>

PlotHouse::PlotHouse(QString const& name, QCustomPlot& plot, QList<QCPRange> const& ranges, QObject* parent)
    : QObject(parent)
    , m_plot(&plot)
    , m_ranges(ranges)
    , m_name(name)
{
    connect(m_plot, &QCustomPlot::selectionChangedByUser, this, &PlotHouse::selectionChangedByUser);
    connect(m_plot, &QCustomPlot::mousePress, this, &PlotHouse::mousePress);
    connect(m_plot, &QCustomPlot::mouseWheel, this, &PlotHouse::mouseWheel);
    connect(m_plot, &QCustomPlot::mouseMove, this, &PlotHouse::mouseMove);
    connect(m_plot, &QCustomPlot::mouseDoubleClick, this, &PlotHouse::mouseDoubleClick);
    m_plot->installEventFilter(this);
}

// The tracer and the note are items of the chart, which deletes them.
PlotHouse::~PlotHouse() = default;

void PlotHouse::replot()
{
    QCPGraph* graph = m_plot->graphCount() > 0 ? m_plot->graph(0) : nullptr;
    int const count = graph ? graph->dataCount() : 0;
    double first = 0.0;
    double last = 0.0;
    if (count > 0) {
        auto const data = graph->data();
        last = (data->constEnd() - 1)->key;
        int const start = m_displayPoints >= count ? 0 : int(count - m_displayPoints);
        first = (data->constBegin() + start)->key;
    }
    // The time axis is as wide as the newest points are long; QCustomPlot keeps the old
    // range for a width of 0, as with a single point.
    m_plot->xAxis->setRange(last, last - first, Qt::AlignRight);
    // A chart that nobody can see is drawn when it shows again; a visible one is drawn now and
    // shown with the rest of the window, not by a repaint of its own in the middle of a sample.
    if (!m_plot->isVisible() || m_plot->visibleRegion().isEmpty()) {
        m_stale = true;
        return;
    }
    m_stale = false;
    m_plot->replot(QCustomPlot::rpQueuedRefresh);
}

void PlotHouse::clear()
{
    for (int i = 0; i < m_plot->graphCount(); ++i)
        m_plot->graph(i)->data()->clear();
}

void PlotHouse::rescaleYAxes()
{
    configYAxesRange(*m_plot, m_ranges, 1.03);
}

void PlotHouse::configYAxesRange(double scale)
{
    configYAxesRange(*m_plot, m_ranges, scale);
}

void PlotHouse::configYAxesRange(QCustomPlot& plot, QList<QCPRange> const& ranges, double scale)
{
    QList<QCPAxis*> const axes = plot.axisRect(0)->axes(QCPAxis::atLeft | QCPAxis::atRight);
    for (int i = 0; i < axes.size() && i < ranges.size(); ++i) {
        axes.at(i)->setRange(ranges.at(i));
        if (!qFuzzyCompare(scale, 1.0))
            axes.at(i)->scaleRange(scale);
    }
}

QList<QCPAxis*> PlotHouse::getUsefulAxes(QFlags<Qt::Orientation>& orientations) const
{
    QList<QCPAxis*> const axes = m_plot->axisRect(0)->axes();
    auto const selected = std::find_if(axes.begin(), axes.end(), [](QCPAxis* axis) {
        return axis->selectedParts().testFlag(QCPAxis::spAxis);
    });
    if (selected != axes.end()) {
        orientations = (*selected)->orientation();
        return {*selected};
    }
    orientations = Qt::Horizontal | Qt::Vertical;
    return axes;
}

void PlotHouse::showTracer(double key)
{
    m_tracer->setGraph(m_selectedGraph);
    m_tracer->setGraphKey(key);
    m_tracer->updatePosition();
    m_plot->replot(QCustomPlot::rpRefreshHint);
}

bool PlotHouse::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == m_plot && m_stale && event->type() == QEvent::Paint) {
        // Shown again after samples came: the chart shows them at once.
        m_stale = false;
        m_plot->replot(QCustomPlot::rpQueuedRefresh);
    }
    if (event->type() != QEvent::ContextMenu || watched != m_plot)
        return QObject::eventFilter(watched, event);

    auto* menu = new QMenu();
    menu->setAttribute(Qt::WA_DeleteOnClose);
    // The actions go with the menu, chosen or not.
    auto* save = new QAction(QIcon(QStringLiteral(":/images/save.png")), tr("Save"), menu);
    connect(save, &QAction::triggered, this, &PlotHouse::actionSave);
    menu->addAction(save);
    menu->addSeparator();
    auto* clear = new QAction(QIcon(QStringLiteral(":/images/delete.png")), tr("Clear"), menu);
    connect(clear, &QAction::triggered, this, &PlotHouse::actionClear);
    menu->addAction(clear);
    menu->exec(QCursor::pos());
    return true;
}

void PlotHouse::selectionChangedByUser()
{
    QCPAxisRect* rect = m_plot->axisRect(0);
    // A click on the tick labels selects the axis line too, which getUsefulAxes looks for.
    for (QCPAxis* axis : rect->axes()) {
        if (axis->selectedParts() != QCPAxis::spNone) {
            axis->setSelectedParts(QCPAxis::spAxis | QCPAxis::spTickLabels | QCPAxis::spAxisLabel);
            break;
        }
    }

    m_selectedGraph = nullptr;
    for (int i = 0; i < m_plot->graphCount(); ++i) {
        QCPGraph* graph = m_plot->graph(i);
        bool const selected = graph->selected();
        if (QCPPlottableLegendItem* item = m_plot->legend->itemWithPlottable(graph))
            item->setSelected(selected);
        QColor color = graph->pen().color();
        color.setAlphaF(0.5f);
        graph->setScatterStyle(
            QCPScatterStyle(selected ? QCPScatterStyle::ssDisc : QCPScatterStyle::ssNone, color, 5.0));
        graph->setSelectable(QCP::stSingleData);
        if (selected && !m_selectedGraph)
            m_selectedGraph = graph;
    }

    auto drop = [this](auto*& item) {
        if (item && m_plot->hasItem(item))
            m_plot->removeItem(item);
        item = nullptr;
    };
    drop(m_tracer);
    drop(m_tracerText);
    drop(m_item);
    if (!m_selectedGraph)
        return;

    m_tracer = new QCPItemTracer(m_plot);
    m_tracer->setLayer(QStringLiteral("overlay"));
    m_tracer->setStyle(QCPItemTracer::tsPlus);
    m_tracer->setInterpolating(false);

    // The note stands in the lower right corner of the axis rectangle.
    m_tracerText = new QCPItemText(m_plot);
    m_tracerText->setLayer(QStringLiteral("overlay"));
    m_tracerText->setText(QString());
    m_tracerText->setColor(m_selectedGraph->pen().color());
    m_tracerText->position->setType(QCPItemPosition::ptAxisRectRatio);
    m_tracerText->position->setAxisRect(rect);
    m_tracerText->position->setCoords(0.99, 0.96);
    m_tracerText->setPositionAlignment(Qt::AlignRight | Qt::AlignBottom);
    m_tracerText->setTextAlignment(Qt::AlignLeft);
    m_tracerText->setPadding(QMargins(5, 5, 5, 5));
}

void PlotHouse::mousePress(QMouseEvent*)
{
    QFlags<Qt::Orientation> orientations;
    QList<QCPAxis*> const axes = getUsefulAxes(orientations);
    m_plot->axisRect(0)->setRangeDrag(orientations);
    m_plot->axisRect(0)->setRangeDragAxes(axes);
}

void PlotHouse::mouseWheel(QWheelEvent*)
{
    QFlags<Qt::Orientation> orientations;
    QList<QCPAxis*> const axes = getUsefulAxes(orientations);
    m_plot->axisRect(0)->setRangeZoom(orientations);
    m_plot->axisRect(0)->setRangeZoomAxes(axes);
}

void PlotHouse::mouseMove(QMouseEvent* event)
{
    if (!m_tracer)
        return;
    double const x = std::clamp(std::round(event->position().x()), double(std::numeric_limits<int>::min()),
                                double(std::numeric_limits<int>::max()));
    double const key = m_plot->xAxis->pixelToCoord(int(x));
    showTracer(key);
    int const index = m_selectedGraph->findBegin(key, true);
    QString text;
    Q_EMIT tracerUpdate(*m_selectedGraph, index, text);
    // No refresh: the note shows with the next one, a step behind the marker.
    m_tracerText->setText(text);
}

void PlotHouse::mouseDoubleClick(QMouseEvent*)
{
    configYAxesRange(*m_plot, m_ranges, 1.03);
    replot();
}

DataModelHouse::DataModelHouse(DataModel* model)
    : model(model)
{
}

DataModelHouse::~DataModelHouse()
{
    delete model;
}

void DataModelHouse::clear()
{
    model->clear();
}

DataRenderHouse::DataRenderHouse(int channel, DataModelHouse* modelHouse, PlotHouse* plotHouse)
    : channel(channel)
    , modelHouse(modelHouse)
    , plotHouse(plotHouse)
{
}

DataRenderHouse::~DataRenderHouse()
{
    delete plotHouse;
    delete modelHouse;
}

void DataRenderHouse::addData(QSharedPointer<DmmData> const& data, int channel)
{
    datas.append(data);
    addData(data, *modelHouse->model);
    addData(data, *plotHouse->plot(), channel);
}

void DataRenderHouse::addData(QSharedPointer<DmmData> const& data, DataModel& model)
{
    model.addData(data);
}

void DataRenderHouse::addData(QSharedPointer<DmmData> const& data, QCustomPlot& plot, int channel)
{
    Channel const& ch = *data->channel(channel);
    double const key = QCPAxisTickerDateTime::dateTimeToKey(data->dateTime());
    // A box without a reading holds NaN, which leaves a gap in its graph.
    plot.graph(0)->addData(key, ch.voltage.measured.value);
    plot.graph(1)->addData(key, ch.current.measured.value);
    plot.graph(2)->addData(key, ch.power.value);
}

void DataRenderHouse::clear()
{
    modelHouse->clear();
    plotHouse->clear();
    datas.clear();
}
