#pragma once
// A check box whose toggled() signal reports only the user's changes: a value
// written with setChecked() (say from an instrument's reading) emits nothing,
// so it can't be taken for an edit.

#include "widget/zelt_widget_export.h"

#include <QCheckBox>

namespace zelt::widget {

class ZELT_WIDGET_EXPORT CCheckbox : public QCheckBox
{
    Q_OBJECT
public:
    explicit CCheckbox(QWidget* parent = nullptr);
    explicit CCheckbox(QString const& text, QWidget* parent = nullptr);
    ~CCheckbox() override;

Q_SIGNALS:
    // Hides QAbstractButton::toggled for connections made through this class
    // (by function pointer, by signature or by slot name): emitted when a mouse
    // click, the keyboard or click()/animateClick() changes the box.
    // QAbstractButton::toggled itself still fires for every change.
    void toggled(bool checked);

protected:
    void nextCheckState() override;

private:
    bool m_byUser = false;
};

} // namespace zelt::widget
