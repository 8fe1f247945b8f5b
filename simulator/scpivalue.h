#pragma once
// Reading and writing the instrument's parameter words: SCPI decimal numbers, booleans, fixed point.

#include <QString>

#include <optional>

namespace kvrsim {

class ScpiValue
{
public:
    // 12, 12.5, .5, +0.5, 1.25E1, 1e-05; nothing else (no units, no INF).
    static std::optional<double> toNumber(QString const& text);
    // A number whose value is whole, such as 3 or 3.0 or 3E0.
    static std::optional<qint64> toInteger(QString const& text);
    // A number rounded to the nearest whole value.
    static std::optional<qint64> toRoundedInteger(QString const& text);
    // ON, OFF, 1, 0 in any case.
    static std::optional<bool> toBoolean(QString const& text);
    // Fixed point without a negative zero.
    static QString fixed(double value, int decimals);
    static QString boolean(bool value) { return value ? QStringLiteral("1") : QStringLiteral("0"); }
};

} // namespace kvrsim
