#include "simulator/kvrcommandset.h"

#include "simulator/kvrinstrument.h"
#include "simulator/scpierror.h"
#include "simulator/scpivalue.h"

namespace kvrsim {

namespace {

constexpr int kVoltageDecimals = 3;
constexpr int kPowerDecimals = 3;
constexpr int kRateDecimals = 3;
constexpr int kResistanceDecimals = 3;
constexpr int kTimeDecimals = 1;

} // namespace

KvrCommandSet::KvrCommandSet(KvrInstrument& instrument)
    : m_instrument(instrument)
{
    build();
}

std::optional<QString> KvrCommandSet::execute(QString const& line)
{
    QString const text = line.trimmed();
    if (text.isEmpty())
        return std::nullopt;
    int split = 0;
    while (split < text.size() && !text[split].isSpace())
        ++split;
    QString header = text.left(split);
    Request request;
    request.argText = text.mid(split).trimmed();
    if (!request.argText.isEmpty()) {
        for (QString const& arg : request.argText.split(QLatin1Char(',')))
            request.args.append(arg.trimmed());
    }

    bool const query = header.endsWith(QLatin1Char('?'));
    if (query)
        header.chop(1);
    if (header.startsWith(QLatin1Char(':')))
        header.remove(0, 1);
    QStringList const keywords = header.split(QLatin1Char(':'));

    Entry const* found = nullptr;
    for (Entry const& entry : m_entries) {
        if ((query ? bool(entry.query) : bool(entry.set)) && entry.pattern.matches(keywords)) {
            found = &entry;
            break;
        }
    }
    if (!found) {
        m_instrument.pushError(ScpiError::kUndefinedHeader);
        return std::nullopt;
    }
    if (!query) {
        m_instrument.pushError(found->set(request));
        return std::nullopt;
    }
    if (!found->queryTakesArgs && !request.argText.isEmpty()) {
        m_instrument.pushError(ScpiError::kParameterNotAllowed);
        return std::nullopt;
    }
    QString answer;
    int const error = found->query(request, answer);
    if (error != ScpiError::kNone) {
        m_instrument.pushError(error);
        return std::nullopt;
    }
    return answer;
}

// ---- table helpers

void KvrCommandSet::add(QString const& pattern, QueryFn query, SetFn set, bool queryTakesArgs)
{
    m_entries.append(Entry {ScpiPattern(pattern), std::move(query), std::move(set), queryTakesArgs});
}

int KvrCommandSet::singleArg(Request const& request, QString& arg)
{
    if (request.args.isEmpty())
        return ScpiError::kMissingParameter;
    if (request.args.size() > 1)
        return ScpiError::kParameterNotAllowed;
    arg = request.args.first();
    return ScpiError::kNone;
}

int KvrCommandSet::argCount(Request const& request, int count)
{
    if (request.args.size() < count)
        return ScpiError::kMissingParameter;
    if (request.args.size() > count)
        return ScpiError::kParameterNotAllowed;
    return ScpiError::kNone;
}

std::optional<QString> KvrCommandSet::canonicalWord(QStringList const& words, QString const& text)
{
    for (QString const& word : words) {
        if (word.compare(text, Qt::CaseInsensitive) == 0)
            return word;
    }
    return std::nullopt;
}

void KvrCommandSet::addNumber(QString const& pattern, std::function<double()> get, int decimals,
                              std::function<int(double)> set)
{
    add(
        pattern,
        [get, decimals](Request const&, QString& answer) {
            answer = ScpiValue::fixed(get(), decimals);
            return ScpiError::kNone;
        },
        [set](Request const& request) {
            QString arg;
            if (int const error = singleArg(request, arg))
                return error;
            std::optional<double> const value = ScpiValue::toNumber(arg);
            return value ? set(*value) : ScpiError::kDataType;
        });
}

void KvrCommandSet::addBoolean(QString const& pattern, std::function<bool()> get,
                               std::function<int(bool)> set)
{
    add(
        pattern,
        [get](Request const&, QString& answer) {
            answer = ScpiValue::boolean(get());
            return ScpiError::kNone;
        },
        [set](Request const& request) {
            QString arg;
            if (int const error = singleArg(request, arg))
                return error;
            std::optional<bool> const value = ScpiValue::toBoolean(arg);
            return value ? set(*value) : ScpiError::kDataType;
        });
}

void KvrCommandSet::addInteger(QString const& pattern, std::function<int()> get,
                               std::function<int(qint64)> set, bool rounded)
{
    add(
        pattern,
        [get](Request const&, QString& answer) {
            answer = QString::number(get());
            return ScpiError::kNone;
        },
        [set, rounded](Request const& request) {
            QString arg;
            if (int const error = singleArg(request, arg))
                return error;
            std::optional<qint64> const value
                = rounded ? ScpiValue::toRoundedInteger(arg) : ScpiValue::toInteger(arg);
            return value ? set(*value) : ScpiError::kDataType;
        });
}

void KvrCommandSet::addWord(QString const& pattern, QStringList const& words, std::function<QString()> get,
                            std::function<int(QString const&)> set)
{
    add(
        pattern,
        [get](Request const&, QString& answer) {
            answer = get();
            return ScpiError::kNone;
        },
        [words, set](Request const& request) {
            QString arg;
            if (int const error = singleArg(request, arg))
                return error;
            std::optional<QString> const word = canonicalWord(words, arg);
            return word ? set(*word) : ScpiError::kDataType;
        });
}

void KvrCommandSet::addAction(QString const& pattern, std::function<int()> action)
{
    add(pattern, QueryFn(), [action](Request const& request) {
        if (!request.argText.isEmpty())
            return ScpiError::kParameterNotAllowed;
        return action();
    });
}

void KvrCommandSet::addQuery(QString const& pattern, std::function<QString()> get)
{
    add(
        pattern,
        [get](Request const&, QString& answer) {
            answer = get();
            return ScpiError::kNone;
        },
        SetFn());
}

QString KvrCommandSet::measureAnswer(double volts, double amps, double watts) const
{
    return QStringLiteral("%1,%2,%3")
        .arg(ScpiValue::fixed(volts, kVoltageDecimals),
             ScpiValue::fixed(amps, m_instrument.ratings().currentDecimals()),
             ScpiValue::fixed(watts, kPowerDecimals));
}

// ---- the table

void KvrCommandSet::build()
{
    KvrInstrument& inst = m_instrument;
    addQuery(QStringLiteral("*IDN"), [&inst] { return inst.identity(); });
    addAction(QStringLiteral("*RST"), [&inst] {
        inst.reset();
        return ScpiError::kNone;
    });
    addAction(QStringLiteral("*CLS"), [&inst] {
        inst.clearStatus();
        return ScpiError::kNone;
    });
    addQuery(QStringLiteral("*OPC"), [] { return QStringLiteral("1"); });
    addQuery(QStringLiteral("SYSTem:ERRor:[NEXT]"), [&inst] {
        QPair<int, QString> const error = inst.takeError();
        return QStringLiteral("%1,\"%2\"").arg(error.first).arg(error.second);
    });
    addNumber(
        QStringLiteral("SIMulation:LOAD"), [&inst] { return inst.load(); }, kResistanceDecimals,
        [&inst](double ohms) { return inst.setLoad(ohms); });

    buildSource();
    buildOutput();
    buildSystem();
    buildList();
    buildDelayer();
}

void KvrCommandSet::buildSource()
{
    KvrInstrument& inst = m_instrument;
    int const currentDecimals = inst.ratings().currentDecimals();
    addNumber(
        QStringLiteral("[SOURce]:VOLTage:[LEVel]"), [&inst] { return inst.settings().voltage; },
        kVoltageDecimals, [&inst](double v) { return inst.setVoltage(v); });
    addNumber(
        QStringLiteral("[SOURce]:CURRent:[LEVel]"), [&inst] { return inst.settings().current; },
        currentDecimals, [&inst](double a) { return inst.setCurrent(a); });
    addNumber(
        QStringLiteral("[SOURce]:VOLTage:PROTection:[LEVel]"), [&inst] { return inst.settings().ovpLevel; },
        kVoltageDecimals, [&inst](double v) { return inst.setOvpLevel(v); });
    addBoolean(
        QStringLiteral("[SOURce]:VOLTage:PROTection:STATe"), [&inst] { return inst.settings().ovpEnabled; },
        [&inst](bool on) { return inst.setOvpEnabled(on); });
    addAction(QStringLiteral("[SOURce]:VOLTage:PROTection:CLEar"), [&inst] { return inst.clearOvp(); });
    addNumber(
        QStringLiteral("[SOURce]:CURRent:PROTection:[LEVel]"), [&inst] { return inst.settings().ocpLevel; },
        currentDecimals, [&inst](double a) { return inst.setOcpLevel(a); });
    addBoolean(
        QStringLiteral("[SOURce]:CURRent:PROTection:STATe"), [&inst] { return inst.settings().ocpEnabled; },
        [&inst](bool on) { return inst.setOcpEnabled(on); });
    addAction(QStringLiteral("[SOURce]:CURRent:PROTection:CLEar"), [&inst] { return inst.clearOcp(); });
    addNumber(
        QStringLiteral("[SOURce]:VOLTage:SLEW:RISing"), [&inst] { return inst.settings().voltageRising; },
        kRateDecimals, [&inst](double r) { return inst.setVoltageRising(r); });
    addNumber(
        QStringLiteral("[SOURce]:VOLTage:SLEW:FALLing"), [&inst] { return inst.settings().voltageFalling; },
        kRateDecimals, [&inst](double r) { return inst.setVoltageFalling(r); });
    addNumber(
        QStringLiteral("[SOURce]:CURRent:SLEW:RISing"), [&inst] { return inst.settings().currentRising; },
        kRateDecimals, [&inst](double r) { return inst.setCurrentRising(r); });
    addNumber(
        QStringLiteral("[SOURce]:CURRent:SLEW:FALLing"), [&inst] { return inst.settings().currentFalling; },
        kRateDecimals, [&inst](double r) { return inst.setCurrentFalling(r); });
    addNumber(
        QStringLiteral("[SOURce]:RESistance"), [&inst] { return inst.settings().resistance; },
        kResistanceDecimals, [&inst](double r) { return inst.setResistance(r); });
}

void KvrCommandSet::buildOutput()
{
    KvrInstrument& inst = m_instrument;
    addBoolean(
        QStringLiteral("OUTPut:[STATe]"), [&inst] { return inst.outputOn(); },
        [&inst](bool on) { return inst.setOutput(on); });
    addWord(
        QStringLiteral("OUTPut:MODE"), KvrInstrument::outputModes(),
        [&inst] { return inst.settings().outputMode; },
        [&inst](QString const& mode) { return inst.setOutputMode(mode); });
    addQuery(QStringLiteral("OUTPut:CVCC"),
             [&inst] { return inst.output().constantCurrent ? QStringLiteral("CC") : QStringLiteral("CV"); });
    addQuery(QStringLiteral("OUTPut:OVP:TRIPed"), [&inst] { return ScpiValue::boolean(inst.ovpTripped()); });
    addQuery(QStringLiteral("OUTPut:OCP:TRIPed"), [&inst] { return ScpiValue::boolean(inst.ocpTripped()); });
    addQuery(QStringLiteral("MEASure:ALL"), [this] {
        KvrOutput const out = m_instrument.measure();
        return measureAnswer(out.volts, out.amps, out.watts);
    });
    addQuery(QStringLiteral("MEASure:PARALLEL:ALL"), [this] {
        KvrOutput const out = m_instrument.measureParallel();
        return measureAnswer(out.volts, out.amps, out.watts);
    });
    addQuery(QStringLiteral("MEASure:SERIES:ALL"), [this] {
        KvrOutput const out = m_instrument.measureSeries();
        return measureAnswer(out.volts, out.amps, out.watts);
    });
    addQuery(QStringLiteral("MEASure:VOLTage"),
             [&inst] { return ScpiValue::fixed(inst.measure().volts, kVoltageDecimals); });
    addQuery(QStringLiteral("MEASure:CURRent"),
             [&inst] { return ScpiValue::fixed(inst.measure().amps, inst.ratings().currentDecimals()); });
    addQuery(QStringLiteral("MEASure:POWer"),
             [&inst] { return ScpiValue::fixed(inst.measure().watts, kPowerDecimals); });
}

void KvrCommandSet::buildSystem()
{
    KvrInstrument& inst = m_instrument;
    addAction(QStringLiteral("SYSTem:REMote"), [] { return ScpiError::kNone; });
    addAction(QStringLiteral("SYSTem:LOCal"), [] { return ScpiError::kNone; });
    addBoolean(
        QStringLiteral("SYSTem:BEEPer:[STATe]"), [&inst] { return inst.settings().beeper; },
        [&inst](bool on) { return inst.setBeeper(on); });
    addInteger(
        QStringLiteral("SYSTem:BRIGhtness"), [&inst] { return inst.settings().brightness; },
        [&inst](qint64 v) { return inst.setBrightness(v); }, true);
    addBoolean(
        QStringLiteral("SYSTem:POWER:POWERDown"), [&inst] { return inst.settings().powerDown; },
        [&inst](bool on) { return inst.setPowerDown(on); });
    addWord(
        QStringLiteral("SYSTem:POWER:MODE"), KvrInstrument::powerModes(),
        [&inst] { return inst.settings().powerMode; },
        [&inst](QString const& mode) { return inst.setPowerMode(mode); });
    addInteger(
        QStringLiteral("SYSTem:POWER:ID"), [&inst] { return inst.settings().powerId; },
        [&inst](qint64 id) { return inst.setPowerId(id); });
    addWord(
        QStringLiteral("SYSTem:POWER:POWEROut"), {QStringLiteral("OFF"), QStringLiteral("KEEP")},
        [&inst] { return inst.settings().powerOut; },
        [&inst](QString const& v) { return inst.setPowerOut(v); });
    addInteger(
        QStringLiteral("SYSTem:POWER:OVPDelay"), [&inst] { return inst.settings().ovpDelay; },
        [&inst](qint64 ms) { return inst.setOvpDelay(ms); }, true);
    addInteger(
        QStringLiteral("SYSTem:POWER:OCPDelay"), [&inst] { return inst.settings().ocpDelay; },
        [&inst](qint64 ms) { return inst.setOcpDelay(ms); }, true);
    addWord(
        QStringLiteral("SYSTem:POWER:ELOAD:[STATe]"), {QStringLiteral("OFF"), QStringLiteral("ON")},
        [&inst] { return inst.settings().eload; }, [&inst](QString const& v) { return inst.setEload(v); });
}

namespace {

// Reads "<start>,<count>" of an item query into a range of the 128 rows.
int itemRange(QStringList const& args, int& start, int& count)
{
    if (args.size() < 2)
        return ScpiError::kMissingParameter;
    if (args.size() > 2)
        return ScpiError::kParameterNotAllowed;
    std::optional<qint64> const first = ScpiValue::toInteger(args[0]);
    std::optional<qint64> const rows = ScpiValue::toInteger(args[1]);
    if (!first || !rows)
        return ScpiError::kDataType;
    if (*first < 0 || *rows < 1 || *first + *rows > KvrInstrument::kRows)
        return ScpiError::kOutOfRange;
    start = static_cast<int>(*first);
    count = static_cast<int>(*rows);
    return ScpiError::kNone;
}

int rowIndex(QString const& arg, int& row)
{
    std::optional<qint64> const value = ScpiValue::toInteger(arg);
    if (!value)
        return ScpiError::kDataType;
    if (*value < 0 || *value >= KvrInstrument::kRows)
        return ScpiError::kOutOfRange;
    row = static_cast<int>(*value);
    return ScpiError::kNone;
}

QString sequenceState(KvrSequenceRun const& run, double setVolts, QString const& endState)
{
    return QStringLiteral("%1,%2,%3,%4,%5,%6")
        .arg(ScpiValue::boolean(run.running), ScpiValue::fixed(setVolts, kVoltageDecimals))
        .arg(run.row)
        .arg(run.cycle)
        .arg(run.cyclesDone)
        .arg(endState);
}

} // namespace

// A sequence's state: queried as six fields, set with a boolean that runs or stops it.
void KvrCommandSet::addSequenceState(QString const& pattern, std::function<QString()> get,
                                     std::function<int(bool)> run)
{
    add(
        pattern,
        [get](Request const&, QString& answer) {
            answer = get();
            return ScpiError::kNone;
        },
        [run](Request const& request) {
            QString arg;
            if (int const error = singleArg(request, arg))
                return error;
            std::optional<bool> const on = ScpiValue::toBoolean(arg);
            return on ? run(*on) : ScpiError::kDataType;
        });
}

void KvrCommandSet::buildList()
{
    KvrInstrument& inst = m_instrument;
    addSequenceState(
        QStringLiteral("LISTout:STATe"),
        [&inst] { return sequenceState(inst.listRun(), inst.settings().voltage, inst.listBase().endState); },
        [&inst](bool run) { return inst.setListRunning(run); });
    add(
        QStringLiteral("LISTout:BASE"),
        [&inst](Request const&, QString& answer) {
            KvrListBase const& base = inst.listBase();
            answer = QStringLiteral("%1,%2,%3,%4")
                         .arg(base.start)
                         .arg(base.count)
                         .arg(base.cycles)
                         .arg(base.endState);
            return ScpiError::kNone;
        },
        [&inst](Request const& request) {
            if (int const error = argCount(request, 4))
                return error;
            std::optional<qint64> const start = ScpiValue::toInteger(request.args[0]);
            std::optional<qint64> const count = ScpiValue::toInteger(request.args[1]);
            std::optional<qint64> const cycles = ScpiValue::toInteger(request.args[2]);
            std::optional<QString> const end
                = canonicalWord({QStringLiteral("OFF"), QStringLiteral("ON")}, request.args[3]);
            if (!start || !count || !cycles || !end)
                return ScpiError::kDataType;
            if (inst.listRun().running)
                return ScpiError::kSettingsConflict;
            // Bounds first, so that the narrowing below keeps the value.
            if (*start < 0 || *start >= KvrInstrument::kRows || *count < 1 || *count > KvrInstrument::kRows
                || *cycles < 0 || *cycles > 99999)
                return ScpiError::kOutOfRange;
            KvrListBase base;
            base.start = static_cast<int>(*start);
            base.count = static_cast<int>(*count);
            base.cycles = static_cast<int>(*cycles);
            base.endState = *end;
            return inst.setListBase(base);
        });
    add(
        QStringLiteral("LISTout:PARAmeter"),
        [&inst](Request const& request, QString& answer) {
            int start = 0;
            int count = 0;
            if (int const error = itemRange(request.args, start, count))
                return error;
            QStringList rows;
            int const decimals = inst.ratings().currentDecimals();
            for (int row = start; row < start + count; ++row) {
                KvrListRow const& values = inst.listRow(row);
                rows.append(QStringLiteral("%1,%2,%3")
                                .arg(ScpiValue::fixed(values.volts, kVoltageDecimals),
                                     ScpiValue::fixed(values.amps, decimals),
                                     ScpiValue::fixed(values.seconds, kTimeDecimals)));
            }
            answer = rows.join(QLatin1Char(';'));
            return ScpiError::kNone;
        },
        [&inst](Request const& request) {
            if (int const error = argCount(request, 4))
                return error;
            int row = 0;
            if (int const error = rowIndex(request.args[0], row))
                return error;
            std::optional<double> const volts = ScpiValue::toNumber(request.args[1]);
            std::optional<double> const amps = ScpiValue::toNumber(request.args[2]);
            std::optional<double> const seconds = ScpiValue::toNumber(request.args[3]);
            if (!volts || !amps || !seconds)
                return ScpiError::kDataType;
            return inst.setListRow(row, KvrListRow {*volts, *amps, *seconds});
        },
        true);
}

void KvrCommandSet::buildDelayer()
{
    KvrInstrument& inst = m_instrument;
    addSequenceState(
        QStringLiteral("DELAY:STATe"),
        [&inst] {
            return sequenceState(inst.delayerRun(), inst.settings().voltage, inst.delayerBase().endState);
        },
        [&inst](bool run) { return inst.setDelayerRunning(run); });
    addInteger(
        QStringLiteral("DELAY:CYCLEs"), [&inst] { return inst.delayerBase().cycles; },
        [&inst](qint64 cycles) { return inst.setDelayerCycles(cycles); });
    addWord(
        QStringLiteral("DELAY:ENDState"),
        {QStringLiteral("OFF"), QStringLiteral("ON"), QStringLiteral("LAST")},
        [&inst] { return inst.delayerBase().endState; },
        [&inst](QString const& state) { return inst.setDelayerEndState(state); });
    addInteger(
        QStringLiteral("DELAY:STARt"), [&inst] { return inst.delayerBase().start; },
        [&inst](qint64 row) { return inst.setDelayerStart(row); });
    addInteger(
        QStringLiteral("DELAY:GROUPs"), [&inst] { return inst.delayerBase().groups; },
        [&inst](qint64 count) { return inst.setDelayerGroups(count); });
    add(
        QStringLiteral("DELAY:STOP"),
        [&inst](Request const&, QString& answer) {
            answer = inst.delayerBase().stopRule;
            return ScpiError::kNone;
        },
        [&inst](Request const& request) {
            // The rule holds a comma of its own: it is read whole.
            if (request.argText.isEmpty())
                return ScpiError::kMissingParameter;
            return inst.setDelayerStopRule(request.argText);
        });
    add(
        QStringLiteral("DELAY:PARAmeter"),
        [&inst](Request const& request, QString& answer) {
            int start = 0;
            int count = 0;
            if (int const error = itemRange(request.args, start, count))
                return error;
            QStringList fields;
            for (int row = start; row < start + count; ++row) {
                KvrDelayerRow const& values = inst.delayerRow(row);
                fields.append(ScpiValue::boolean(values.on));
                fields.append(ScpiValue::fixed(values.seconds, kTimeDecimals));
            }
            answer = fields.join(QLatin1Char(','));
            return ScpiError::kNone;
        },
        [&inst](Request const& request) {
            if (int const error = argCount(request, 3))
                return error;
            int row = 0;
            if (int const error = rowIndex(request.args[0], row))
                return error;
            std::optional<bool> const on = ScpiValue::toBoolean(request.args[1]);
            std::optional<double> const seconds = ScpiValue::toNumber(request.args[2]);
            if (!on || !seconds)
                return ScpiError::kDataType;
            return inst.setDelayerRow(row, KvrDelayerRow {*on, *seconds});
        },
        true);
}

} // namespace kvrsim
