#include "widget/equipmentwindow.h"

#include <QCloseEvent>

namespace zelt::widget {

EquipmentWindow::EquipmentWindow(QSharedPointer<EquipmentInfo> const& info, QWidget* parent,
                                 Qt::WindowFlags flags)
    : QMdiSubWindow(parent, flags)
    , m_equipment(info)
{
    setAttribute(Qt::WA_DeleteOnClose);
    if (info && !info->name.isEmpty())
        setWindowTitle(info->name);
}

EquipmentWindow::~EquipmentWindow() = default;

void EquipmentWindow::closeEvent(QCloseEvent* event)
{
    // QMdiSubWindow accepts whatever it is given, which would override a
    // derived window that has just refused to close.
    if (!event->isAccepted())
        return;
    QMdiSubWindow::closeEvent(event);
    if (event->isAccepted())
        Q_EMIT closed(m_equipment);
}

} // namespace zelt::widget
