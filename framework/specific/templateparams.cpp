#include "specific/templateparams.h"

namespace zelt::specific::pxn3000s::programmer {

bool ListTemplateParam::operator==(ListTemplateParam const& o) const
{
    return type == o.type && object == o.object && constVoltage == o.constVoltage
        && constCurrent == o.constCurrent && voltageMin == o.voltageMin && voltageMax == o.voltageMax
        && currentMin == o.currentMin && currentMax == o.currentMax && period == o.period
        && interval == o.interval && cycles == o.cycles && inverted == o.inverted && width == o.width
        && pulseCount == o.pulseCount && symmetry == o.symmetry && steps == o.steps && expRate == o.expRate
        && expGroups == o.expGroups;
}

bool DelayerTemplateParam::operator==(DelayerTemplateParam const& o) const
{
    return type == o.type && pattern == o.pattern && groups == o.groups && onTime == o.onTime
        && offTime == o.offTime && incBase == o.incBase && incStep == o.incStep && decBase == o.decBase
        && decStep == o.decStep;
}

void resetListTemplateParam(ListTemplateParam& p, unsigned char type)
{
    // Levels that every model of the family can deliver (the smallest is
    // rated 40 V and 2 A), and shapes that fit in the instrument's 128 rows.
    p = ListTemplateParam();
    p.type = type;
    p.constVoltage = 10.0;
    p.constCurrent = 1.0;
    p.voltageMax = 10.0;
    p.currentMax = 1.0;
    p.period = 2.0;
    p.interval = 0.1;
    p.cycles = 1;
    p.width = 1.0;
    p.pulseCount = 5;
    p.symmetry = 50;
    p.steps = 5;
    p.expRate = 5;
    p.expGroups = 10;
    switch (type) {
    case 3:
    case 4:
        p.period = 5.0; // one second a step
        break;
    case 5:
        p.period = 9.0; // nine rows up and down, one second each
        break;
    case 6:
    case 7:
        p.interval = 0.5;
        break;
    default:
        break;
    }
}

void resetDelayerTemplateParam(DelayerTemplateParam& p, unsigned char type)
{
    p = DelayerTemplateParam();
    p.type = type;
    p.pattern = kPattern01;
    p.groups = 5;
    p.onTime = 1.0;
    p.offTime = 1.0;
    p.incBase = 1.0;
    p.incStep = 1.0;
    p.decBase = 10.0;
    p.decStep = 1.0;
}

void resetListTemplateParams(QList<ListTemplateParam>& params)
{
    params.resize(kListWaveTypes);
    for (int t = 0; t < kListWaveTypes; ++t)
        resetListTemplateParam(params[t], static_cast<unsigned char>(t));
}

void resetDelayerTemplateParams(QList<DelayerTemplateParam>& params)
{
    params.resize(kDelayerWaveTypes);
    for (int t = 0; t < kDelayerWaveTypes; ++t)
        resetDelayerTemplateParam(params[t], static_cast<unsigned char>(t));
}

QDataStream& operator<<(QDataStream& s, ListTemplateParam const& p)
{
    return s << p.type << p.object << p.constVoltage << p.constCurrent << p.voltageMin << p.voltageMax
             << p.currentMin << p.currentMax << p.period << p.interval << p.cycles
             << qint8(p.inverted ? 1 : 0) << p.width << p.pulseCount << p.symmetry << p.steps << p.expRate
             << p.expGroups;
}

QDataStream& operator>>(QDataStream& s, ListTemplateParam& p)
{
    ListTemplateParam r;
    s >> r.type >> r.object >> r.constVoltage >> r.constCurrent >> r.voltageMin >> r.voltageMax
        >> r.currentMin >> r.currentMax >> r.period >> r.interval >> r.cycles >> r.inverted >> r.width
        >> r.pulseCount >> r.symmetry >> r.steps >> r.expRate >> r.expGroups;
    if (s.status() == QDataStream::Ok)
        p = r;
    return s;
}

QDataStream& operator<<(QDataStream& s, DelayerTemplateParam const& p)
{
    return s << p.type << p.pattern << p.groups << p.onTime << p.offTime << p.incBase << p.incStep
             << p.decBase << p.decStep;
}

QDataStream& operator>>(QDataStream& s, DelayerTemplateParam& p)
{
    DelayerTemplateParam r;
    s >> r.type >> r.pattern >> r.groups >> r.onTime >> r.offTime >> r.incBase >> r.incStep >> r.decBase
        >> r.decStep;
    if (s.status() == QDataStream::Ok)
        p = r;
    return s;
}

namespace {

template<typename T> QDataStream& writeList(QDataStream& s, QList<T> const& list)
{
    s << quint32(list.size());
    for (T const& item : list)
        s << item;
    return s;
}

// No reserve from the count: a forged count must cost nothing but a failed read.
template<typename T> QDataStream& readList(QDataStream& s, QList<T>& list)
{
    list.clear();
    quint32 count = 0;
    s >> count;
    for (quint32 i = 0; i < count && s.status() == QDataStream::Ok; ++i) {
        T item;
        s >> item;
        if (s.status() != QDataStream::Ok) {
            list.clear();
            break;
        }
        list.append(item);
    }
    return s;
}

} // namespace

QDataStream& operator<<(QDataStream& s, QList<ListTemplateParam> const& list)
{
    return writeList(s, list);
}

QDataStream& operator>>(QDataStream& s, QList<ListTemplateParam>& list)
{
    return readList(s, list);
}

QDataStream& operator<<(QDataStream& s, QList<DelayerTemplateParam> const& list)
{
    return writeList(s, list);
}

QDataStream& operator>>(QDataStream& s, QList<DelayerTemplateParam>& list)
{
    return readList(s, list);
}

} // namespace zelt::specific::pxn3000s::programmer
