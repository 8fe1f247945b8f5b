#pragma once
// The I/O description of a VISA instrument: its model text beside the channel.

#include "measure/io/ioequipinfo.h"

#include <QString>

namespace zelt::measure::io::visa {

class VisaEquipInfo : public IOEquipInfo
{
public:
    VisaEquipInfo() = default;
    VisaEquipInfo(QString modelName, QSharedPointer<AbstractIO> io);

    QString modelName;
};

} // namespace zelt::measure::io::visa
