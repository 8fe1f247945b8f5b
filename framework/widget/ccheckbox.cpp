#include "widget/ccheckbox.h"

namespace zelt::widget {

CCheckbox::CCheckbox(QWidget* parent)
    : CCheckbox(QString(), parent)
{
}

CCheckbox::CCheckbox(QString const& text, QWidget* parent)
    : QCheckBox(text, parent)
{
    connect(this, &QAbstractButton::toggled, this, [this](bool checked) {
        if (!m_byUser)
            return;
        // One change per user action: a setChecked() from a receiver stays silent.
        m_byUser = false;
        Q_EMIT toggled(checked);
    });
}

CCheckbox::~CCheckbox() = default;

void CCheckbox::nextCheckState()
{
    m_byUser = true;
    QCheckBox::nextCheckState();
    m_byUser = false;
}

} // namespace zelt::widget
