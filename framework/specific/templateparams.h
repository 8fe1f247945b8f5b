#pragma once
// The parameters of the wave templates, one record per type, kept in the
// settings from one opening of the programmer to the next. The stream
// operators below are the stored format, field by field in declaration order,
// big-endian: ListTemplateParam is 105 bytes (inverted is one byte, at offset
// 76), DelayerTemplateParam 60 bytes, and a list is a 32-bit count and its
// records.

#include "specific/zelt_specific_export.h"

#include <QDataStream>
#include <QList>
#include <QMetaType>

namespace zelt::specific::pxn3000s::programmer {

// What each field does to each wave is written down in wavegenerator.h.
struct ZELT_SPECIFIC_EXPORT ListTemplateParam
{
    qint32 type = 0; // 0 Sine, 1 Pulse, 2 Ramp, 3 Stair Up, 4 Stair Down, 5 Stair Up Down,
                     // 6 Exponent Rise, 7 Exponent Fall
    qint32 object = 0; // swept quantity: 0 voltage, 1 current
    double constVoltage = 0.0;
    double constCurrent = 0.0;
    double voltageMin = 0.0;
    double voltageMax = 0.0;
    double currentMin = 0.0;
    double currentMax = 0.0;
    double period = 0.0; // s
    double interval = 0.0; // s
    qint32 cycles = 0;
    bool inverted = false;
    double width = 0.0; // s
    qint32 pulseCount = 0;
    qint32 symmetry = 0; // percent
    qint32 steps = 0;
    qint32 expRate = 0;
    qint32 expGroups = 0;

    bool operator==(ListTemplateParam const& o) const;
    bool operator!=(ListTemplateParam const& o) const { return !(*this == o); }
};

struct ZELT_SPECIFIC_EXPORT DelayerTemplateParam
{
    qint32 type = 0; // 0 Fix Time, 1 Increase, 2 Decline
    qint32 pattern = 0; // 1 "01 Pattern", 10 "10 Pattern"
    qint32 groups = 0;
    double onTime = 0.0; // s, Fix Time
    double offTime = 0.0; // s, Fix Time
    double incBase = 0.0; // s, Increase
    double incStep = 0.0;
    double decBase = 0.0; // s, Decline
    double decStep = 0.0;

    bool operator==(DelayerTemplateParam const& o) const;
    bool operator!=(DelayerTemplateParam const& o) const { return !(*this == o); }
};

constexpr int kListWaveTypes = 8;
constexpr int kDelayerWaveTypes = 3;
constexpr int kPattern01 = 1;
constexpr int kPattern10 = 10;

// A record of the given type at its defaults; a type beyond the table keeps
// the defaults common to all types.
ZELT_SPECIFIC_EXPORT void resetListTemplateParam(ListTemplateParam& param, unsigned char type);
ZELT_SPECIFIC_EXPORT void resetDelayerTemplateParam(DelayerTemplateParam& param, unsigned char type);
// Exactly one record per type, in type order, at their defaults.
ZELT_SPECIFIC_EXPORT void resetListTemplateParams(QList<ListTemplateParam>& params);
ZELT_SPECIFIC_EXPORT void resetDelayerTemplateParams(QList<DelayerTemplateParam>& params);

ZELT_SPECIFIC_EXPORT QDataStream& operator<<(QDataStream& s, ListTemplateParam const& p);
ZELT_SPECIFIC_EXPORT QDataStream& operator>>(QDataStream& s, ListTemplateParam& p);
ZELT_SPECIFIC_EXPORT QDataStream& operator<<(QDataStream& s, DelayerTemplateParam const& p);
ZELT_SPECIFIC_EXPORT QDataStream& operator>>(QDataStream& s, DelayerTemplateParam& p);

// The lists read their count without trusting it: records are read one by one
// until the count or the bytes run out, and a list cut short comes back empty
// with the stream's status at QDataStream::ReadPastEnd. A record that fails
// leaves its target untouched.
ZELT_SPECIFIC_EXPORT QDataStream& operator<<(QDataStream& s, QList<ListTemplateParam> const& list);
ZELT_SPECIFIC_EXPORT QDataStream& operator>>(QDataStream& s, QList<ListTemplateParam>& list);
ZELT_SPECIFIC_EXPORT QDataStream& operator<<(QDataStream& s, QList<DelayerTemplateParam> const& list);
ZELT_SPECIFIC_EXPORT QDataStream& operator>>(QDataStream& s, QList<DelayerTemplateParam>& list);

} // namespace zelt::specific::pxn3000s::programmer

Q_DECLARE_METATYPE(zelt::specific::pxn3000s::programmer::ListTemplateParam)
Q_DECLARE_METATYPE(zelt::specific::pxn3000s::programmer::DelayerTemplateParam)
