#pragma once
// One sample of the instrument: its settings, its channel with this unit's values and
// those of its parallel or series group, the list and delayer report, and the limits
// of a model.

#include "measure/qvaluebox.h"
#include "util/range.h"

#include <QDateTime>
#include <QList>
#include <QMetaType>
#include <QSharedPointer>
#include <QString>

struct Voltage
{
    zelt::measure::QUnitValueBox level;
    zelt::measure::QUnitValueBox slewRising;
    zelt::measure::QUnitValueBox slewFalling;
    // Written by every pass before anyone reads them; false until then.
    bool protectionOn = false;
    bool protectionTripped = false;
    zelt::measure::QUnitValueBox protectionLevel;
    zelt::measure::QUnitValueBox measured;
};

// The same shape as Voltage, with currents.
struct Current
{
    zelt::measure::QUnitValueBox level;
    zelt::measure::QUnitValueBox slewRising;
    zelt::measure::QUnitValueBox slewFalling;
    bool protectionOn = false;
    bool protectionTripped = false;
    zelt::measure::QUnitValueBox protectionLevel;
    zelt::measure::QUnitValueBox measured;
};

struct Config
{
    QString outputMode;
    // One-based number of the channel that the decoders write to.
    int activeChannel = 1;
    zelt::measure::QUnitValueBox resistance;
    bool beeper = false;
    int brightness = 0;
    bool powerDown = false;
    QString powerMode;
    int powerId = 0;
    QString powerOut;
    int ovpDelay = 0;
    int ocpDelay = 0;
    QString eloadState;
};

// The unit's own values, and beside them the sums of its parallel and series group;
// of the group values only the measured ones are ever filled.
struct Channel
{
    int index = 0;
    bool outputOn = false;
    QString cvcc;
    Voltage voltage;
    Current current;
    zelt::measure::QUnitValueBox power;
    Voltage parallelVoltage;
    Current parallelCurrent;
    zelt::measure::QUnitValueBox parallelPower;
    Voltage seriesVoltage;
    Current seriesCurrent;
    zelt::measure::QUnitValueBox seriesPower;
};

class DmmData
{
public:
    DmmData();

    QDateTime dateTime() const { return m_dateTime; }
    void setDateTime(QDateTime const& dateTime) { m_dateTime = dateTime; }

    Config& config() { return m_config; }
    Config const& config() const { return m_config; }

    // Zero-based; null when out of range.
    Channel* channel(int index);
    Channel const* channel(int index) const;
    // The channel that config().activeChannel names; null when it names none.
    Channel* activeChannel();
    Channel const* activeChannel() const;

private:
    QDateTime m_dateTime;
    Config m_config;

public:
    // Exactly one channel in a new sample.
    QList<Channel> channels;
};

struct ChannelLimitRange
{
    zelt::util::numeric::Range voltageRange;
    zelt::util::numeric::Range currentRange;
    zelt::util::numeric::Range powerRange;
};

// What the instrument last reported of its list or delayer. Both write into the
// same fields; kind says which query group has just ended.
struct ListAndDelayer
{
    // 0 none or running, 1 list state, 2 list item, 3 delayer state, 4 delayer item.
    int kind = 0;
    bool running = false;
    double listValue = 0.0;
    int stateNumber = 0;
    int stateCount = 0;
    int start = 0;
    int count = 0;
    int cycles = 0;
    QString endState;
    QString stopCondition;
};

Q_DECLARE_METATYPE(QSharedPointer<DmmData>)
Q_DECLARE_METATYPE(ListAndDelayer)
