#include "widget/statelabel.h"

#include <QHBoxLayout>
#include <QLabel>

namespace zelt::widget {

StateLabel::StateLabel(QWidget* parent, Qt::WindowFlags flags)
    : StateLabel(QString(), parent, flags)
{
}

StateLabel::StateLabel(QString const& text, QWidget* parent, Qt::WindowFlags flags)
    : AbstractStateWidget(parent, flags)
    , m_label(new QLabel(text, this))
{
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_label);
    m_label->setAlignment(Qt::AlignCenter);
    m_label->setAutoFillBackground(false);
    m_label->setAttribute(Qt::WA_TranslucentBackground);
    StateLabel::applyState();
}

StateLabel::~StateLabel() = default;

QString StateLabel::text() const
{
    return m_label->text();
}

void StateLabel::setText(QString const& text)
{
    m_label->setText(text);
}

void StateLabel::setPointSize(int size)
{
    QFont font = m_label->font();
    font.setPointSize(size);
    m_label->setFont(font);
}

void StateLabel::setAlignment(Qt::Alignment alignment)
{
    m_label->setAlignment(alignment);
}

void StateLabel::setMargin(int margin)
{
    m_margin = margin;
    layout()->setContentsMargins(margin, margin, margin, margin);
}

void StateLabel::applyState()
{
    QPalette palette = m_label->palette();
    palette.setColor(QPalette::WindowText, color(currentState(), true));
    palette.setColor(QPalette::Text, color(currentState(), true));
    m_label->setPalette(palette);
    AbstractStateWidget::applyState();
}

} // namespace zelt::widget
