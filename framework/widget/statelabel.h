#pragma once
// A text on an instrument panel (an annunciator, a reading, a unit) that takes
// its colours from its state.

#include "widget/abstractstatewidget.h"
#include "widget/zelt_widget_export.h"

class QLabel;

namespace zelt::widget {

class ZELT_WIDGET_EXPORT StateLabel : public AbstractStateWidget
{
    Q_OBJECT
public:
    explicit StateLabel(QWidget* parent = nullptr, Qt::WindowFlags flags = {});
    explicit StateLabel(QString const& text, QWidget* parent = nullptr, Qt::WindowFlags flags = {});
    ~StateLabel() override;

    QLabel* label() const { return m_label; }
    QString text() const;
    void setText(QString const& text);
    // Point size of the label's font; the other font attributes stay.
    void setPointSize(int size);
    void setAlignment(Qt::Alignment alignment);
    // Space in pixels between the label and the edge of the widget, on all sides.
    void setMargin(int margin);
    int margin() const { return m_margin; }

protected:
    void applyState() override;

private:
    QLabel* m_label = nullptr;
    int m_margin = 0;
};

} // namespace zelt::widget
