#include "simulator/scpivalue.h"

#include <cmath>

namespace kvrsim {

namespace {

// Values beyond this cannot be meant as whole numbers by an instrument user and would
// not convert to an integer safely.
constexpr double kIntegerLimit = 1e15;

bool isAsciiDigit(QChar c)
{
    return c >= QLatin1Char('0') && c <= QLatin1Char('9');
}

} // namespace

std::optional<double> ScpiValue::toNumber(QString const& text)
{
    QString const t = text.trimmed();
    int i = 0;
    qsizetype const n = t.size();
    if (i < n && (t[i] == QLatin1Char('+') || t[i] == QLatin1Char('-')))
        ++i;
    int digits = 0;
    while (i < n && isAsciiDigit(t[i])) {
        ++i;
        ++digits;
    }
    if (i < n && t[i] == QLatin1Char('.')) {
        ++i;
        while (i < n && isAsciiDigit(t[i])) {
            ++i;
            ++digits;
        }
    }
    if (digits == 0)
        return std::nullopt;
    if (i < n && (t[i] == QLatin1Char('e') || t[i] == QLatin1Char('E'))) {
        ++i;
        if (i < n && (t[i] == QLatin1Char('+') || t[i] == QLatin1Char('-')))
            ++i;
        int expDigits = 0;
        while (i < n && isAsciiDigit(t[i])) {
            ++i;
            ++expDigits;
        }
        if (expDigits == 0)
            return std::nullopt;
    }
    if (i != n)
        return std::nullopt;
    bool ok = false;
    double const value = t.toDouble(&ok);
    if (!ok || !std::isfinite(value))
        return std::nullopt;
    return value;
}

std::optional<qint64> ScpiValue::toInteger(QString const& text)
{
    std::optional<double> const value = toNumber(text);
    if (!value || std::fabs(*value) > kIntegerLimit || std::floor(*value) != *value)
        return std::nullopt;
    return static_cast<qint64>(*value);
}

std::optional<qint64> ScpiValue::toRoundedInteger(QString const& text)
{
    std::optional<double> const value = toNumber(text);
    if (!value || std::fabs(*value) > kIntegerLimit)
        return std::nullopt;
    return static_cast<qint64>(std::llround(*value));
}

std::optional<bool> ScpiValue::toBoolean(QString const& text)
{
    QString const t = text.trimmed();
    if (t.compare(QLatin1String("ON"), Qt::CaseInsensitive) == 0 || t == QLatin1String("1"))
        return true;
    if (t.compare(QLatin1String("OFF"), Qt::CaseInsensitive) == 0 || t == QLatin1String("0"))
        return false;
    return std::nullopt;
}

QString ScpiValue::fixed(double value, int decimals)
{
    double const half = 0.5 * std::pow(10.0, -decimals);
    if (std::fabs(value) < half)
        value = 0.0;
    return QString::number(value, 'f', decimals);
}

} // namespace kvrsim
