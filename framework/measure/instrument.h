#pragma once
// Base of every instrument driver: something that can be opened, closed and asked whether it runs.

#include "measure/zelt_measure_export.h"

#include <QObject>

namespace zelt::measure {

class ZELT_MEASURE_EXPORT Instrument : public QObject
{
    Q_OBJECT
public:
    explicit Instrument(QObject* parent = nullptr);
    ~Instrument() override;

    virtual bool open() = 0;
    virtual bool close() = 0;
    virtual bool isActive() const = 0;
};

} // namespace zelt::measure
