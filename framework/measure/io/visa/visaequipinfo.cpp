#include "measure/io/visa/visaequipinfo.h"

#include "measure/io/visa/visaio.h"

#include <utility>

namespace zelt::measure::io::visa {

VisaEquipInfo::VisaEquipInfo(QString modelName, QSharedPointer<AbstractIO> io)
    : IOEquipInfo(std::move(io))
    , modelName(std::move(modelName))
{
}

bool VisaEquipInfo::setAttribute(QString const& name, QVariant const& value)
{
    auto* visa = qobject_cast<VisaIO*>(io.data());
    if (!visa)
        return false;
    visa->setAttribute(name, value);
    return true;
}

QVariant VisaEquipInfo::attribute(QString const& name) const
{
    auto const* visa = qobject_cast<VisaIO const*>(io.data());
    return visa ? visa->attribute(name) : QVariant();
}

} // namespace zelt::measure::io::visa
