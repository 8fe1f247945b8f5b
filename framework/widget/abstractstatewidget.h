#pragma once
// Base of the display widgets of an instrument panel: a widget that is lit or
// dimmed by named states, each with its own background and text colour.

#include "widget/zelt_widget_export.h"

#include <QColor>
#include <QWidget>

#include <array>

namespace zelt::widget {

class ZELT_WIDGET_EXPORT AbstractStateWidget : public QWidget
{
    Q_OBJECT
public:
    // An int so that callers may pass plain numbers. Several states may be on at
    // once; the highest one that is on decides the look, and Dimmed shows when
    // none is on.
    using State = int;
    enum : State {
        Dimmed = 0, // nothing to show: the reading is present but faint
        Standby = 1, // shown, but not live (e.g. a set value with the output off)
        Enabled = 2, // lit: the live reading
        Alarm = 3, // lit in the alarm colours (e.g. a tripped protection)
    };
    static constexpr int kStateCount = 4;

    explicit AbstractStateWidget(QWidget* parent = nullptr, Qt::WindowFlags flags = {});
    ~AbstractStateWidget() override;

    // Background colour (text false) or text colour (text true) of a state.
    // An unknown state gives the colours of Dimmed.
    QColor color(State state, bool text) const;
    void setColor(State state, bool text, QColor const& color);
    void setEnabledWindowColor(QColor const& color) { setColor(Enabled, false, color); }
    void setEnabledTextColor(QColor const& color) { setColor(Enabled, true, color); }

    // Lights (on) or dims (off) one state. Unknown states are ignored.
    virtual void setStateOn(State state, bool on);
    bool isStateOn(State state) const;
    // The state that decides the look now.
    State currentState() const;

Q_SIGNALS:
    void stateChanged(zelt::widget::AbstractStateWidget::State current);

protected:
    // Called whenever the current state or one of its colours changes; the base
    // fills the background with the state's background colour.
    virtual void applyState();
    void paintEvent(QPaintEvent* event) override;

private:
    static bool isKnown(State state) { return state >= 0 && state < kStateCount; }

    std::array<QColor, kStateCount> m_window;
    std::array<QColor, kStateCount> m_text;
    unsigned m_on = 0; // bit per state
};

} // namespace zelt::widget
