#include "simulator/kvrratings.h"

namespace kvrsim {

std::optional<KvrRatings> KvrRatings::fromModel(QString const& model)
{
    QString const text = model.trimmed().toUpper();
    if (!text.startsWith(QLatin1String("KVR9")))
        return std::nullopt;
    QString const rest = text.mid(4);
    qsizetype const dash = rest.indexOf(QLatin1Char('-'));
    if (dash != 3)
        return std::nullopt;
    QString const volts = rest.left(3);
    QString const amps = rest.mid(4);
    static constexpr char const* kVoltageClasses[] = {"040", "080", "160", "250", "800"};
    bool known = false;
    for (char const* voltageClass : kVoltageClasses)
        known = known || volts == QLatin1String(voltageClass);
    if (!known || amps.isEmpty() || amps.size() > 4)
        return std::nullopt;
    for (QChar c : amps) {
        if (!c.isDigit())
            return std::nullopt;
    }
    int const current = amps.toInt();
    if (current <= 0)
        return std::nullopt;

    KvrRatings ratings;
    ratings.model = text;
    ratings.voltage = volts.toInt();
    ratings.current = current;
    ratings.minVoltage = (volts == QLatin1String("160") || volts == QLatin1String("250")) ? 0.5 : 0.1;
    double power = ratings.voltage * ratings.current * 0.25;
    if (power < 400)
        power = 400;
    else if (power < 800)
        power = 800;
    else if (power < 1200)
        power = 1200;
    ratings.power = power;
    return ratings;
}

} // namespace kvrsim
