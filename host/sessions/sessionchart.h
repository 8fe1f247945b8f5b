#pragma once
// The numeric columns of a stored session over time. Only what the plot can show is read:
// the visible span is cut into one slice per pixel column and each slice drawn as its
// minimum and maximum, read again from the store after each zoom or pan.

#include <QList>
#include <QStringList>
#include <QTimer>
#include <QWidget>

class QCustomPlot;

namespace zelt::store {
class SessionReader;
}

namespace zelt::host {

class SessionChart : public QWidget
{
    Q_OBJECT
public:
    // columns: the names of the cells; numeric: the indexes of those to draw.
    SessionChart(zelt::store::SessionReader* reader, qint64 session, QStringList const& columns,
                 QList<int> numeric, QWidget* parent = nullptr);

    // The whole session, every axis fitted.
    void showAll();
    // Draws now what the current span needs (else it follows a zoom or pan a moment later).
    void reload();
    // The span shown, in milliseconds since the epoch.
    qint64 shownFromMs() const;
    qint64 shownToMs() const;
    QCustomPlot* plot() const { return m_plot; }

protected:
    void resizeEvent(QResizeEvent* event) override;

private:
    static constexpr int kMinimumSlices = 1024;

    zelt::store::SessionReader* m_reader;
    qint64 m_session;
    QList<int> m_numeric;
    QCustomPlot* m_plot;
    QTimer m_reload;
    qint64 m_firstMs = 0;
    qint64 m_lastMs = 0;
};

} // namespace zelt::host
