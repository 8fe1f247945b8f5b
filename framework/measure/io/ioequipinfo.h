#pragma once
// How an equipment is reached: its I/O channel.

#include <QSharedPointer>

namespace zelt::measure::io {

class AbstractIO;

class IOEquipInfo
{
public:
    IOEquipInfo() = default;
    explicit IOEquipInfo(QSharedPointer<AbstractIO> io);
    virtual ~IOEquipInfo();

    QSharedPointer<AbstractIO> io;
};

} // namespace zelt::measure::io
