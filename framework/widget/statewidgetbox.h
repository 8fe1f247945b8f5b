#pragma once
// A state widget that holds other state widgets in a row or a column, and can
// hand the states set on it down to them, so that one call lights a group.

#include "widget/abstractstatewidget.h"
#include "widget/zelt_widget_export.h"

#include <QList>

class QBoxLayout;

namespace zelt::widget {

class ZELT_WIDGET_EXPORT StateWidgetBox : public AbstractStateWidget
{
    Q_OBJECT
public:
    explicit StateWidgetBox(Qt::Orientation orientation = Qt::Vertical, QWidget* parent = nullptr,
                            Qt::WindowFlags flags = {});
    ~StateWidgetBox() override;

    // Inserts widget at position (clamped to 0..count()); the box becomes its
    // parent and lays it out at once. A widget already in the box is moved.
    void insert(int position, AbstractStateWidget* widget);
    void append(AbstractStateWidget* widget) { insert(count(), widget); }
    // Takes widget out of the box without deleting it; it keeps the box as parent.
    bool remove(AbstractStateWidget* widget);
    int count() const { return int(m_widgets.size()); }
    AbstractStateWidget* widget(int position) const { return m_widgets.value(position); }
    QList<AbstractStateWidget*> widgets() const { return m_widgets; }
    int indexOf(AbstractStateWidget const* widget) const;

    // When on, setStateOn() on the box is also done on every widget in it, and
    // widgets inserted later take the box's states. Off by default.
    void dispatchToWidgets(bool on);
    bool isDispatchingToWidgets() const { return m_dispatch; }

    void setStateOn(State state, bool on) override;

    Qt::Orientation orientation() const { return m_orientation; }
    void setOrientation(Qt::Orientation orientation);
    // Space in pixels around the widgets, on all sides.
    void setMargin(int margin);
    int margin() const { return m_margin; }
    void setSpacing(int spacing);

protected:
    // Lays the widgets out again in their order; insert() calls it.
    virtual void relayout();

private:
    QBoxLayout* m_layout = nullptr;
    QList<AbstractStateWidget*> m_widgets;
    Qt::Orientation m_orientation;
    int m_margin = 0;
    bool m_dispatch = false;
};

} // namespace zelt::widget
