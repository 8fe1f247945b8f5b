#include "tests/host/demo/demoequipment.h"

#include "tests/host/demo/demowindow.h"

DemoEquipment::DemoEquipment(QObject* parent)
    : zelt::widget::IEquipment(parent)
{
}

zelt::widget::ModelInfo DemoEquipment::modelInfo() const
{
    zelt::widget::ModelInfo info;
    info.familyName = QStringLiteral("Demo");
    for (QString const& model : {QStringLiteral("KVR9040-40"), QStringLiteral("KVR9800-2")})
        info.viewInfos.append({model, model, QStringLiteral(":images/KVR9000.png")});
    info.setUpdateInfos({{QDate(2025, 1, 2), QStringLiteral("0.1"), {QStringLiteral("First light")}}});
    return info;
}

zelt::widget::EquipmentWindow* DemoEquipment::window(QSharedPointer<zelt::widget::EquipmentInfo> const& info)
{
    return new DemoWindow(info);
}
