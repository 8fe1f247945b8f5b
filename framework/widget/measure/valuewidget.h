#pragma once
// A reading of an instrument panel: the number and its unit side by side, lit
// and dimmed together.

#include "widget/statewidgetbox.h"
#include "widget/zelt_widget_export.h"

namespace zelt::widget {
class StateLabel;
}

namespace zelt::widget::measure {

class ZELT_WIDGET_EXPORT ValueWidget : public StateWidgetBox
{
    Q_OBJECT
public:
    explicit ValueWidget(QWidget* parent = nullptr, Qt::WindowFlags flags = {});
    ~ValueWidget() override;

    QString value() const;
    void setValue(QString const& value);
    QString unit() const;
    // An empty unit hides the unit's label.
    void setUnit(QString const& unit);

    StateLabel* valueWidget() const { return m_value; }
    StateLabel* unitWidget() const { return m_unit; }

private:
    StateLabel* m_value = nullptr;
    StateLabel* m_unit = nullptr;
};

} // namespace zelt::widget::measure
