#include "host/sessions/sessionchart.h"

#include "plot/customplot.h"
#include "store/sessionreader.h"

#include <QVBoxLayout>

namespace zelt::host {

namespace {

QList<QColor> const kColours {QColor(31, 119, 180),  QColor(214, 39, 40),   QColor(44, 160, 44),
                              QColor(255, 127, 14),  QColor(148, 103, 189), QColor(140, 86, 75),
                              QColor(227, 119, 194), QColor(127, 127, 127)};

// The plot's axis counts seconds since the epoch.
double seconds(qint64 ms)
{
    return double(ms) / 1000.0;
}

} // namespace

SessionChart::SessionChart(zelt::store::SessionReader* reader, qint64 session, QStringList const& columns,
                           QList<int> numeric, QWidget* parent)
    : QWidget(parent)
    , m_reader(reader)
    , m_session(session)
    , m_numeric(std::move(numeric))
    , m_plot(new QCustomPlot(this))
{
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_plot);
    auto ticker = QSharedPointer<QCPAxisTickerDateTime>::create();
    ticker->setDateTimeFormat(QStringLiteral("hh:mm:ss\nyyyy-MM-dd"));
    m_plot->xAxis->setTicker(ticker);
    m_plot->setInteractions(QCP::iRangeDrag | QCP::iRangeZoom);
    m_plot->axisRect()->setRangeDrag(Qt::Horizontal | Qt::Vertical);
    m_plot->axisRect()->setRangeZoom(Qt::Horizontal | Qt::Vertical);
    m_plot->legend->setVisible(!m_numeric.isEmpty());
    for (qsizetype i = 0; i < m_numeric.size(); ++i) {
        QCPGraph* graph = m_plot->addGraph();
        graph->setName(columns.value(m_numeric.at(i)));
        graph->setPen(QPen(kColours.at(i % kColours.size())));
        graph->setAdaptiveSampling(false); // the slices are already one per pixel column
    }
    m_reload.setSingleShot(true);
    m_reload.setInterval(40);
    connect(&m_reload, &QTimer::timeout, this, &SessionChart::reload);
    connect(m_plot->xAxis, qOverload<QCPRange const&>(&QCPAxis::rangeChanged), &m_reload,
            qOverload<>(&QTimer::start));
    m_reader->timeSpan(m_session, &m_firstMs, &m_lastMs);
}

void SessionChart::resizeEvent(QResizeEvent* event)
{
    QWidget::resizeEvent(event);
    m_reload.start();
}

qint64 SessionChart::shownFromMs() const
{
    return qint64(std::floor(m_plot->xAxis->range().lower * 1000));
}

qint64 SessionChart::shownToMs() const
{
    return qint64(std::ceil(m_plot->xAxis->range().upper * 1000));
}

void SessionChart::showAll()
{
    double const margin = double(qMax<qint64>(1, m_lastMs - m_firstMs)) * 0.01 / 1000;
    m_plot->xAxis->setRange(seconds(m_firstMs) - margin, seconds(m_lastMs) + margin);
    reload();
    m_plot->yAxis->rescale();
    m_plot->yAxis->scaleRange(1.1);
    m_plot->replot();
}

void SessionChart::reload()
{
    m_reload.stop();
    qint64 const from = qMax(m_firstMs, shownFromMs());
    qint64 const to = qMin(m_lastMs, shownToMs());
    // Before its first layout the plot is small: never fewer slices than a screen's width.
    int const buckets = qMax(kMinimumSlices, m_plot->axisRect()->width());
    auto const slices = m_reader->decimate(m_session, m_numeric, from, to, buckets);
    for (qsizetype i = 0; i < slices.size(); ++i) {
        QVector<double> keys;
        QVector<double> values;
        keys.reserve(2 * slices.at(i).size());
        values.reserve(2 * slices.at(i).size());
        for (auto const& slice : slices.at(i)) {
            keys << seconds(slice.firstMs) << seconds(slice.lastMs);
            values << slice.min << slice.max;
        }
        m_plot->graph(int(i))->setData(keys, values, true);
    }
    m_plot->replot(QCustomPlot::rpQueuedReplot);
}

} // namespace zelt::host
