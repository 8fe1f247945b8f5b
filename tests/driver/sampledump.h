#pragma once
// A sample as text for the driver suites: every field that a pass of the ring writes, in the
// ring's order, so that an answer decoded into the wrong field shows by its name.

#include "driver/dmmdata.h"

#include <QStringList>

// A box as "<text><unit>", with "!" for the text when it holds no reading.
inline QString box(zelt::measure::QUnitValueBox const& b)
{
    return (b.kind == 0 ? b.text : QStringLiteral("!")) + b.unit;
}

inline QString readings(Voltage const& v, Current const& i, zelt::measure::QUnitValueBox const& p)
{
    return box(v.measured) + ' ' + box(i.measured) + ' ' + box(p);
}

// Every field of a pass as "name=value".
inline QStringList dump(DmmData const& d)
{
    Channel const* c = d.activeChannel();
    Config const& g = d.config();
    auto const on = [](bool f) {
        return QString::fromLatin1(f ? "on" : "off");
    };
    QStringList out;
    out << "mode=" + g.powerMode << "meas=" + readings(c->voltage, c->current, c->power)
        << "outMode=" + g.outputMode << "out=" + on(c->outputOn) << "cvcc=" + c->cvcc
        << "vLevel=" + box(c->voltage.level) << "iLevel=" + box(c->current.level)
        << "ovp=" + box(c->voltage.protectionLevel) << "ovpOn=" + on(c->voltage.protectionOn)
        << "ovpTrip=" + on(c->voltage.protectionTripped) << "ocp=" + box(c->current.protectionLevel)
        << "ocpOn=" + on(c->current.protectionOn) << "ocpTrip=" + on(c->current.protectionTripped)
        << "vRise=" + box(c->voltage.slewRising) << "vFall=" + box(c->voltage.slewFalling)
        << "iRise=" + box(c->current.slewRising) << "iFall=" + box(c->current.slewFalling)
        << "res=" + box(g.resistance) << "beep=" + on(g.beeper) << "bright=" + QString::number(g.brightness)
        << "pdown=" + on(g.powerDown) << "id=" + QString::number(g.powerId) << "pout=" + g.powerOut
        << "ovpDelay=" + QString::number(g.ovpDelay) << "ocpDelay=" + QString::number(g.ocpDelay)
        << "eload=" + g.eloadState;
    return out;
}
