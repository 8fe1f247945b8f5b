#pragma once
// A display panel of one output channel: two header labels, rows of volts, amperes and
// watts, and two footer labels, with an active and an inactive look for the panel and an
// enabled and a disabled look for the rows, all done with style sheets.

#include <QBoxLayout>
#include <QColor>
#include <QFrame>
#include <QMetaType>

class QFont;
class QLabel;

// Text and background colour of a look.
struct ColorBox
{
    ColorBox(QColor const& foreground, QColor const& background);

    QColor foreground;
    QColor background;
};

// A frame that lays its widgets out in a box.
class WidgetBox : public QFrame
{
public:
    WidgetBox(QWidget* parent = nullptr, Qt::WindowFlags flags = {},
              QBoxLayout::Direction direction = QBoxLayout::LeftToRight);
    ~WidgetBox() override;

    void setDirection(QBoxLayout::Direction direction);
    // The margins of the layout; the frame keeps its own.
    void setContentsMargins(int left, int top, int right, int bottom);
    void setMargin(int margin);
    void setSpacing(int spacing);
    void add(QWidget& widget);
    void add(QLayout& layout);
    void insert(QWidget& widget, int index);
    void insert(QLayout& layout, int index);
    void remove(QWidget& widget);
    // Empties the layout; the widgets stay, still children of the frame.
    void clear();

private:
    QBoxLayout* m_layout = nullptr;
};

// A number with its unit. The setters return the widget, so that calls chain.
class ValueWidget : public QWidget
{
public:
    ValueWidget(QWidget* parent = nullptr, Qt::WindowFlags flags = {});
    ~ValueWidget() override;

    ValueWidget& setValue(QString const& value);
    ValueWidget& setUnit(QString const& unit);
    ValueWidget& setValueFont(QFont const& font);
    ValueWidget& setUnitFont(QFont const& font);
    ValueWidget& setEnable(bool enable);
    ValueWidget& setEnableColor(ColorBox const& color);
    ValueWidget& setDisableColor(ColorBox const& color);
    ValueWidget& refreshStyle();

    QString value() const;
    QString unit() const;

    // Gives widget the style sheet of a look.
    static void setColor(QWidget& widget, ColorBox const& box);

private:
    void init();

    QLabel* m_valueLabel = nullptr;
    QLabel* m_unitLabel = nullptr;
    ColorBox m_enableColor;
    ColorBox m_disableColor;
    bool m_enable = true;
};

class ChannelWidget : public QFrame
{
    Q_OBJECT
public:
    ChannelWidget(QWidget* parent = nullptr, Qt::WindowFlags flags = {});
    ~ChannelWidget() override;

    ChannelWidget& setV(QString const& value, QString const& unit);
    ChannelWidget& setA(QString const& value, QString const& unit);
    ChannelWidget& setP(QString const& value, QString const& unit);
    ChannelWidget& setTopLeft(QString const& text);
    ChannelWidget& setTopRight(QString const& text);
    ChannelWidget& setBottomLeft(QString const& text);
    ChannelWidget& setBottomRight(QString const& text);
    ChannelWidget& setValueFont(QFont const& font);
    ChannelWidget& setUnitFont(QFont const& font);
    // Enables or dims the three rows; the panel keeps no flag of its own.
    ChannelWidget& setEnable(bool enable);
    ChannelWidget& setEnableColor(ColorBox const& color);
    ChannelWidget& setDisableColor(ColorBox const& color);
    // The look of the inactive panel.
    ChannelWidget& setColor(ColorBox const& color);
    ChannelWidget& setActive(bool active);
    ChannelWidget& setActiveColor(ColorBox const& color);
    ChannelWidget& refreshStyle();

    bool isActive() const { return m_active; }
    ValueWidget* valueWidget(int row) const;

private:
    void init();

    WidgetBox* m_topBox = nullptr;
    WidgetBox* m_valueBox = nullptr;
    QFrame* m_line = nullptr;
    WidgetBox* m_bottomBox = nullptr;
    ValueWidget* m_valueV = nullptr;
    ValueWidget* m_valueA = nullptr;
    ValueWidget* m_valueP = nullptr;
    QLabel* m_topLeft = nullptr;
    QLabel* m_topRight = nullptr;
    QLabel* m_bottomLeft = nullptr;
    QLabel* m_bottomRight = nullptr;
    bool m_active = false;
    ColorBox m_enableColor;
    ColorBox m_disableColor;
    ColorBox m_color;
    ColorBox m_activeColor;
};

Q_DECLARE_METATYPE(ChannelWidget)
