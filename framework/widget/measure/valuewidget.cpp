#include "widget/measure/valuewidget.h"

#include "widget/statelabel.h"

#include <QFontDatabase>
#include <QLabel>

namespace zelt::widget::measure {

namespace {

// Readings glow amber when lit, like the segments of a bench supply.
QColor const kReading(0xff, 0xc8, 0x3d);

} // namespace

ValueWidget::ValueWidget(QWidget* parent, Qt::WindowFlags flags)
    : StateWidgetBox(Qt::Horizontal, parent, flags)
    , m_value(new StateLabel(this))
    , m_unit(new StateLabel(this))
{
    // Fixed-pitch digits keep a changing number from shifting sideways.
    QFont valueFont = QFontDatabase::systemFont(QFontDatabase::FixedFont);
    valueFont.setBold(true);
    valueFont.setPointSize(20);
    m_value->label()->setFont(valueFont);
    m_value->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    m_value->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Preferred);

    QFont unitFont = m_unit->label()->font();
    unitFont.setBold(true);
    unitFont.setPointSize(12);
    m_unit->label()->setFont(unitFont);
    m_unit->setAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    m_unit->setSizePolicy(QSizePolicy::Maximum, QSizePolicy::Preferred);
    m_unit->setMargin(0);
    m_unit->label()->setIndent(4);

    for (StateLabel* label : {m_value, m_unit}) {
        label->setColor(Enabled, true, kReading);
        label->setColor(Standby, true, kReading.darker(170));
    }
    dispatchToWidgets(true);
    append(m_value);
    append(m_unit);
    setMargin(2);
}

ValueWidget::~ValueWidget() = default;

QString ValueWidget::value() const
{
    return m_value->text();
}

void ValueWidget::setValue(QString const& value)
{
    m_value->setText(value);
}

QString ValueWidget::unit() const
{
    return m_unit->text();
}

void ValueWidget::setUnit(QString const& unit)
{
    m_unit->setText(unit);
    m_unit->setVisible(!unit.isEmpty());
}

} // namespace zelt::widget::measure
