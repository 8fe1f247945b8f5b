// The driver's polling ring in its order, written out independently of the driver, for the
// suites that check what reaches the wire or read the simulator's state the same way.
#pragma once

#include <QString>
#include <QStringList>

inline QStringList pollingRing()
{
    return QStringLiteral(
               ":SYSTem:POWER:MODE? :MEASure:ALL? :OUTPut:MODE? :OUTPut:STATe? :OUTPut:CVCC? "
               ":SOURce:VOLTage:LEVel? :SOURce:CURRent:LEVel? :SOURce:VOLTage:PROTection:LEVel? "
               ":SOURce:VOLTage:PROTection:STATe? :OUTPut:OVP:TRIPed? :SOURce:CURRent:PROTection:LEVel? "
               ":SOURce:CURRent:PROTection:STATe? :OUTPut:OCP:TRIPed? :SOURce:VOLTage:SLEW:RISing? "
               ":SOURce:VOLTage:SLEW:FALLing? :SOURce:CURRent:SLEW:RISing? :SOURce:CURRent:SLEW:FALLing? "
               ":RESistance? :SYSTem:BEEPer:STATe? :SYSTem:BRIGhtness? :SYSTem:POWER:POWERDown? "
               ":SYSTem:POWER:ID? :SYSTem:POWER:POWEROut? :SYSTem:POWER:OVPDelay? :SYSTem:POWER:OCPDelay? "
               ":SYSTem:POWER:ELOAD:STATe?")
        .split(QLatin1Char(' '));
}
