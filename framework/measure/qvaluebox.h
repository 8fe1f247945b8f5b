#pragma once
// Value boxes: a number read from the instrument with its text, suffix and unit,
// and the factory that reads them from the instrument's number texts.

#include "measure/zelt_measure_export.h"

#include <QString>
#include <QStringView>

#include <array>
#include <limits>

namespace zelt::measure {

class ZELT_MEASURE_EXPORT QValueBox
{
public:
    QValueBox() = default;

    // 0: the box holds a reading; anything else: nothing was read.
    int kind = 1;
    double value = std::numeric_limits<double>::quiet_NaN();
    // The value as the instrument wrote it, before rounding to the precision.
    double raw = std::numeric_limits<double>::quiet_NaN();
    // Trailing text after the number, such as a unit the instrument appended.
    QString suffix;
    // The number at the factory's precision (and width).
    QString text;
    double scale = 1.0;
};

class ZELT_MEASURE_EXPORT QUnitValueBox : public QValueBox
{
public:
    QUnitValueBox() = default;
    QUnitValueBox(QValueBox const& box, QString unit);
    QUnitValueBox(QUnitValueBox const&) = default;
    QUnitValueBox(QUnitValueBox&&) noexcept = default;
    QUnitValueBox& operator=(QUnitValueBox const&);
    QUnitValueBox& operator=(QUnitValueBox&&) noexcept;
    ~QUnitValueBox();

    QString unit;
};

// Reads number texts such as "12.000", "+1.25E1", "-0.5 V" or "3.2mA" into boxes.
// A text reads as a number when it begins, after blanks, with a decimal number
// in any SCPI form; whatever follows the number, blanks trimmed, is the suffix.
// Texts that repeat (set values read back every cycle) share one string buffer,
// so that a long history of samples does not hold a copy of each per box.
// The number is formatted in fixed notation with the precision's decimals; a
// negative precision gives the shortest fixed text that reads back as the same
// value. A non-zero width pads with blanks as QString::arg does (negative: left
// aligned). A value that rounds to zero carries no minus sign. value and raw both
// hold the number as read. Not thread-safe: one factory per thread.
class ZELT_MEASURE_EXPORT QValueBoxFactory
{
public:
    QValueBoxFactory& setWidth(int width);
    QValueBoxFactory& setPrecision(int precision);
    int width() const { return m_width; }
    int precision() const { return m_precision; }

    // kind 0, value, raw, text and suffix for a number text; a default box
    // (kind 1, NaN, empty texts) for anything else.
    QValueBox makeLazy(QString const& text);

private:
    // Whether the number as read (scanned, not yet converted) is already the text that
    // format() would make of it, as instruments write their readings: then it needs no formatting.
    bool isFormatted(QStringView number) const;
    QString format(double value);
    // A small set-associative cache keyed by the text's hash: a hit hands out the
    // cached buffer. Texts read every cycle stay, since each use makes its entry the
    // most recent of its set, while a reading seen once soon gives way. Several ways
    // per set keep two steady texts whose hashes meet from pushing each other out.
    QString const& intern(QStringView text);

    int m_width = 0;
    int m_precision = 3;
    static constexpr int kCacheSets = 64;
    static constexpr int kCacheWays = 8;
    std::array<QString, std::size_t(kCacheSets) * kCacheWays> m_cache;
};

} // namespace zelt::measure
