#include "measure/io/visa/visaequipinfo.h"

#include <utility>

namespace zelt::measure::io::visa {

VisaEquipInfo::VisaEquipInfo(QString modelName, QSharedPointer<AbstractIO> io)
    : IOEquipInfo(std::move(io))
    , modelName(std::move(modelName))
{
}

} // namespace zelt::measure::io::visa
