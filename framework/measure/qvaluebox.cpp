#include "measure/qvaluebox.h"

#include <QByteArray>
#include <QHashFunctions>
#include <QVarLengthArray>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <utility>

namespace zelt::measure {

namespace {

bool isDigit(QStringView s, qsizetype i)
{
    return i < s.size() && s[i] >= u'0' && s[i] <= u'9';
}

// End of the decimal number that starts at pos, or -1 when none does. An
// exponent mark without digits behind it is not part of the number.
qsizetype scanNumber(QStringView s, qsizetype pos)
{
    qsizetype i = pos;
    if (i < s.size() && (s[i] == u'+' || s[i] == u'-'))
        ++i;
    qsizetype digits = 0;
    for (; isDigit(s, i); ++i)
        ++digits;
    if (i < s.size() && s[i] == u'.') {
        for (++i; isDigit(s, i); ++i)
            ++digits;
    }
    if (digits == 0)
        return -1;
    if (i < s.size() && (s[i] == u'e' || s[i] == u'E')) {
        qsizetype j = i + 1;
        if (j < s.size() && (s[j] == u'+' || s[j] == u'-'))
            ++j;
        if (isDigit(s, j)) {
            while (isDigit(s, j))
                ++j;
            i = j;
        }
    }
    return i;
}

// number holds only what scanNumber accepted, all ASCII.
bool toDouble(QStringView number, double& value)
{
    if (number.startsWith(u'+'))
        number = number.mid(1);
    QVarLengthArray<char, 64> ascii(number.size());
    for (qsizetype i = 0; i < number.size(); ++i)
        ascii[i] = char(number[i].unicode());
    auto const [end, ec] = std::from_chars(ascii.data(), ascii.data() + ascii.size(), value);
    return ec == std::errc() && end == ascii.data() + ascii.size() && std::isfinite(value);
}

// A reading that rounds to zero is shown without a sign: "-0.000" reads as a fault.
qsizetype dropNegativeZero(char const* text, qsizetype size)
{
    if (size == 0 || text[0] != '-')
        return 0;
    for (qsizetype i = 1; i < size; ++i) {
        if (text[i] != '0' && text[i] != '.')
            return 0;
    }
    return 1;
}

// The number in fixed notation with the given decimals (shortest when negative),
// rounded as QString::number rounds; the length written, or -1 when it doesn't fit.
qsizetype fixedText(double value, int precision, char* out, qsizetype size)
{
    if (precision < 0) {
        auto const [end, ec] = std::to_chars(out, out + size, value, std::chars_format::fixed);
        return ec == std::errc() ? end - out : -1;
    }
    if (precision >= size)
        return -1;
    // std::to_chars rounds an exact half to even, QString::number away from zero.
    // Only a value whose next digit is 5 can be such a half; that rare case takes Qt's way.
    auto const finer = std::to_chars(out, out + size, value, std::chars_format::fixed, precision + 1);
    if (finer.ec != std::errc())
        return -1;
    if (finer.ptr[-1] == '5') {
        QByteArray const text = QByteArray::number(value, 'f', precision);
        if (text.size() > size)
            return -1;
        std::copy(text.cbegin(), text.cend(), out);
        return text.size();
    }
    auto const [end, ec] = std::to_chars(out, out + size, value, std::chars_format::fixed, precision);
    return ec == std::errc() ? end - out : -1;
}

} // namespace

QUnitValueBox::QUnitValueBox(QValueBox const& box, QString unit)
    : QValueBox(box)
    , unit(std::move(unit))
{
}

QUnitValueBox& QUnitValueBox::operator=(QUnitValueBox const&) = default;
QUnitValueBox& QUnitValueBox::operator=(QUnitValueBox&&) noexcept = default;
QUnitValueBox::~QUnitValueBox() = default;

QValueBoxFactory& QValueBoxFactory::setWidth(int width)
{
    m_width = width;
    return *this;
}

QValueBoxFactory& QValueBoxFactory::setPrecision(int precision)
{
    m_precision = precision;
    return *this;
}

QValueBox QValueBoxFactory::makeLazy(QString const& text)
{
    QStringView const s(text);
    qsizetype begin = 0;
    while (begin < s.size() && s[begin].isSpace())
        ++begin;
    qsizetype const end = scanNumber(s, begin);
    if (end < 0)
        return {};
    QStringView const number = s.mid(begin, end - begin);
    double value = 0.0;
    if (!toDouble(number, value))
        return {};

    QValueBox box;
    box.kind = 0;
    box.value = value;
    box.raw = value;
    box.text = isFormatted(number) ? intern(number) : format(value);
    box.suffix = intern(s.mid(end).trimmed());
    return box;
}

bool QValueBoxFactory::isFormatted(QStringView number) const
{
    if (m_width != 0 || m_precision <= 0)
        return false;
    qsizetype const first = number.startsWith(u'-') ? 1 : 0;
    qsizetype const point = number.indexOf(u'.');
    if (point <= first || number.size() - point - 1 != m_precision)
        return false;
    if (number[first] == u'0' && point != first + 1)
        return false;
    qsizetype digits = 0;
    bool zero = true;
    for (qsizetype i = first; i < number.size(); ++i) {
        if (i == point)
            continue;
        if (number[i] < u'0' || number[i] > u'9')
            return false;
        zero = zero && number[i] == u'0';
        ++digits;
    }
    // Up to 15 digits a decimal reads into a double and back unchanged; "-0.000" loses its sign.
    return digits <= 15 && !(zero && first == 1);
}

QString QValueBoxFactory::format(double value)
{
    // Formatted on the stack, so that a text already in the cache costs no allocation.
    char digits[400];
    qsizetype const length = fixedText(value, m_precision, digits, sizeof digits);
    if (length < 0)
        return QStringLiteral("%1").arg(value, m_width, 'f', m_precision); // a huge precision
    qsizetype const skip = dropNegativeZero(digits, length);
    qsizetype const size = length - skip;
    qsizetype const width = m_width < 0 ? -qsizetype(m_width) : qsizetype(m_width);
    qsizetype const pad = width > size ? width - size : 0;

    // Padded as QString::arg does: a positive width aligns right, a negative one left.
    QVarLengthArray<char16_t, 128> out(size + pad);
    char16_t* p = out.data();
    if (m_width > 0)
        p = std::fill_n(p, pad, u' ');
    p = std::copy(digits + skip, digits + length, p);
    if (m_width < 0)
        std::fill_n(p, pad, u' ');
    return intern(QStringView(out.data(), out.size()));
}

QString const& QValueBoxFactory::intern(QStringView text)
{
    static QString const empty;
    if (text.isEmpty())
        return empty;
    QString* const set = m_cache.data() + (qHash(text, 0) % kCacheSets) * kCacheWays;
    int way = 0;
    while (way < kCacheWays && set[way] != text)
        ++way;
    if (way == kCacheWays) {
        way = kCacheWays - 1; // the least recently used entry gives way
        set[way] = text.toString();
    }
    std::rotate(set, set + way, set + way + 1); // most recently used first
    return set[0];
}

} // namespace zelt::measure
