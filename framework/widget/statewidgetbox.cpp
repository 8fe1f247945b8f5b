#include "widget/statewidgetbox.h"

#include <QBoxLayout>

namespace zelt::widget {

namespace {

QBoxLayout::Direction directionOf(Qt::Orientation orientation)
{
    return orientation == Qt::Horizontal ? QBoxLayout::LeftToRight : QBoxLayout::TopToBottom;
}

} // namespace

StateWidgetBox::StateWidgetBox(Qt::Orientation orientation, QWidget* parent, Qt::WindowFlags flags)
    : AbstractStateWidget(parent, flags)
    , m_layout(new QBoxLayout(directionOf(orientation), this))
    , m_orientation(orientation)
{
    m_layout->setContentsMargins(0, 0, 0, 0);
    m_layout->setSpacing(0);
}

StateWidgetBox::~StateWidgetBox() = default;

void StateWidgetBox::insert(int position, AbstractStateWidget* widget)
{
    if (!widget || widget == this)
        return;
    m_widgets.removeOne(widget);
    position = qBound(0, position, int(m_widgets.size()));
    // Keep the widget's own visibility across the change of parent.
    bool const hidden = widget->isHidden();
    if (widget->parentWidget() != this)
        widget->setParent(this);
    widget->setVisible(!hidden);
    m_widgets.insert(position, widget);
    if (m_dispatch) {
        for (State s = 0; s < kStateCount; ++s)
            widget->setStateOn(s, isStateOn(s));
    }
    relayout();
}

bool StateWidgetBox::remove(AbstractStateWidget* widget)
{
    if (!m_widgets.removeOne(widget))
        return false;
    m_layout->removeWidget(widget);
    widget->hide();
    return true;
}

int StateWidgetBox::indexOf(AbstractStateWidget const* widget) const
{
    for (int i = 0; i < m_widgets.size(); ++i) {
        if (m_widgets.at(i) == widget)
            return i;
    }
    return -1;
}

void StateWidgetBox::dispatchToWidgets(bool on)
{
    m_dispatch = on;
}

void StateWidgetBox::setStateOn(State state, bool on)
{
    AbstractStateWidget::setStateOn(state, on);
    if (!m_dispatch)
        return;
    for (AbstractStateWidget* widget : std::as_const(m_widgets))
        widget->setStateOn(state, on);
}

void StateWidgetBox::setOrientation(Qt::Orientation orientation)
{
    m_orientation = orientation;
    m_layout->setDirection(directionOf(orientation));
}

void StateWidgetBox::setMargin(int margin)
{
    m_margin = margin;
    m_layout->setContentsMargins(margin, margin, margin, margin);
}

void StateWidgetBox::setSpacing(int spacing)
{
    m_layout->setSpacing(spacing);
}

void StateWidgetBox::relayout()
{
    while (m_layout->count() > 0)
        delete m_layout->takeAt(0);
    for (AbstractStateWidget* widget : std::as_const(m_widgets))
        m_layout->addWidget(widget);
}

} // namespace zelt::widget
