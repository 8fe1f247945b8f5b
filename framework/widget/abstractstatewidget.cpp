#include "widget/abstractstatewidget.h"

#include <QPaintEvent>
#include <QPainter>

namespace zelt::widget {

namespace {

// The panel is one dark surface; the states differ in how bright the text is.
QColor const kPanel(0x0e, 0x13, 0x18);
QColor const kAlarmPanel(0x3d, 0x12, 0x14);

} // namespace

AbstractStateWidget::AbstractStateWidget(QWidget* parent, Qt::WindowFlags flags)
    : QWidget(parent, flags)
{
    m_window = {kPanel, kPanel, kPanel, kAlarmPanel};
    m_text = {QColor(0x3a, 0x44, 0x50), QColor(0x8a, 0x96, 0xa3), QColor(0xe8, 0xee, 0xf4),
              QColor(0xff, 0x5b, 0x50)};
    setAttribute(Qt::WA_OpaquePaintEvent, false);
}

AbstractStateWidget::~AbstractStateWidget() = default;

QColor AbstractStateWidget::color(State state, bool text) const
{
    if (!isKnown(state))
        state = Dimmed;
    return text ? m_text[state] : m_window[state];
}

void AbstractStateWidget::setColor(State state, bool text, QColor const& color)
{
    if (!isKnown(state))
        return;
    QColor& slot = text ? m_text[state] : m_window[state];
    if (slot == color)
        return;
    slot = color;
    if (state == currentState())
        applyState();
}

void AbstractStateWidget::setStateOn(State state, bool on)
{
    if (!isKnown(state) || isStateOn(state) == on)
        return;
    State const before = currentState();
    if (on)
        m_on |= 1u << state;
    else
        m_on &= ~(1u << state);
    State const after = currentState();
    if (after != before) {
        applyState();
        Q_EMIT stateChanged(after);
    }
}

bool AbstractStateWidget::isStateOn(State state) const
{
    return isKnown(state) && (m_on & (1u << state)) != 0;
}

AbstractStateWidget::State AbstractStateWidget::currentState() const
{
    for (State s = kStateCount - 1; s > Dimmed; --s) {
        if (isStateOn(s))
            return s;
    }
    return Dimmed;
}

void AbstractStateWidget::applyState()
{
    update();
}

void AbstractStateWidget::paintEvent(QPaintEvent* event)
{
    QColor const background = color(currentState(), false);
    if (background.alpha() == 0)
        return;
    QPainter painter(this);
    painter.fillRect(event->rect(), background);
}

} // namespace zelt::widget
