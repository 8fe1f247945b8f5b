#pragma once
// The window of the stand-in plug-in: the equipment's record and its identity.

#include "widget/equipmentwindow.h"

class QLabel;

class DemoWindow : public zelt::widget::EquipmentWindow
{
    Q_OBJECT
public:
    explicit DemoWindow(QSharedPointer<zelt::widget::EquipmentInfo> const& info, QWidget* parent = nullptr);

private:
    QLabel* m_identity;
};
