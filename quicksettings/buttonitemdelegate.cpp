#include "quicksettings/buttonitemdelegate.h"

#include <QGuiApplication>
#include <QMouseEvent>
#include <QPainter>
#include <QPushButton>
#include <QToolTip>

ButtonItemDelegate::ButtonItemDelegate(QList<QString> const& texts, QObject* parent)
    : QStyledItemDelegate(parent)
    , m_buttonTexts(texts)
{
}

ButtonItemDelegate::~ButtonItemDelegate() = default;

QRect ButtonItemDelegate::buttonRect(QRect const& cell, int i, int count)
{
    int const width = (cell.right() + 1 - cell.left()) / count;
    QRect rect;
    rect.setCoords(cell.left() + 1 + i * width, cell.top() + 1, cell.right() - 1 - (count - 1 - i) * width,
                   cell.bottom() - 1);
    return rect;
}

void ButtonItemDelegate::paint(QPainter* painter, QStyleOptionViewItem const& option,
                               QModelIndex const& index) const
{
    QStyleOptionViewItem cell(option);
    initStyleOption(&cell, index);
    // The buttons show the focus well enough; a focus frame around them would be noise.
    cell.state &= ~QStyle::State_HasFocus;
    QStyledItemDelegate::paint(painter, cell, index);

    int const count = int(m_buttonTexts.size());
    if (count == 0)
        return;
    // The style draws a push button only with a widget to look at; this one is never shown.
    QPushButton styleTarget;
    for (int i = 0; i < count; ++i) {
        QStyleOptionButton button;
        button.rect = buttonRect(option.rect, i, count);
        button.text = m_buttonTexts.at(i);
        button.state = QStyle::State_Enabled;
        if (button.rect.contains(m_mousePoint))
            button.state |= m_buttonState == 0 ? QStyle::State_MouseOver : QStyle::State_Sunken;
        styleTarget.style()->drawControl(QStyle::CE_PushButton, &button, painter, &styleTarget);
    }
}

bool ButtonItemDelegate::editorEvent(QEvent* event, QAbstractItemModel*, QStyleOptionViewItem const& option,
                                     QModelIndex const& index)
{
    if (!event)
        return false;
    // Other events (a key that starts editing, for one) carry no position to hit-test.
    auto const* mouse = dynamic_cast<QMouseEvent const*>(event);
    if (mouse)
        m_mousePoint = mouse->position().toPoint();
    // The hand is set again below while the mouse is over a button, so it shows exactly there.
    QGuiApplication::restoreOverrideCursor();
    int const count = int(m_buttonTexts.size());
    if (count == 0 || !mouse)
        return false;

    bool onButton = false;
    for (int i = 0; i < count; ++i) {
        if (!buttonRect(option.rect, i, count).contains(m_mousePoint))
            continue;
        onButton = true;
        switch (event->type()) {
        case QEvent::MouseButtonRelease:
            Q_EMIT clicked(i, index);
            break;
        case QEvent::MouseMove:
            QGuiApplication::setOverrideCursor(Qt::PointingHandCursor);
            m_buttonState = 0;
            QToolTip::showText(mouse->globalPosition().toPoint(), m_buttonTexts.at(i));
            break;
        case QEvent::MouseButtonPress:
            QGuiApplication::setOverrideCursor(Qt::PointingHandCursor);
            m_buttonState = 1;
            break;
        default:
            break;
        }
    }
    return onButton;
}
