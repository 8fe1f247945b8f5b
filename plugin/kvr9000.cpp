#include "plugin/kvr9000.h"

#include "window/kvr9000window.h"

#include <QDate>

using zelt::widget::EquipmentViewInfo;
using zelt::widget::UpdateInfo;

KVR9000::KVR9000(QObject* parent)
    : zelt::widget::IEquipment(parent)
{
}

zelt::widget::ModelInfo KVR9000::modelInfo() const
{
    // The rating lives in the model text alone; the window reads its limits from there.
    static char const* const kModels[] = {
        "KVR9040-40", "KVR9080-20",  "KVR9160-8",  "KVR9250-6",  "KVR9040-80", "KVR9080-40",  "KVR9160-16",
        "KVR9250-12", "KVR9040-120", "KVR9080-60", "KVR9160-24", "KVR9250-18", "KVR9040-200", "KVR9080-100",
        "KVR9160-40", "KVR9250-30",  "KVR9800-2",  "KVR9800-4",  "KVR9800-6",  "KVR9800-10",
    };
    QString const image = QStringLiteral(":images/KVR9000.png");

    zelt::widget::ModelInfo info;
    info.familyName = QStringLiteral("KVR9000");
    for (char const* model : kModels)
        info.viewInfos.append(EquipmentViewInfo {QLatin1String(model), QLatin1String(model), image});
    info.setUpdateInfos({
        UpdateInfo(QDate(2024, 8, 6), QStringLiteral("1.00"), {}),
        UpdateInfo(QDate(2024, 12, 12), QStringLiteral("1.01"),
                   {tr("Change the Maximum Current of KVR9160 Seriales")}),
        UpdateInfo(QDate(2025, 3, 18), QStringLiteral("1.02"), {tr("Fix bugs")}),
        UpdateInfo(QDate(2025, 7, 28), QStringLiteral("1.03"),
                   {tr("Added models: KVR9800-2,KVR9800-4,KVR9800-6,KVR9800-10")}),
    });
    return info;
}

zelt::widget::EquipmentWindow* KVR9000::window(QSharedPointer<zelt::widget::EquipmentInfo> const& info)
{
    auto* window = new KVR9000Window(info, nullptr, Qt::WindowFlags());
    window->setAttribute(Qt::WA_DeleteOnClose);
    return window;
}
