#include "driver/dmmhelper.h"

#include <iterator>

namespace dmmhelper {

QString const kUnitVolt = QStringLiteral("V");
QString const kUnitAmpere = QStringLiteral("A");
QString const kUnitWatt = QStringLiteral("W");
QString const kUnitVoltPerSecond = QStringLiteral("V/s");
QString const kUnitAmperePerSecond = QStringLiteral("A/s");
QString const kUnitOhm = QStringLiteral("\u03A9");

QRegularExpression regExp;
zelt::measure::QValueBoxFactory vbFactory;

namespace {

QString const kPowerModeWords[6] = {
    QString::fromLatin1(kPowerModeNormal),    QString::fromLatin1(kPowerModePARAMaster),
    QString::fromLatin1(kPowerModePARASlave), QString::fromLatin1(kPowerModeSERMaster),
    QString::fromLatin1(kPowerModeSERSlave),  QString::fromLatin1(kPowerModeExtV),
};

// Literal-backed strings: copies of them share static data and allocate nothing.
QString const kKnownWords[] = {
    QStringLiteral("CV"),        QStringLiteral("CC"),         QStringLiteral("VHS"),
    QStringLiteral("IHS"),       QStringLiteral("VSR"),        QStringLiteral("ISR"),
    QStringLiteral("Normal"),    QStringLiteral("PARAMaster"), QStringLiteral("PARASlave"),
    QStringLiteral("SERMaster"), QStringLiteral("SERSlave"),   QStringLiteral("EXT_V"),
    QStringLiteral("OFF"),       QStringLiteral("ON"),         QStringLiteral("KEEP"),
    QStringLiteral("LAST"),      QStringLiteral("None"),
};

} // namespace

QString getPowerModeText(QString const& mode)
{
    for (int i = 0; i < int(std::size(kPowerModeWords)); ++i) {
        if (mode == kPowerModeWords[i])
            return QString::fromLatin1(kPowerModelText[i]);
    }
    return {};
}

QString VBText(zelt::measure::QValueBox const& box)
{
    return QStringLiteral("%1%2").arg(box.text, box.suffix);
}

zelt::measure::QUnitValueBox makeUVB(QString const& text, int width, int precision, QString const& unit)
{
    zelt::measure::QValueBox const box = vbFactory.setWidth(width).setPrecision(precision).makeLazy(text);
    zelt::measure::QUnitValueBox result;
    result.kind = box.kind;
    result.value = box.value;
    result.raw = box.raw;
    result.suffix = box.suffix;
    result.text = box.text;
    result.scale = box.scale;
    result.unit = unit;
    return result;
}

zelt::measure::QUnitValueBox makeAUVB(QString const& text)
{
    return makeUVB(text, 0, 3, kUnitAmpere);
}

zelt::measure::QUnitValueBox makeVUVB(QString const& text)
{
    return makeUVB(text, 0, 3, kUnitVolt);
}

QString internWord(QString const& word)
{
    for (QString const& known : kKnownWords) {
        if (word.size() == known.size() && word == known)
            return known;
    }
    return word;
}

} // namespace dmmhelper
