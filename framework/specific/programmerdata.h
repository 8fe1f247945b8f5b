#pragma once
// The rows of the programmer's two sequences: a list row (voltage, current,
// dwell) and a delayer row (output state, dwell). ProgrammerData is their
// common base, so that one signal can carry either; a receiver narrows it with
// a dynamic cast.

#include "specific/zelt_specific_export.h"

#include <QList>
#include <QMetaType>

namespace zelt::specific::pxn3000s::programmer {

class ZELT_SPECIFIC_EXPORT ProgrammerData
{
public:
    ProgrammerData() = default;
    ProgrammerData(ProgrammerData const&) = default;
    ProgrammerData(ProgrammerData&&) = default;
    ProgrammerData& operator=(ProgrammerData const&) = default;
    ProgrammerData& operator=(ProgrammerData&&) = default;
    virtual ~ProgrammerData();
};

class ZELT_SPECIFIC_EXPORT ListData : public ProgrammerData
{
public:
    ListData() = default;
    ListData(double voltage, double current, double time)
        : voltage(voltage)
        , current(current)
        , time(time)
    {
    }

    bool operator==(ListData const& o) const
    {
        return voltage == o.voltage && current == o.current && time == o.time;
    }
    bool operator!=(ListData const& o) const { return !(*this == o); }

    double voltage = 0.0; // V
    double current = 0.0; // A
    double time = 0.0; // dwell in s
};

class ZELT_SPECIFIC_EXPORT DelayerData : public ProgrammerData
{
public:
    DelayerData() = default;
    DelayerData(bool state, double time)
        : state(state)
        , time(time)
    {
    }

    bool operator==(DelayerData const& o) const { return state == o.state && time == o.time; }
    bool operator!=(DelayerData const& o) const { return !(*this == o); }

    bool state = true; // output on during the row
    double time = 0.0; // dwell in s
};

} // namespace zelt::specific::pxn3000s::programmer

Q_DECLARE_METATYPE(zelt::specific::pxn3000s::programmer::ProgrammerData)
Q_DECLARE_METATYPE(zelt::specific::pxn3000s::programmer::ListData)
Q_DECLARE_METATYPE(zelt::specific::pxn3000s::programmer::DelayerData)
