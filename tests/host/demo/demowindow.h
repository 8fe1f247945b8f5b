#pragma once
// The window of the stand-in plug-in: the equipment's name and resource.

#include "widget/equipmentwindow.h"

class DemoWindow : public zelt::widget::EquipmentWindow
{
    Q_OBJECT
public:
    explicit DemoWindow(QSharedPointer<zelt::widget::EquipmentInfo> const& info, QWidget* parent = nullptr);
};
