#pragma once
// The KVR9000's SCPI vocabulary: every command text, the sign words of the queue,
// the power-mode and slew-rate words, and the helpers that turn answers into value boxes.

#include "measure/qvaluebox.h"

#include <QRegularExpression>
#include <QString>
#include <QtGlobal>

// Display texts of the power modes, in the order of the mode words below; translated
// by the window in the context "KVR9000".
inline constexpr char const* kPowerModelText[6] = {
    QT_TRANSLATE_NOOP("KVR9000", "Normal"),         QT_TRANSLATE_NOOP("KVR9000", "Parallel Master"),
    QT_TRANSLATE_NOOP("KVR9000", "Parallel Slave"), QT_TRANSLATE_NOOP("KVR9000", "Series Master"),
    QT_TRANSLATE_NOOP("KVR9000", "Series Slave"),   QT_TRANSLATE_NOOP("KVR9000", "Ext-V"),
};
inline constexpr char const* kPowerModelSimplyText[6] = {
    QT_TRANSLATE_NOOP("KVR9000", "Normal"),  QT_TRANSLATE_NOOP("KVR9000", "P Master"),
    QT_TRANSLATE_NOOP("KVR9000", "P Slave"), QT_TRANSLATE_NOOP("KVR9000", "S Master"),
    QT_TRANSLATE_NOOP("KVR9000", "S Slave"), QT_TRANSLATE_NOOP("KVR9000", "Ext-V"),
};

namespace dmmhelper {

// Measurements, outputs and sources.
inline constexpr char const* kCmdMeasureAll = ":MEASure:ALL";
inline constexpr char const* kCmdMeasureParallelAll = ":MEASure:PARALLEL:ALL";
inline constexpr char const* kCmdMeasureSeriesALL = ":MEASure:SERIES:ALL";
inline constexpr char const* kCmdSourceVoltage = ":SOURce:VOLTage:LEVel";
inline constexpr char const* kCmdSourceCurrent = ":SOURce:CURRent:LEVel";
inline constexpr char const* kCmdSourceVoltageProtection = ":SOURce:VOLTage:PROTection:LEVel";
inline constexpr char const* kCmdSourceVoltageProtectionState = ":SOURce:VOLTage:PROTection:STATe";
inline constexpr char const* kCmdSourceVoltageProtectionClear = ":SOURce:VOLTage:PROTection:CLEar";
inline constexpr char const* kCmdSourceCurrentProtection = ":SOURce:CURRent:PROTection:LEVel";
inline constexpr char const* kCmdSourceCurrentProtectionState = ":SOURce:CURRent:PROTection:STATe";
// Without ":SOURce", unlike its voltage twin: the instrument takes both forms.
inline constexpr char const* kCmdSourceCurrentProtectionClear = ":CURRent:PROTection:CLEar";
inline constexpr char const* kCmdSourceVoltageSlewRising = ":SOURce:VOLTage:SLEW:RISing";
inline constexpr char const* kCmdSourceVoltageSlewFalling = ":SOURce:VOLTage:SLEW:FALLing";
inline constexpr char const* kCmdSourceCurrentSlewRising = ":SOURce:CURRent:SLEW:RISing";
inline constexpr char const* kCmdSourceCurrentSlewFalling = ":SOURce:CURRent:SLEW:FALLing";
inline constexpr char const* kCmdSourceResistance = ":RESistance";
inline constexpr char const* kCmdOutputState = ":OUTPut:STATe";
inline constexpr char const* kCmdOutputMode = ":OUTPut:MODE";
inline constexpr char const* kCmdOutputCVCC = ":OUTPut:CVCC";
inline constexpr char const* kCmdOutputOvpTriped = ":OUTPut:OVP:TRIPed";
inline constexpr char const* kCmdOutputOcpTriped = ":OUTPut:OCP:TRIPed";

// System group.
inline constexpr char const* kCmdSystemRemote = ":SYSTem:REMote";
inline constexpr char const* kCmdSystemLocal = ":SYSTem:LOCal";
inline constexpr char const* kCmdSystemBeeper = ":SYSTem:BEEPer:STATe";
inline constexpr char const* kCmdSystemBrightness = ":SYSTem:BRIGhtness";
inline constexpr char const* kCmdSystemPowerDown = ":SYSTem:POWER:POWERDown";
inline constexpr char const* kCmdSystemPowerMode = ":SYSTem:POWER:MODE";
inline constexpr char const* kCmdSystemPowerID = ":SYSTem:POWER:ID";
inline constexpr char const* kCmdSystemPowerPowerOut = ":SYSTem:POWER:POWEROut";
inline constexpr char const* kCmdSystemPowerOVPDelay = ":SYSTem:POWER:OVPDelay";
inline constexpr char const* kCmdSystemPowerOCPDelay = ":SYSTem:POWER:OCPDelay";
inline constexpr char const* kCmdSystemPowerEloadState = ":SYSTem:POWER:ELOAD:STATe";

// List and delayer.
inline constexpr char const* kCmdListoutState = ":LISTout:STATe";
inline constexpr char const* kCmdListoutBase = ":LISTout:BASE";
inline constexpr char const* kCmdListoutParam = ":LISTout:PARAmeter";
inline constexpr char const* kCmdListoutGroupParameter = kCmdListoutParam;
inline constexpr char const* kCmdDelayState = ":DELAY:STATe";
inline constexpr char const* kCmdDelayCycles = ":DELAY:CYCLEs";
inline constexpr char const* kCmdDelayEndState = ":DELAY:ENDState";
inline constexpr char const* kCmdDelayParam = ":DELAY:PARAmeter";
inline constexpr char const* kCmdDelayGroupParameter = kCmdDelayParam;
inline constexpr char const* kCmdDelayStart = ":DELAY:STARt";
inline constexpr char const* kCmdDelayGroups = ":DELAY:GROUPs";
inline constexpr char const* kCmdDelayStop = ":DELAY:STOP";

// Sign words: queue entries that are never sent. They are matched by their
// beginning, so none may begin another.
inline constexpr char const* kCmdMeasureBeginSign = "Measure begin";
inline constexpr char const* kCmdMeasureEndSign = "Measure end";
inline constexpr char const* kCmdListQueryStateBegin = "List Query State begin";
inline constexpr char const* kCmdListQueryStateEnd = "List Query State end";
inline constexpr char const* kCmdListQueryNumBegin = "List Query Num begin";
inline constexpr char const* kCmdListQueryNumEnd = "List Query Num end";
inline constexpr char const* kCmdDelayQueryStateBegin = "Delayer Query State begin";
inline constexpr char const* kCmdDelayQueryStateEnd = "Delayer Query State end";
inline constexpr char const* kCmdDelayQueryNumBegin = "Delayer Query Num begin";
inline constexpr char const* kCmdDelayQueryNumEnd = "Delayer Query Num end";

// Power-mode words as the instrument sends and takes them.
inline constexpr char const* kPowerModeNormal = "Normal";
inline constexpr char const* kPowerModePARAMaster = "PARAMaster";
inline constexpr char const* kPowerModePARASlave = "PARASlave";
inline constexpr char const* kPowerModeSERMaster = "SERMaster";
inline constexpr char const* kPowerModeSERSlave = "SERSlave";
inline constexpr char const* kPowerModeExtV = "EXT_V";

// Slew-rate modes: high speed and slew-rate controlled, each for CV and CC.
inline constexpr char const* kSlewRateModeVHS = "VHS";
inline constexpr char const* kSlewRateModeIHS = "IHS";
inline constexpr char const* kSlewRateModeVSR = "VSR";
inline constexpr char const* kSlewRateModeISR = "ISR";
// A combo box index maps through this order.
inline constexpr char const* kSlewRageModeText[4]
    = {kSlewRateModeVHS, kSlewRateModeIHS, kSlewRateModeVSR, kSlewRateModeISR};

// Units of the decoded boxes. Shared objects, so that the boxes of a sample hold
// no copy of their own.
extern QString const kUnitVolt;
extern QString const kUnitAmpere;
extern QString const kUnitWatt;
extern QString const kUnitVoltPerSecond;
extern QString const kUnitAmperePerSecond;
extern QString const kUnitOhm;

// Set its pattern before each use; GUI thread only.
extern QRegularExpression regExp;
extern zelt::measure::QValueBoxFactory vbFactory;

// The display text of a power-mode word (case-sensitive); empty for an unknown word.
QString getPowerModeText(QString const& mode);

// The box's text followed by its suffix.
QString VBText(zelt::measure::QValueBox const& box);

zelt::measure::QUnitValueBox makeUVB(QString const& text, int width, int precision, QString const& unit);
zelt::measure::QUnitValueBox makeAUVB(QString const& text);
zelt::measure::QUnitValueBox makeVUVB(QString const& text);

// A word that the instrument repeats every cycle (CV/CC, mode and end-state words)
// as one shared string, so that a retained sample holds no copy of its own.
// Unknown texts come back as they are.
QString internWord(QString const& word);

} // namespace dmmhelper
