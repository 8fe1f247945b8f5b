#include "simulator/kvrinstrument.h"

#include "simulator/kvrcommandset.h"
#include "simulator/scpierror.h"
#include "simulator/scpivalue.h"
#include "simulator/simclock.h"

#include <algorithm>
#include <cmath>

namespace kvrsim {

namespace {

constexpr double kMinSlewRate = 0.01;
constexpr double kMaxSlewRate = 840;
constexpr double kMaxResistance = 1;
constexpr double kMaxLoad = 1e9;
constexpr int kMaxCycles = 99999;
constexpr double kMinDwell = 0.1;
constexpr double kMaxDwell = 99999.9;
// While the output slews and something watches it, time moves in steps this fine so that
// a protection delay or a stop rule starts counting when the level is crossed.
constexpr qint64 kFineStepMsecs = 1;
// Compares settings against limits with room for the decimal text they came in.
constexpr double kTolerance = 1e-9;

bool within(double value, double low, double high)
{
    return value >= low - kTolerance && value <= high + kTolerance;
}

double approach(double value, double target, double up, double down, double seconds)
{
    if (target > value)
        return std::min(target, value + up * seconds);
    return std::max(target, value - down * seconds);
}

} // namespace

KvrInstrument::KvrInstrument(KvrRatings const& ratings, SimClock* clock, quint32 seed)
    : m_ratings(ratings)
    , m_clock(clock)
    , m_random(seed)
    , m_commands(std::make_unique<KvrCommandSet>(*this))
{
    m_time = m_clock ? m_clock->nowMsecs() : 0;
    for (KvrListRow& row : m_listRows)
        row.volts = m_ratings.minVoltage;
    reset();
}

KvrInstrument::~KvrInstrument() = default;

std::optional<QString> KvrInstrument::handleLine(QString const& line)
{
    advance();
    std::optional<QString> answer = m_commands->execute(line);
    syncRamps();
    evaluate();
    return answer;
}

void KvrInstrument::setClock(SimClock* clock)
{
    advance();
    m_clock = clock;
    // A new clock has its own scale: pending deadlines move with it.
    qint64 const now = m_clock ? m_clock->nowMsecs() : m_time;
    qint64 const shift = now - m_time;
    m_time = now;
    if (m_ovpOverSince)
        *m_ovpOverSince += shift;
    if (m_ocpOverSince)
        *m_ocpOverSince += shift;
    m_listRun.rowEnd += shift;
    m_delayerRun.rowEnd += shift;
}

void KvrInstrument::advance()
{
    if (m_clock)
        advanceTo(m_clock->nowMsecs());
}

void KvrInstrument::reset()
{
    m_settings = KvrSettings();
    m_settings.voltage = m_ratings.minVoltage;
    m_settings.current = 0;
    m_settings.ovpLevel = m_ratings.maxVoltage();
    m_settings.ocpLevel = m_ratings.maxCurrent();
    m_listRun.running = false;
    m_delayerRun.running = false;
    m_outputOn = false;
    m_rampVoltage = 0;
    m_rampCurrent = 0;
    m_ovpTripped = false;
    m_ocpTripped = false;
    m_ovpOverSince.reset();
    m_ocpOverSince.reset();
}

void KvrInstrument::clearStatus()
{
    m_errors.clear();
}

QString KvrInstrument::identity() const
{
    return QStringLiteral("KVR,%1,SIM9000001,1.03").arg(m_ratings.model);
}

// ---- settings

int KvrInstrument::setLoad(double ohms)
{
    if (!within(ohms, 0, kMaxLoad))
        return ScpiError::kOutOfRange;
    m_loadOhms = std::max(0.0, ohms);
    return ScpiError::kNone;
}

int KvrInstrument::setVoltage(double volts)
{
    // The set point follows the external signal in EXT_V.
    if (m_settings.powerMode == QLatin1String("EXT_V"))
        return ScpiError::kSettingsConflict;
    if (!within(volts, m_ratings.minVoltage, m_ratings.maxVoltage()))
        return ScpiError::kOutOfRange;
    m_settings.voltage = volts;
    return ScpiError::kNone;
}

int KvrInstrument::setCurrent(double amps)
{
    if (!within(amps, 0, m_ratings.maxCurrent()))
        return ScpiError::kOutOfRange;
    m_settings.current = std::max(0.0, amps);
    return ScpiError::kNone;
}

int KvrInstrument::setOvpLevel(double volts)
{
    if (!within(volts, m_ratings.minVoltage, m_ratings.maxVoltage()))
        return ScpiError::kOutOfRange;
    m_settings.ovpLevel = volts;
    return ScpiError::kNone;
}

int KvrInstrument::setOvpEnabled(bool on)
{
    m_settings.ovpEnabled = on;
    return ScpiError::kNone;
}

int KvrInstrument::clearOvp()
{
    m_ovpTripped = false;
    m_ovpOverSince.reset();
    return ScpiError::kNone;
}

int KvrInstrument::setOcpLevel(double amps)
{
    if (!within(amps, 0, m_ratings.maxCurrent()))
        return ScpiError::kOutOfRange;
    m_settings.ocpLevel = std::max(0.0, amps);
    return ScpiError::kNone;
}

int KvrInstrument::setOcpEnabled(bool on)
{
    m_settings.ocpEnabled = on;
    return ScpiError::kNone;
}

int KvrInstrument::clearOcp()
{
    m_ocpTripped = false;
    m_ocpOverSince.reset();
    return ScpiError::kNone;
}

int KvrInstrument::setVoltageRising(double rate)
{
    if (!within(rate, kMinSlewRate, kMaxSlewRate))
        return ScpiError::kOutOfRange;
    m_settings.voltageRising = rate;
    return ScpiError::kNone;
}

int KvrInstrument::setVoltageFalling(double rate)
{
    if (!within(rate, kMinSlewRate, kMaxSlewRate))
        return ScpiError::kOutOfRange;
    m_settings.voltageFalling = rate;
    return ScpiError::kNone;
}

int KvrInstrument::setCurrentRising(double rate)
{
    if (!within(rate, kMinSlewRate, kMaxSlewRate))
        return ScpiError::kOutOfRange;
    m_settings.currentRising = rate;
    return ScpiError::kNone;
}

int KvrInstrument::setCurrentFalling(double rate)
{
    if (!within(rate, kMinSlewRate, kMaxSlewRate))
        return ScpiError::kOutOfRange;
    m_settings.currentFalling = rate;
    return ScpiError::kNone;
}

int KvrInstrument::setResistance(double ohms)
{
    if (!within(ohms, 0, kMaxResistance))
        return ScpiError::kOutOfRange;
    m_settings.resistance = std::max(0.0, ohms);
    return ScpiError::kNone;
}

int KvrInstrument::setOutput(bool on)
{
    if (on && (m_ovpTripped || m_ocpTripped))
        return ScpiError::kSettingsConflict;
    // Switching by hand takes the output back from a running sequence.
    m_listRun.running = false;
    m_delayerRun.running = false;
    switchOutput(on);
    return ScpiError::kNone;
}

int KvrInstrument::setOutputMode(QString const& mode)
{
    if (!outputModes().contains(mode))
        return ScpiError::kDataType;
    m_settings.outputMode = mode;
    return ScpiError::kNone;
}

int KvrInstrument::setBeeper(bool on)
{
    m_settings.beeper = on;
    return ScpiError::kNone;
}

int KvrInstrument::setBrightness(qint64 value)
{
    if (value < 20 || value > 100)
        return ScpiError::kOutOfRange;
    m_settings.brightness = static_cast<int>(value);
    return ScpiError::kNone;
}

int KvrInstrument::setPowerDown(bool on)
{
    m_settings.powerDown = on;
    return ScpiError::kNone;
}

int KvrInstrument::setPowerMode(QString const& mode)
{
    if (!powerModes().contains(mode))
        return ScpiError::kDataType;
    m_settings.powerMode = mode;
    return ScpiError::kNone;
}

int KvrInstrument::setPowerId(qint64 id)
{
    if (id < 1 || id > 2)
        return ScpiError::kOutOfRange;
    m_settings.powerId = static_cast<int>(id);
    return ScpiError::kNone;
}

int KvrInstrument::setPowerOut(QString const& value)
{
    if (value != QLatin1String("OFF") && value != QLatin1String("KEEP"))
        return ScpiError::kDataType;
    m_settings.powerOut = value;
    return ScpiError::kNone;
}

int KvrInstrument::setOvpDelay(qint64 msecs)
{
    if (msecs < 10 || msecs > 10000)
        return ScpiError::kOutOfRange;
    m_settings.ovpDelay = static_cast<int>(msecs);
    return ScpiError::kNone;
}

int KvrInstrument::setOcpDelay(qint64 msecs)
{
    if (msecs < 10 || msecs > 10000)
        return ScpiError::kOutOfRange;
    m_settings.ocpDelay = static_cast<int>(msecs);
    return ScpiError::kNone;
}

int KvrInstrument::setEload(QString const& value)
{
    if (value != QLatin1String("OFF") && value != QLatin1String("ON"))
        return ScpiError::kDataType;
    m_settings.eload = value;
    return ScpiError::kNone;
}

QStringList const& KvrInstrument::outputModes()
{
    static QStringList const kModes
        = {QStringLiteral("VHS"), QStringLiteral("IHS"), QStringLiteral("VSR"), QStringLiteral("ISR")};
    return kModes;
}

QStringList const& KvrInstrument::powerModes()
{
    static QStringList const kModes
        = {QStringLiteral("Normal"),    QStringLiteral("PARAMaster"), QStringLiteral("PARASlave"),
           QStringLiteral("SERMaster"), QStringLiteral("SERSlave"),   QStringLiteral("EXT_V")};
    return kModes;
}

// ---- output physics

KvrOutput KvrInstrument::output() const
{
    KvrOutput out;
    if (!m_outputOn)
        return out;
    double const setVolts = m_rampVoltage;
    double const setAmps = m_rampCurrent;
    double const load = m_loadOhms;
    double const total = load + m_settings.resistance;
    // Constant voltage behind the internal resistance, unless that draws more than the set current.
    double amps = total > 0 ? setVolts / total : HUGE_VAL;
    if (amps > setAmps) {
        amps = setAmps;
        out.constantCurrent = true;
    }
    double volts = amps * load;
    // The rated power caps the product; the unit then regulates the current.
    if (volts * amps > m_ratings.power && load > 0) {
        amps = std::sqrt(m_ratings.power / load);
        volts = amps * load;
        out.constantCurrent = true;
    }
    out.volts = volts;
    out.amps = amps;
    out.watts = volts * amps;
    return out;
}

double KvrInstrument::noisy(double value, double range)
{
    if (m_noise <= 0)
        return value;
    double const offset = (m_random.generateDouble() * 2.0 - 1.0) * m_noise * range;
    return std::max(0.0, value + offset);
}

KvrOutput KvrInstrument::measure()
{
    KvrOutput out = output();
    if (!m_outputOn)
        return out;
    out.volts = noisy(out.volts, m_ratings.voltage);
    out.amps = noisy(out.amps, m_ratings.current);
    out.watts = out.volts * out.amps;
    return out;
}

KvrOutput KvrInstrument::measureParallel()
{
    KvrOutput out = measure();
    QString const& mode = m_settings.powerMode;
    if (mode == QLatin1String("PARAMaster") || mode == QLatin1String("PARASlave")) {
        out.amps *= 2;
        out.watts *= 2;
    }
    return out;
}

KvrOutput KvrInstrument::measureSeries()
{
    KvrOutput out = measure();
    QString const& mode = m_settings.powerMode;
    if (mode == QLatin1String("SERMaster") || mode == QLatin1String("SERSlave")) {
        out.volts *= 2;
        out.watts *= 2;
    }
    return out;
}

double KvrInstrument::targetVoltage() const
{
    return m_outputOn ? m_settings.voltage : 0.0;
}

double KvrInstrument::targetCurrent() const
{
    return m_outputOn ? m_settings.current : 0.0;
}

void KvrInstrument::syncRamps()
{
    // Only the slewed quantity of the present mode moves gradually; the other follows at once.
    if (m_settings.outputMode != QLatin1String("VSR"))
        m_rampVoltage = targetVoltage();
    if (m_settings.outputMode != QLatin1String("ISR"))
        m_rampCurrent = targetCurrent();
}

bool KvrInstrument::slewing() const
{
    return m_rampVoltage != targetVoltage() || m_rampCurrent != targetCurrent();
}

void KvrInstrument::moveRamps(qint64 msecs)
{
    double const seconds = double(msecs) / 1000.0;
    m_rampVoltage = approach(m_rampVoltage, targetVoltage(), m_settings.voltageRising,
                             m_settings.voltageFalling, seconds);
    m_rampCurrent = approach(m_rampCurrent, targetCurrent(), m_settings.currentRising,
                             m_settings.currentFalling, seconds);
}

void KvrInstrument::switchOutput(bool on)
{
    if (on == m_outputOn)
        return;
    m_outputOn = on;
    // Switched off the output collapses; switched on in a slew mode it climbs from zero.
    m_rampVoltage = 0;
    m_rampCurrent = 0;
    syncRamps();
}

void KvrInstrument::trip(bool voltage)
{
    (voltage ? m_ovpTripped : m_ocpTripped) = true;
    m_ovpOverSince.reset();
    m_ocpOverSince.reset();
    m_listRun.running = false;
    m_delayerRun.running = false;
    switchOutput(false);
}

void KvrInstrument::advanceTo(qint64 now)
{
    syncRamps();
    evaluate();
    while (m_time < now) {
        qint64 step = now - m_time;
        if (m_listRun.running)
            step = std::min(step, m_listRun.rowEnd - m_time);
        if (m_delayerRun.running)
            step = std::min(step, m_delayerRun.rowEnd - m_time);
        if (m_ovpOverSince)
            step = std::min(step, *m_ovpOverSince + m_settings.ovpDelay - m_time);
        if (m_ocpOverSince)
            step = std::min(step, *m_ocpOverSince + m_settings.ocpDelay - m_time);
        bool const watched
            = m_settings.ovpEnabled || m_settings.ocpEnabled || (m_delayerRun.running && m_stopRule);
        if (watched && slewing())
            step = std::min(step, kFineStepMsecs);
        step = std::max<qint64>(step, 1);
        moveRamps(step);
        m_time += step;
        processSequences();
        syncRamps();
        evaluate();
    }
}

void KvrInstrument::evaluate()
{
    KvrOutput const out = output();
    checkProtection(out);
    checkStopRule(out);
}

void KvrInstrument::checkProtection(KvrOutput const& out)
{
    auto watch = [this](bool enabled, bool over, std::optional<qint64>& since, int delay) {
        if (!enabled || !over || !m_outputOn) {
            since.reset();
            return false;
        }
        if (!since)
            since = m_time;
        return m_time - *since >= delay;
    };
    if (watch(m_settings.ovpEnabled, out.volts > m_settings.ovpLevel + kTolerance, m_ovpOverSince,
              m_settings.ovpDelay))
        trip(true);
    else if (watch(m_settings.ocpEnabled, out.amps > m_settings.ocpLevel + kTolerance, m_ocpOverSince,
                   m_settings.ocpDelay))
        trip(false);
}

// ---- list and delayer

qint64 KvrInstrument::dwellMsecs(double seconds)
{
    return std::max<qint64>(1, std::llround(seconds * 1000.0));
}

void KvrInstrument::processSequences()
{
    while (m_listRun.running && m_time >= m_listRun.rowEnd)
        stepList();
    while (m_delayerRun.running && m_time >= m_delayerRun.rowEnd)
        stepDelayer();
}

int KvrInstrument::setListRunning(bool run)
{
    if (!run) {
        m_listRun.running = false;
        return ScpiError::kNone;
    }
    if (m_listRun.running)
        return ScpiError::kNone;
    if (m_delayerRun.running || m_ovpTripped || m_ocpTripped)
        return ScpiError::kSettingsConflict;
    m_listRun.running = true;
    m_listRun.row = m_listBase.start;
    m_listRun.cycle = 1;
    m_listRun.cyclesDone = 0;
    m_listRun.rowEnd = m_time;
    applyListRow();
    return ScpiError::kNone;
}

void KvrInstrument::applyListRow()
{
    KvrListRow const& row = m_listRows[static_cast<size_t>(m_listRun.row)];
    m_settings.voltage = row.volts;
    m_settings.current = row.amps;
    switchOutput(true);
    m_listRun.rowEnd += dwellMsecs(row.seconds);
}

void KvrInstrument::stepList()
{
    if (m_listRun.row + 1 < m_listBase.start + m_listBase.count) {
        ++m_listRun.row;
        applyListRow();
        return;
    }
    ++m_listRun.cyclesDone;
    if (m_listBase.cycles != 0 && m_listRun.cyclesDone >= m_listBase.cycles) {
        finishList();
        return;
    }
    ++m_listRun.cycle;
    m_listRun.row = m_listBase.start;
    applyListRow();
}

void KvrInstrument::finishList()
{
    m_listRun.running = false;
    // End state ON leaves the output at the last row's values, which are the set points now.
    if (m_listBase.endState != QLatin1String("ON"))
        switchOutput(false);
}

int KvrInstrument::setListBase(KvrListBase const& base)
{
    if (m_listRun.running)
        return ScpiError::kSettingsConflict;
    if (base.start < 0 || base.start >= kRows || base.count < 1 || base.start + base.count > kRows
        || base.cycles < 0 || base.cycles > kMaxCycles)
        return ScpiError::kOutOfRange;
    if (base.endState != QLatin1String("OFF") && base.endState != QLatin1String("ON"))
        return ScpiError::kDataType;
    m_listBase = base;
    return ScpiError::kNone;
}

int KvrInstrument::setListRow(int row, KvrListRow const& values)
{
    if (m_listRun.running)
        return ScpiError::kSettingsConflict;
    double const seconds = std::round(values.seconds * 10.0) / 10.0;
    if (row < 0 || row >= kRows || !within(values.volts, 0, m_ratings.maxVoltage())
        || !within(values.amps, 0, m_ratings.maxCurrent()) || !within(seconds, kMinDwell, kMaxDwell))
        return ScpiError::kOutOfRange;
    KvrListRow& stored = m_listRows[static_cast<size_t>(row)];
    stored.volts = std::max(0.0, values.volts);
    stored.amps = std::max(0.0, values.amps);
    stored.seconds = seconds;
    return ScpiError::kNone;
}

int KvrInstrument::setDelayerRunning(bool run)
{
    if (!run) {
        m_delayerRun.running = false;
        return ScpiError::kNone;
    }
    if (m_delayerRun.running)
        return ScpiError::kNone;
    if (m_listRun.running || m_ovpTripped || m_ocpTripped
        || m_delayerBase.start + m_delayerBase.groups > kRows)
        return ScpiError::kSettingsConflict;
    m_delayerRun.running = true;
    m_delayerRun.row = m_delayerBase.start;
    m_delayerRun.cycle = 1;
    m_delayerRun.cyclesDone = 0;
    m_delayerRun.rowEnd = m_time;
    // The rule watches for a crossing: a reading already past the value at the start doesn't stop it.
    m_stopRuleHeld = m_stopRule && stopRuleHolds(output());
    applyDelayerRow();
    return ScpiError::kNone;
}

void KvrInstrument::applyDelayerRow()
{
    KvrDelayerRow const& row = m_delayerRows[static_cast<size_t>(m_delayerRun.row)];
    switchOutput(row.on);
    m_delayerRun.rowEnd += dwellMsecs(row.seconds);
}

void KvrInstrument::stepDelayer()
{
    if (m_delayerRun.row + 1 < m_delayerBase.start + m_delayerBase.groups) {
        ++m_delayerRun.row;
        applyDelayerRow();
        return;
    }
    ++m_delayerRun.cyclesDone;
    if (m_delayerBase.cycles != 0 && m_delayerRun.cyclesDone >= m_delayerBase.cycles) {
        finishDelayer();
        return;
    }
    ++m_delayerRun.cycle;
    m_delayerRun.row = m_delayerBase.start;
    applyDelayerRow();
}

void KvrInstrument::finishDelayer()
{
    m_delayerRun.running = false;
    if (m_delayerBase.endState == QLatin1String("OFF"))
        switchOutput(false);
    else if (m_delayerBase.endState == QLatin1String("ON"))
        switchOutput(true);
}

bool KvrInstrument::stopRuleHolds(KvrOutput const& out) const
{
    if (!m_stopRule)
        return false;
    double reading = out.volts;
    if (m_stopRule->quantity == QLatin1Char('C'))
        reading = out.amps;
    else if (m_stopRule->quantity == QLatin1Char('P'))
        reading = out.watts;
    return m_stopRule->readingAbove ? reading > m_stopRule->value : reading < m_stopRule->value;
}

void KvrInstrument::checkStopRule(KvrOutput const& out)
{
    if (!m_delayerRun.running || !m_stopRule)
        return;
    bool const holds = stopRuleHolds(out);
    bool const crossed = holds && !m_stopRuleHeld;
    m_stopRuleHeld = holds;
    if (crossed)
        finishDelayer();
}

std::optional<KvrInstrument::StopRule> KvrInstrument::parseStopRule(QString const& rule)
{
    // <V|C|P><'<'|'>'>,<value>. The symbol sits between the value and the reading as the rule
    // reads from the value's side: V<,1.5 means 1.5 < V, V>,1.5 means 1.5 > V.
    QString const text = rule.trimmed();
    if (text.size() < 4 || text[2] != QLatin1Char(','))
        return std::nullopt;
    QChar const quantity = text[0].toUpper();
    if (quantity != QLatin1Char('V') && quantity != QLatin1Char('C') && quantity != QLatin1Char('P'))
        return std::nullopt;
    if (text[1] != QLatin1Char('<') && text[1] != QLatin1Char('>'))
        return std::nullopt;
    std::optional<double> const value = ScpiValue::toNumber(text.mid(3));
    if (!value)
        return std::nullopt;
    StopRule parsed;
    parsed.quantity = quantity;
    parsed.readingAbove = text[1] == QLatin1Char('<');
    parsed.value = *value;
    return parsed;
}

int KvrInstrument::setDelayerCycles(qint64 cycles)
{
    if (m_delayerRun.running)
        return ScpiError::kSettingsConflict;
    if (cycles < 0 || cycles > kMaxCycles)
        return ScpiError::kOutOfRange;
    m_delayerBase.cycles = static_cast<int>(cycles);
    return ScpiError::kNone;
}

int KvrInstrument::setDelayerEndState(QString const& state)
{
    if (m_delayerRun.running)
        return ScpiError::kSettingsConflict;
    if (state != QLatin1String("OFF") && state != QLatin1String("ON") && state != QLatin1String("LAST"))
        return ScpiError::kDataType;
    m_delayerBase.endState = state;
    return ScpiError::kNone;
}

int KvrInstrument::setDelayerStart(qint64 row)
{
    if (m_delayerRun.running)
        return ScpiError::kSettingsConflict;
    if (row < 0 || row >= kRows)
        return ScpiError::kOutOfRange;
    m_delayerBase.start = static_cast<int>(row);
    return ScpiError::kNone;
}

int KvrInstrument::setDelayerGroups(qint64 count)
{
    if (m_delayerRun.running)
        return ScpiError::kSettingsConflict;
    if (count < 1 || count > kRows)
        return ScpiError::kOutOfRange;
    m_delayerBase.groups = static_cast<int>(count);
    return ScpiError::kNone;
}

int KvrInstrument::setDelayerStopRule(QString const& rule)
{
    if (m_delayerRun.running)
        return ScpiError::kSettingsConflict;
    QString const text = rule.trimmed();
    if (text.compare(QLatin1String("None"), Qt::CaseInsensitive) == 0) {
        m_stopRule.reset();
        m_delayerBase.stopRule = QStringLiteral("None");
        return ScpiError::kNone;
    }
    std::optional<StopRule> const parsed = parseStopRule(text);
    if (!parsed)
        return ScpiError::kDataType;
    m_stopRule = parsed;
    m_delayerBase.stopRule = text;
    return ScpiError::kNone;
}

int KvrInstrument::setDelayerRow(int row, KvrDelayerRow const& values)
{
    if (m_delayerRun.running)
        return ScpiError::kSettingsConflict;
    double const seconds = std::round(values.seconds * 10.0) / 10.0;
    if (row < 0 || row >= kRows || !within(seconds, kMinDwell, kMaxDwell))
        return ScpiError::kOutOfRange;
    KvrDelayerRow& stored = m_delayerRows[static_cast<size_t>(row)];
    stored.on = values.on;
    stored.seconds = seconds;
    return ScpiError::kNone;
}

// ---- error queue

void KvrInstrument::pushError(int code)
{
    if (code == ScpiError::kNone)
        return;
    if (m_errors.size() >= kErrorQueueSize) {
        m_errors.last()
            = qMakePair(int(ScpiError::kQueueOverflow), ScpiError::text(ScpiError::kQueueOverflow));
        return;
    }
    m_errors.append(qMakePair(code, ScpiError::text(code)));
}

QPair<int, QString> KvrInstrument::takeError()
{
    if (m_errors.isEmpty())
        return qMakePair(int(ScpiError::kNone), ScpiError::text(ScpiError::kNone));
    return m_errors.takeFirst();
}

} // namespace kvrsim
