#include "tests/host/demo/demowindow.h"

#include <QLabel>
#include <QTimer>

DemoWindow::DemoWindow(QSharedPointer<zelt::widget::EquipmentInfo> const& info, QWidget* parent)
    : zelt::widget::EquipmentWindow(info, parent)
{
    setWidget(new QLabel(tr("%1 on %2").arg(info->name, info->resource)));
    setWindowTitle(info->name);
    resize(420, 160);
    QTimer::singleShot(0, this, [this] { Q_EMIT opened(equipment()); });
}
