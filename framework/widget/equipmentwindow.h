#pragma once
// Base of an instrument's window: a sub-window of the host's multi-document area
// that carries the EquipmentInfo it was made for.

#include "widget/equipmentinfo.h"

#include <QMdiSubWindow>
#include <QSharedPointer>

namespace zelt::widget {

class EquipmentWindow : public QMdiSubWindow
{
    Q_OBJECT
public:
    // The window deletes itself on close (Qt::WA_DeleteOnClose).
    explicit EquipmentWindow(QSharedPointer<EquipmentInfo> const& info, QWidget* parent = nullptr,
                             Qt::WindowFlags flags = {});
    ~EquipmentWindow() override;

    QSharedPointer<EquipmentInfo> equipment() const { return m_equipment; }

Q_SIGNALS:
    // The derived window emits it once it has opened (after its constructor).
    void opened(QSharedPointer<zelt::widget::EquipmentInfo> const& info);
    // Emitted by closeEvent() when the window is really closing.
    void closed(QSharedPointer<zelt::widget::EquipmentInfo> const& info);

protected:
    // Derived windows call this at the end of their own. An event that the
    // derived window has ignored stays ignored: the window remains open.
    void closeEvent(QCloseEvent* event) override;

private:
    QSharedPointer<EquipmentInfo> m_equipment;
};

} // namespace zelt::widget
