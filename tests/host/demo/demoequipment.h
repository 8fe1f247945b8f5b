#pragma once
// A stand-in instrument plug-in: two models, and a window that shows what the
// host handed over.

#include "widget/iequipment.h"

class DemoEquipment : public zelt::widget::IEquipment
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID "org.zelt.DemoEquipment")
    Q_INTERFACES(zelt::widget::IEquipment)
public:
    explicit DemoEquipment(QObject* parent = nullptr);

    zelt::widget::ModelInfo modelInfo() const override;
    zelt::widget::EquipmentWindow* window(QSharedPointer<zelt::widget::EquipmentInfo> const& info) override;
};
