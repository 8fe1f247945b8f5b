#pragma once
// The live display of a power supply: a dark panel with a strip of annunciators
// (mode, regulation, protections) beside a column of readings.

#include "widget/zelt_widget_export.h"

#include <QFrame>
#include <QList>

class QGridLayout;

namespace zelt::widget {
class StateLabel;
class StateWidgetBox;
} // namespace zelt::widget

namespace zelt::widget::measure {

class ValueWidget;

class ZELT_WIDGET_EXPORT PowerSupplyLCD : public QFrame
{
    Q_OBJECT
public:
    // headers annunciators and measures readings are made at once.
    // headerColumns: columns of the annunciator strip; 0 stacks them all in one
    //     column at the left of the readings, n > 0 puts them in a grid of n
    //     columns above the readings.
    // measuresInRow: 0 stacks the readings in a column, any other value puts
    //     them in a row.
    // spacing: pixels between the cells of the panel; 0 gives the default.
    PowerSupplyLCD(int headers, int measures, int headerColumns, int measuresInRow, int spacing,
                   QWidget* parent = nullptr, Qt::WindowFlags flags = {});
    ~PowerSupplyLCD() override;

    int headerWidgetCount() const { return int(m_headers.size()); }
    StateLabel* headerWidget(int index) const { return m_headers.value(index); }

    // Counts and gives the readings of measure(), including those inserted later;
    // a widget there that is not a ValueWidget gives null.
    int measureWidgetCount() const;
    ValueWidget* measureWidget(int index) const;
    StateWidgetBox* measure() const { return m_measure; }

    // Lays the annunciators and the readings out again, with the widgets that
    // have been inserted into measure() since.
    virtual void refreshLayout();

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QGridLayout* m_layout = nullptr;
    QList<StateLabel*> m_headers;
    StateWidgetBox* m_measure = nullptr;
    QWidget* m_headerStrip = nullptr;
    int m_headerColumns = 0;
    bool m_measuresInRow = false;
    int m_spacing = 0;
};

} // namespace zelt::widget::measure
