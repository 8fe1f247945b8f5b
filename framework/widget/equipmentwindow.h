#pragma once
// Base of an instrument's window: a sub-window of the host's multi-document area
// that carries the EquipmentInfo it was made for.

#include "widget/equipmentinfo.h"
#include "widget/zelt_widget_export.h"

#include <QMdiSubWindow>
#include <QPointer>
#include <QSharedPointer>

#include <functional>

class QAbstractItemView;
class QAction;

namespace zelt::measure {
class MeasureInst;
}

namespace zelt::widget {

// The output as the instrument last reported it; all false before the first sample.
struct ZELT_WIDGET_EXPORT OutputState
{
    bool valid = false; // a sample has been read
    bool outputOn = false;
    bool overVoltageTripped = false;
    bool overCurrentTripped = false;
};

enum class Protection { OverVoltage, OverCurrent };

// The parts of a window that a host may reach without knowing the plug-in. The
// window hands them over once, after it has made them; any of them may be missing.
struct ZELT_WIDGET_EXPORT EquipmentParts
{
    QPointer<zelt::measure::MeasureInst> queue; // the instrument's command queue
    QPointer<QAction> start; // starts and stops the polling, as the user's Start does
    QPointer<QAbstractItemView> record; // the recorded table; its model follows the power mode
    QPointer<QWidget> live; // the live readings
    std::function<OutputState()> output; // read at any time; cheap
    std::function<void(Protection)> clearProtection; // sends the instrument's clear command
};

class ZELT_WIDGET_EXPORT EquipmentWindow : public QMdiSubWindow
{
    Q_OBJECT
public:
    // The window deletes itself on close (Qt::WA_DeleteOnClose).
    explicit EquipmentWindow(QSharedPointer<EquipmentInfo> const& info, QWidget* parent = nullptr,
                             Qt::WindowFlags flags = {});
    ~EquipmentWindow() override;

    QSharedPointer<EquipmentInfo> equipment() const { return m_equipment; }
    EquipmentParts const& parts() const { return m_parts; }

Q_SIGNALS:
    // The derived window emits it once it has opened (after its constructor).
    void opened(QSharedPointer<zelt::widget::EquipmentInfo> const& info);
    // Emitted by closeEvent() when the window is really closing.
    void closed(QSharedPointer<zelt::widget::EquipmentInfo> const& info);

protected:
    void setParts(EquipmentParts parts) { m_parts = std::move(parts); }
    // Derived windows call this at the end of their own. An event that the
    // derived window has ignored stays ignored: the window remains open.
    void closeEvent(QCloseEvent* event) override;

private:
    QSharedPointer<EquipmentInfo> m_equipment;
    EquipmentParts m_parts;
};

} // namespace zelt::widget
