#pragma once
// Paints a row of push buttons in a table cell and reports a click on one of them; the
// buttons are only painted, so no widget lives in the cells.

#include <QPoint>
#include <QStyledItemDelegate>

class ButtonItemDelegate : public QStyledItemDelegate
{
    Q_OBJECT
public:
    // One button per text, from left to right.
    explicit ButtonItemDelegate(QList<QString> const& texts, QObject* parent = nullptr);
    ~ButtonItemDelegate() override;

    void paint(QPainter* painter, QStyleOptionViewItem const& option,
               QModelIndex const& index) const override;
    // Claims every mouse event on a button: the hand cursor over it, the sunken look while
    // pressed, clicked() on release. Events in the cell's margin are left to the view.
    bool editorEvent(QEvent* event, QAbstractItemModel* model, QStyleOptionViewItem const& option,
                     QModelIndex const& index) override;

Q_SIGNALS:
    // index is the button's position among the texts.
    void clicked(int index, QModelIndex const& modelIndex);

private:
    // Button i of count in cell: one pixel inside the cell, the last taking the remainder.
    static QRect buttonRect(QRect const& cell, int i, int count);

    QPoint m_mousePoint;
    int m_buttonState = 0; // 0: hovered, 1: pressed
    QList<QString> m_buttonTexts;
};
