#include "widget/iequipment.h"

#include "measure/io/visa/visaresource.h"
#include "widget/equipmentwindow.h"

namespace zelt::widget {

IEquipment::IEquipment(QObject* parent)
    : QObject(parent)
{
}

IEquipment::~IEquipment() = default;

EquipmentWindow* IEquipment::create(QString const& model, QString const& resource)
{
    ModelInfo const catalogue = modelInfo();
    if (!catalogue.hasModel(model))
        return nullptr;
    if (!zelt::measure::io::visa::VisaResource::parse(resource).isValid())
        return nullptr;
    return window(EquipmentInfo::makeVisa(model, catalogue.familyName, model, resource));
}

} // namespace zelt::widget
