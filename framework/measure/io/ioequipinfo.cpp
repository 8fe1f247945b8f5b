#include "measure/io/ioequipinfo.h"

#include <utility>

namespace zelt::measure::io {

IOEquipInfo::IOEquipInfo(QSharedPointer<AbstractIO> io)
    : io(std::move(io))
{
}

IOEquipInfo::~IOEquipInfo() = default;

} // namespace zelt::measure::io
