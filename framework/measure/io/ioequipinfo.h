#pragma once
// How an equipment is reached: its I/O channel.

#include "measure/zelt_measure_export.h"

#include <QSharedPointer>

namespace zelt::measure::io {

class AbstractIO;

class ZELT_MEASURE_EXPORT IOEquipInfo
{
public:
    IOEquipInfo() = default;
    explicit IOEquipInfo(QSharedPointer<AbstractIO> io);
    virtual ~IOEquipInfo();

    QSharedPointer<AbstractIO> io;
};

} // namespace zelt::measure::io
