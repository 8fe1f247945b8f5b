#include "widgets/channelwidget.h"

#include <QFont>
#include <QGridLayout>
#include <QLabel>

namespace {

QColor const defaultColor = QColor(0xffffff);
QColor const defaultBgColor = QColor(0x353538);

// Made by name through the meta-type system, the only way one comes to exist for now.
[[maybe_unused]] int const channelWidgetType = qRegisterMetaType<ChannelWidget>();

void setHeaderLabel(QLabel& label, Qt::Alignment alignment)
{
    label.setMargin(2);
    label.setAlignment(alignment);
    label.setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
}

} // namespace

ColorBox::ColorBox(QColor const& foreground, QColor const& background)
    : foreground(foreground)
    , background(background)
{
}

WidgetBox::WidgetBox(QWidget* parent, Qt::WindowFlags flags, QBoxLayout::Direction direction)
    : QFrame(parent, flags)
    , m_layout(new QBoxLayout(direction))
{
    setLayout(m_layout);
}

WidgetBox::~WidgetBox()
{
    delete m_layout;
}

void WidgetBox::setDirection(QBoxLayout::Direction direction)
{
    m_layout->setDirection(direction);
}

void WidgetBox::setContentsMargins(int left, int top, int right, int bottom)
{
    m_layout->setContentsMargins(left, top, right, bottom);
}

void WidgetBox::setMargin(int margin)
{
    m_layout->setContentsMargins(margin, margin, margin, margin);
}

void WidgetBox::setSpacing(int spacing)
{
    m_layout->setSpacing(spacing);
}

void WidgetBox::add(QWidget& widget)
{
    m_layout->addWidget(&widget);
}

void WidgetBox::add(QLayout& layout)
{
    m_layout->addLayout(&layout);
}

void WidgetBox::insert(QWidget& widget, int index)
{
    m_layout->insertWidget(index, &widget);
}

void WidgetBox::insert(QLayout& layout, int index)
{
    m_layout->insertLayout(index, &layout);
}

void WidgetBox::remove(QWidget& widget)
{
    m_layout->removeWidget(&widget);
}

void WidgetBox::clear()
{
    // removeItem hands the item back without deleting it; a widget's item is left
    // over, the widget itself stays with the frame.
    while (QLayoutItem* item = m_layout->itemAt(0)) {
        m_layout->removeItem(item);
        if (item->widget())
            delete item;
    }
}

ValueWidget::ValueWidget(QWidget* parent, Qt::WindowFlags flags)
    : QWidget(parent, flags)
    , m_valueLabel(new QLabel(this))
    , m_unitLabel(new QLabel(this))
    , m_enableColor(defaultColor, defaultBgColor)
    , m_disableColor(defaultColor.darker(200), defaultBgColor)
{
    init();
}

ValueWidget::~ValueWidget()
{
    delete m_unitLabel;
    delete m_valueLabel;
}

void ValueWidget::init()
{
    m_valueLabel->setText(QStringLiteral("0.000"));
    m_unitLabel->setText(QStringLiteral(" "));
    m_valueLabel->setMargin(5);
    m_valueLabel->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Preferred);
    m_valueLabel->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    m_unitLabel->setMargin(5);
    m_unitLabel->setSizePolicy(QSizePolicy::Minimum, QSizePolicy::Preferred);
    m_unitLabel->setAlignment(Qt::AlignLeft | Qt::AlignVCenter);

    auto* layout = new QGridLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(m_valueLabel, 0, 0);
    layout->addWidget(m_unitLabel, 0, 1);
    refreshStyle();
}

ValueWidget& ValueWidget::setValue(QString const& value)
{
    m_valueLabel->setText(value);
    return *this;
}

ValueWidget& ValueWidget::setUnit(QString const& unit)
{
    m_unitLabel->setText(unit);
    return *this;
}

ValueWidget& ValueWidget::setValueFont(QFont const& font)
{
    m_valueLabel->setFont(font);
    return *this;
}

ValueWidget& ValueWidget::setUnitFont(QFont const& font)
{
    m_unitLabel->setFont(font);
    return *this;
}

ValueWidget& ValueWidget::setEnable(bool enable)
{
    m_enable = enable;
    return refreshStyle();
}

ValueWidget& ValueWidget::setEnableColor(ColorBox const& color)
{
    m_enableColor = color;
    return refreshStyle();
}

ValueWidget& ValueWidget::setDisableColor(ColorBox const& color)
{
    m_disableColor = color;
    return refreshStyle();
}

ValueWidget& ValueWidget::refreshStyle()
{
    ColorBox const& look = m_enable ? m_enableColor : m_disableColor;
    setColor(*m_valueLabel, look);
    setColor(*m_unitLabel, look);
    return *this;
}

QString ValueWidget::value() const
{
    return m_valueLabel->text();
}

QString ValueWidget::unit() const
{
    return m_unitLabel->text();
}

void ValueWidget::setColor(QWidget& widget, ColorBox const& box)
{
    widget.setStyleSheet(
        QStringLiteral("color:%1;background-color:%2").arg(box.foreground.name(), box.background.name()));
}

ChannelWidget::ChannelWidget(QWidget* parent, Qt::WindowFlags flags)
    : QFrame(parent, flags)
    , m_topBox(new WidgetBox(nullptr, {}, QBoxLayout::LeftToRight))
    , m_valueBox(new WidgetBox(nullptr, {}, QBoxLayout::LeftToRight))
    , m_line(new QFrame())
    , m_bottomBox(new WidgetBox(nullptr, {}, QBoxLayout::LeftToRight))
    , m_valueV(new ValueWidget())
    , m_valueA(new ValueWidget())
    , m_valueP(new ValueWidget())
    , m_topLeft(new QLabel())
    , m_topRight(new QLabel())
    , m_bottomLeft(new QLabel())
    , m_bottomRight(new QLabel())
    , m_enableColor(defaultColor, defaultBgColor)
    , m_disableColor(defaultColor.darker(150), defaultBgColor)
    , m_color(defaultColor, defaultBgColor.lighter(120))
    , m_activeColor(defaultColor.darker(300), QColor(0xffe81e))
{
    init();
}

ChannelWidget::~ChannelWidget()
{
    // Innermost parts first, so that no part is deleted twice through its parent.
    delete m_bottomRight;
    delete m_bottomLeft;
    delete m_topRight;
    delete m_topLeft;
    delete m_valueP;
    delete m_valueA;
    delete m_valueV;
    delete m_bottomBox;
    delete m_line;
    delete m_valueBox;
    delete m_topBox;
}

void ChannelWidget::init()
{
    setHeaderLabel(*m_topLeft, Qt::AlignLeft);
    setHeaderLabel(*m_topRight, Qt::AlignRight);
    m_topBox->setDirection(QBoxLayout::LeftToRight);
    m_topBox->setMargin(0);
    m_topBox->add(*m_topLeft);
    m_topBox->add(*m_topRight);

    setHeaderLabel(*m_bottomLeft, Qt::AlignLeft);
    setHeaderLabel(*m_bottomRight, Qt::AlignRight);
    m_bottomBox->setDirection(QBoxLayout::LeftToRight);
    m_bottomBox->setMargin(0);
    m_bottomBox->add(*m_bottomLeft);
    m_bottomBox->add(*m_bottomRight);

    for (ValueWidget* row : {m_valueV, m_valueA, m_valueP})
        row->setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Expanding);

    m_line->setFrameStyle(QFrame::HLine);
    m_line->setLineWidth(0);
    m_line->setMidLineWidth(0);
    auto* lineLayout = new QGridLayout();
    lineLayout->setContentsMargins(2, 2, 2, 0);
    lineLayout->addWidget(m_line);

    m_valueBox->setDirection(QBoxLayout::TopToBottom);
    m_valueBox->setMargin(0);
    m_valueBox->setSpacing(1);
    m_valueBox->add(*lineLayout);
    m_valueBox->add(*m_valueV);
    m_valueBox->add(*m_valueA);
    m_valueBox->add(*m_valueP);

    auto* layout = new QGridLayout();
    layout->setContentsMargins(2, 2, 2, 2);
    layout->setSpacing(0);
    layout->addWidget(m_topBox, 0, 0);
    layout->addWidget(m_valueBox, 1, 0);
    layout->addWidget(m_bottomBox, 2, 0);
    setLayout(layout);
    refreshStyle();
}

ChannelWidget& ChannelWidget::setV(QString const& value, QString const& unit)
{
    m_valueV->setValue(value).setUnit(unit);
    return *this;
}

ChannelWidget& ChannelWidget::setA(QString const& value, QString const& unit)
{
    m_valueA->setValue(value).setUnit(unit);
    return *this;
}

ChannelWidget& ChannelWidget::setP(QString const& value, QString const& unit)
{
    m_valueP->setValue(value).setUnit(unit);
    return *this;
}

ChannelWidget& ChannelWidget::setTopLeft(QString const& text)
{
    m_topLeft->setText(text);
    return *this;
}

ChannelWidget& ChannelWidget::setTopRight(QString const& text)
{
    m_topRight->setText(text);
    return *this;
}

ChannelWidget& ChannelWidget::setBottomLeft(QString const& text)
{
    m_bottomLeft->setText(text);
    return *this;
}

ChannelWidget& ChannelWidget::setBottomRight(QString const& text)
{
    m_bottomRight->setText(text);
    return *this;
}

ChannelWidget& ChannelWidget::setValueFont(QFont const& font)
{
    for (ValueWidget* row : {m_valueV, m_valueA, m_valueP})
        row->setValueFont(font);
    return *this;
}

ChannelWidget& ChannelWidget::setUnitFont(QFont const& font)
{
    for (ValueWidget* row : {m_valueV, m_valueA, m_valueP})
        row->setUnitFont(font);
    return *this;
}

ChannelWidget& ChannelWidget::setEnable(bool enable)
{
    for (ValueWidget* row : {m_valueV, m_valueA, m_valueP})
        row->setEnable(enable);
    return *this;
}

ChannelWidget& ChannelWidget::setEnableColor(ColorBox const& color)
{
    m_enableColor = color;
    for (ValueWidget* row : {m_valueV, m_valueA, m_valueP})
        row->setEnableColor(color);
    return *this;
}

ChannelWidget& ChannelWidget::setDisableColor(ColorBox const& color)
{
    m_disableColor = color;
    for (ValueWidget* row : {m_valueV, m_valueA, m_valueP})
        row->setDisableColor(color);
    return *this;
}

ChannelWidget& ChannelWidget::setColor(ColorBox const& color)
{
    m_color = color;
    return refreshStyle();
}

ChannelWidget& ChannelWidget::setActive(bool active)
{
    m_active = active;
    return refreshStyle();
}

ChannelWidget& ChannelWidget::setActiveColor(ColorBox const& color)
{
    m_activeColor = color;
    return refreshStyle();
}

ChannelWidget& ChannelWidget::refreshStyle()
{
    ColorBox const& panel = m_active ? m_activeColor : m_color;
    ValueWidget::setColor(*m_topBox, panel);
    // The rows' box keeps the inactive look also on an active panel.
    ValueWidget::setColor(*m_valueBox, m_color);
    QColor const line = m_active ? m_activeColor.background : m_enableColor.background;
    ValueWidget::setColor(*m_line, ColorBox(line, line));
    ValueWidget::setColor(*this, panel);
    ValueWidget::setColor(*m_bottomBox, panel);
    return *this;
}

ValueWidget* ChannelWidget::valueWidget(int row) const
{
    switch (row) {
    case 0:
        return m_valueV;
    case 1:
        return m_valueA;
    case 2:
        return m_valueP;
    default:
        return nullptr;
    }
}
// The meta-object is compiled here, so that a look-up by class, as the window makes, links in
// this file and with it the registration above.
#include "moc_channelwidget.cpp" // NOLINT(bugprone-suspicious-include)
