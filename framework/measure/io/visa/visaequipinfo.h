#pragma once
// The I/O description of a VISA instrument: its model text beside the channel.

#include "measure/io/ioequipinfo.h"
#include "measure/zelt_measure_export.h"

#include <QString>
#include <QVariant>

namespace zelt::measure::io::visa {

class ZELT_MEASURE_EXPORT VisaEquipInfo : public IOEquipInfo
{
public:
    VisaEquipInfo() = default;
    VisaEquipInfo(QString modelName, QSharedPointer<AbstractIO> io);

    // The channel's attributes (serial line settings, a VISA library; see
    // VisaIO::setAttribute), kept in the VisaIO itself. False when io is no VisaIO.
    bool setAttribute(QString const& name, QVariant const& value);
    QVariant attribute(QString const& name) const;

    QString modelName;
};

} // namespace zelt::measure::io::visa
