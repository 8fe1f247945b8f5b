#pragma once
// The ratings of one KVR9000 model, read from its model text KVR9<VVV>-<A>.

#include <QString>

#include <optional>

namespace kvrsim {

struct KvrRatings
{
    QString model;
    double voltage = 0; // rated volts
    double current = 0; // rated amperes
    double power = 0; // rated watts, after snapping up to 400, 800 or 1200
    double minVoltage = 0.1;

    // Settings may go 5 % beyond the rating.
    double maxVoltage() const { return voltage * 1.05; }
    double maxCurrent() const { return current * 1.05; }
    // Small units show currents with one more decimal.
    int currentDecimals() const { return current <= 10 ? 4 : 3; }

    // Empty for a text outside the family: the voltage class must be 040, 080, 160, 250
    // or 800 and the current a whole number of amperes above 0.
    static std::optional<KvrRatings> fromModel(QString const& model);
};

} // namespace kvrsim
