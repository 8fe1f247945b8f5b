#pragma once
// One render of the record: a table model and a chart that show the same samples. PlotHouse
// gives the chart its behaviour: it follows the newest points, picks the axes that a drag or
// a wheel moves, marks the point under the mouse on a selected graph, and has a context menu.

#include "driver/dmmdata.h"
#include "recording/datamodel.h"

#include "plot/customplot.h"

#include <QColor>
#include <QList>
#include <QObject>
#include <QSharedPointer>
#include <QString>

// A graph of a chart: its untranslated word, the legend and axis label with its unit, the pen.
struct PlotGraph
{
    QString name;
    QString label;
    QColor color;
    int digits = 3;
};

class PlotHouse : public QObject
{
    Q_OBJECT
public:
    // The chart is not owned; ranges are the home ranges of its value axes, left ones first.
    PlotHouse(QString const& name, QCustomPlot& plot, QList<QCPRange> const& ranges,
              QObject* parent = nullptr);
    ~PlotHouse() override;

    // Puts the newest m_displayPoints points of graph 0 on the time axis and refreshes; a chart
    // that cannot be seen is drawn when it next paints.
    void replot();
    // Empties every graph without a refresh; the selection, tracer and note stay.
    void clear();
    void rescaleYAxes();
    void configYAxesRange(double scale);
    static void configYAxesRange(QCustomPlot& plot, QList<QCPRange> const& ranges, double scale = 1.03);
    // The one selected axis, or every axis in both directions when none is selected.
    QList<QCPAxis*> getUsefulAxes(QFlags<Qt::Orientation>& orientations) const;
    void showTracer(double key);

    bool eventFilter(QObject* watched, QEvent* event) override;

    QCustomPlot* plot() const { return m_plot; }
    QCPGraph* selectedGraph() const { return m_selectedGraph; }
    QCPItemTracer* tracer() const { return m_tracer; }
    QCPItemText* tracerText() const { return m_tracerText; }

Q_SIGNALS:
    // The receiver writes the note for the point at index of graph into text.
    void tracerUpdate(QCPGraph const& graph, int index, QString& text);
    void actionClear();
    void actionSave();

public Q_SLOTS:
    void selectionChangedByUser();
    void mousePress(QMouseEvent* event);
    void mouseWheel(QWheelEvent* event);
    void mouseMove(QMouseEvent* event);
    void mouseDoubleClick(QMouseEvent* event);

private:
    QCustomPlot* m_plot = nullptr;
    QList<QCPRange> m_ranges;
    QString m_name;
    QCPGraph* m_selectedGraph = nullptr;
    QCPItemTracer* m_tracer = nullptr;
    QCPItemText* m_tracerText = nullptr;
    QCPAbstractItem* m_item = nullptr;
    double m_displayPoints = 20.0;
    bool m_stale = false; // replotted while it could not be seen
};

// The table side of a render; owns its model.
class DataModelHouse
{
public:
    explicit DataModelHouse(DataModel* model);
    ~DataModelHouse();
    Q_DISABLE_COPY_MOVE(DataModelHouse)

    void clear();

    DataModel* model = nullptr;
};

// One channel's record: the samples in the order of the table's rows and the graphs' points,
// so that row n, point n and datas[n] are one sample. Owns both houses; the chart belongs
// to the widget that shows it.
class DataRenderHouse
{
public:
    DataRenderHouse(int channel, DataModelHouse* modelHouse, PlotHouse* plotHouse);
    ~DataRenderHouse();
    Q_DISABLE_COPY_MOVE(DataRenderHouse)

    // Records the sample in the list, the table and the chart.
    void addData(QSharedPointer<DmmData> const& data, int channel);
    void addData(QSharedPointer<DmmData> const& data, DataModel& model);
    // Voltage, current and power of the channel as three points at the sample's time.
    void addData(QSharedPointer<DmmData> const& data, QCustomPlot& plot, int channel);
    void clear();

    int channel = 0;
    DataModelHouse* modelHouse = nullptr;
    PlotHouse* plotHouse = nullptr;
    QList<QSharedPointer<DmmData>> datas;
};
