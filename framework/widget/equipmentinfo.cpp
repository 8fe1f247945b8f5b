#include "widget/equipmentinfo.h"

#include "measure/io/visa/visaequipinfo.h"
#include "measure/io/visa/visaio.h"

#include <utility>

namespace zelt::widget {

EquipmentInfo::EquipmentInfo(QString name, QSharedPointer<zelt::measure::io::IOEquipInfo> ioInfo)
    : name(std::move(name))
    , ioInfo(std::move(ioInfo))
{
}

QSharedPointer<EquipmentInfo> EquipmentInfo::makeVisa(QString const& name, QString const& family,
                                                      QString const& model, QString const& resource)
{
    using namespace zelt::measure::io;
    QSharedPointer<AbstractIO> io(new visa::VisaIO(resource));
    auto info
        = QSharedPointer<EquipmentInfo>::create(name, QSharedPointer<visa::VisaEquipInfo>::create(model, io));
    info->family = family;
    info->model = model;
    info->resource = resource;
    return info;
}

} // namespace zelt::widget
