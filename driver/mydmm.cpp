#include "driver/mydmm.h"

#include "driver/dmmhelper.h"

#include "measure/commandbox.h"
#include "measure/wordbox.h"
#include "util/character.h"
#include "util/code.h"
#include "util/commandhandler.h"

#include <QDateTime>
#include <QDebug>
#include <QLatin1String>

#include <algorithm>
#include <cmath>
#include <iterator>
#include <limits>

using namespace dmmhelper;
using zelt::measure::CommandBox;
using zelt::measure::QUnitValueBox;
using zelt::measure::WordBox;
using zelt::measure::WordBoxFactory;
using zelt::util::StringCode;
using zelt::util::Word;
using zelt::util::character::Character;

QHash<QString, int> const MyDMM::m_channelFlagMap = {{QStringLiteral("CH1"), 1}};

namespace {

constexpr int kQueryTime = 5000;

// The formats in which the instrument gets numbers and booleans.
QString realText(double value)
{
    return QStringLiteral("%1").arg(value, 0, 'g', -1, QLatin1Char(' '));
}

QString intText(int value)
{
    return QStringLiteral("%1").arg(value, 0, 10, QLatin1Char(' '));
}

QString boolText(bool on)
{
    return Character::boolToStr(on, true);
}

// A decimal that doesn't read or doesn't fit in an int counts as 0.
int toInt(QString const& text)
{
    bool ok = false;
    int const value = text.toInt(&ok, 10);
    return ok ? value : 0;
}

int truncateToInt(double value)
{
    if (!std::isfinite(value) || value >= double(std::numeric_limits<int>::max()) + 1.0
        || value <= double(std::numeric_limits<int>::min()) - 1.0)
        return 0;
    return int(value);
}

QString const& wordText(QSharedPointer<Word> const& word)
{
    static QString const empty;
    if (!word)
        return empty;
    auto const* code = dynamic_cast<StringCode const*>(word->code().data());
    return code ? code->data() : empty;
}

// What an answer of the main ring is stored as, in the order in which the word
// texts are tested: the first prefix that fits decides.
enum class Field {
    PowerMode,
    MeasureAll,
    MeasureParallel,
    MeasureSeries,
    VoltageLevel,
    CurrentLevel,
    VoltageProtectionLevel,
    VoltageProtectionOn,
    VoltageProtectionTripped,
    CurrentProtectionLevel,
    CurrentProtectionOn,
    CurrentProtectionTripped,
    VoltageSlewRising,
    VoltageSlewFalling,
    CurrentSlewRising,
    CurrentSlewFalling,
    Resistance,
    OutputMode,
    OutputOn,
    Cvcc,
    Beeper,
    Brightness,
    PowerDown,
    PowerId,
    PowerOut,
    OvpDelay,
    OcpDelay,
    EloadState,
};

struct FieldPrefix
{
    QLatin1String prefix;
    Field field;
};

FieldPrefix const kFieldPrefixes[] = {
    {QLatin1String(kCmdSystemPowerMode), Field::PowerMode},
    {QLatin1String(kCmdMeasureAll), Field::MeasureAll},
    {QLatin1String(kCmdMeasureParallelAll), Field::MeasureParallel},
    {QLatin1String(kCmdMeasureSeriesALL), Field::MeasureSeries},
    {QLatin1String(kCmdSourceVoltage), Field::VoltageLevel},
    {QLatin1String(kCmdSourceCurrent), Field::CurrentLevel},
    {QLatin1String(kCmdSourceVoltageProtection), Field::VoltageProtectionLevel},
    {QLatin1String(kCmdSourceVoltageProtectionState), Field::VoltageProtectionOn},
    {QLatin1String(kCmdOutputOvpTriped), Field::VoltageProtectionTripped},
    {QLatin1String(kCmdSourceCurrentProtection), Field::CurrentProtectionLevel},
    {QLatin1String(kCmdSourceCurrentProtectionState), Field::CurrentProtectionOn},
    {QLatin1String(kCmdOutputOcpTriped), Field::CurrentProtectionTripped},
    {QLatin1String(kCmdSourceVoltageSlewRising), Field::VoltageSlewRising},
    {QLatin1String(kCmdSourceVoltageSlewFalling), Field::VoltageSlewFalling},
    {QLatin1String(kCmdSourceCurrentSlewRising), Field::CurrentSlewRising},
    {QLatin1String(kCmdSourceCurrentSlewFalling), Field::CurrentSlewFalling},
    {QLatin1String(kCmdSourceResistance), Field::Resistance},
    {QLatin1String(kCmdOutputMode), Field::OutputMode},
    {QLatin1String(kCmdOutputState), Field::OutputOn},
    {QLatin1String(kCmdOutputCVCC), Field::Cvcc},
    {QLatin1String(kCmdSystemBeeper), Field::Beeper},
    {QLatin1String(kCmdSystemBrightness), Field::Brightness},
    {QLatin1String(kCmdSystemPowerDown), Field::PowerDown},
    {QLatin1String(kCmdSystemPowerID), Field::PowerId},
    {QLatin1String(kCmdSystemPowerPowerOut), Field::PowerOut},
    {QLatin1String(kCmdSystemPowerOVPDelay), Field::OvpDelay},
    {QLatin1String(kCmdSystemPowerOCPDelay), Field::OcpDelay},
    {QLatin1String(kCmdSystemPowerEloadState), Field::EloadState},
};

enum class Sign {
    MeasureBegin,
    MeasureEnd,
    ListStateBegin,
    ListStateEnd,
    ListNumBegin,
    ListNumEnd,
    DelayStateBegin,
    DelayStateEnd,
    DelayNumBegin,
    DelayNumEnd,
};

struct SignPrefix
{
    QLatin1String prefix;
    Sign sign;
};

SignPrefix const kSignPrefixes[] = {
    {QLatin1String(kCmdMeasureBeginSign), Sign::MeasureBegin},
    {QLatin1String(kCmdMeasureEndSign), Sign::MeasureEnd},
    {QLatin1String(kCmdListQueryStateBegin), Sign::ListStateBegin},
    {QLatin1String(kCmdListQueryStateEnd), Sign::ListStateEnd},
    {QLatin1String(kCmdListQueryNumBegin), Sign::ListNumBegin},
    {QLatin1String(kCmdListQueryNumEnd), Sign::ListNumEnd},
    {QLatin1String(kCmdDelayQueryStateBegin), Sign::DelayStateBegin},
    {QLatin1String(kCmdDelayQueryStateEnd), Sign::DelayStateEnd},
    {QLatin1String(kCmdDelayQueryNumBegin), Sign::DelayNumBegin},
    {QLatin1String(kCmdDelayQueryNumEnd), Sign::DelayNumEnd},
};

// The first entry of table whose prefix starts text, or -1.
template<typename Entry, size_t N> int prefixIndex(QString const& text, Entry const (&table)[N])
{
    for (size_t i = 0; i < N; ++i) {
        if (text.startsWith(table[i].prefix, Qt::CaseSensitive))
            return int(i);
    }
    return -1;
}

bool isParallelMode(QString const& mode)
{
    return mode == QLatin1String(kPowerModePARAMaster) || mode == QLatin1String(kPowerModePARASlave);
}

bool isSerialMode(QString const& mode)
{
    return mode == QLatin1String(kPowerModeSERMaster) || mode == QLatin1String(kPowerModeSERSlave);
}

} // namespace

MyDMM::MyDMM(ChannelLimitRange const& limit, QSharedPointer<zelt::measure::io::AbstractIO> io, bool flag,
             QObject* parent)
    : MeasureInst(std::move(io), flag, parent)
    , m_cmdBox(new CommandBox)
    , m_listBox(new CommandBox)
    , m_delayBox(new CommandBox)
    , m_handler(new zelt::util::gadget::CommandHandler)
{
    m_limits.append(limit);
    initCommandBox();
    bindCommandHandler();
}

MyDMM::~MyDMM()
{
    delete m_handler;
    delete m_cmdBox;
    delete m_listBox;
    delete m_delayBox;
}

bool MyDMM::open()
{
    if (active())
        return false;
    m_listAndDelayer.kind = 0;
    m_current.reset();
    m_powerMode.clear();
    return MeasureInst::open();
}

bool MyDMM::close()
{
    return active() ? MeasureInst::close(false) : false;
}

QList<QSharedPointer<WordBox>> MyDMM::initCommand()
{
    return makeNormalModeCommands();
}

void MyDMM::initCommandBox()
{
    m_cmdBox->append(QList<QString> {
        QString::fromLatin1(kCmdMeasureAll),
        QString::fromLatin1(kCmdMeasureParallelAll),
        QString::fromLatin1(kCmdMeasureSeriesALL),
        QString::fromLatin1(kCmdSourceVoltage),
        QString::fromLatin1(kCmdSourceCurrent),
        QString::fromLatin1(kCmdOutputMode),
        QString::fromLatin1(kCmdOutputState),
        QString::fromLatin1(kCmdOutputCVCC),
        QString::fromLatin1(kCmdSourceResistance),
        QString::fromLatin1(kCmdSourceVoltageProtection),
        QString::fromLatin1(kCmdSourceVoltageProtectionState),
        QString::fromLatin1(kCmdOutputOvpTriped),
        QString::fromLatin1(kCmdSourceVoltageSlewRising),
        QString::fromLatin1(kCmdSourceVoltageSlewFalling),
        QString::fromLatin1(kCmdSourceCurrentProtection),
        QString::fromLatin1(kCmdSourceCurrentProtectionState),
        QString::fromLatin1(kCmdOutputOcpTriped),
        QString::fromLatin1(kCmdSourceCurrentSlewRising),
        QString::fromLatin1(kCmdSourceCurrentSlewFalling),
        QString::fromLatin1(kCmdSystemRemote),
        QString::fromLatin1(kCmdSystemLocal),
        QString::fromLatin1(kCmdSystemBeeper),
        QString::fromLatin1(kCmdSystemBrightness),
        QString::fromLatin1(kCmdSystemPowerDown),
        QString::fromLatin1(kCmdSystemPowerMode),
        QString::fromLatin1(kCmdSystemPowerID),
        QString::fromLatin1(kCmdSystemPowerPowerOut),
        QString::fromLatin1(kCmdSystemPowerOVPDelay),
        QString::fromLatin1(kCmdSystemPowerOCPDelay),
        QString::fromLatin1(kCmdSystemPowerEloadState),
    });

    m_listBox->append(QString::fromLatin1(kCmdListoutState));
    m_listBox->append(QString::fromLatin1(kCmdListoutBase));
    m_listBox->append(QString::fromLatin1(kCmdListoutParam));

    m_delayBox->append(QString::fromLatin1(kCmdDelayState));
    m_delayBox->append(QString::fromLatin1(kCmdDelayCycles));
    m_delayBox->append(QString::fromLatin1(kCmdDelayEndState));
    m_delayBox->append(QString::fromLatin1(kCmdDelayParam));
    m_delayBox->append(QString::fromLatin1(kCmdDelayStart));
    m_delayBox->append(QString::fromLatin1(kCmdDelayGroups));
    m_delayBox->append(QString::fromLatin1(kCmdDelayStop));

    // The delayer's texts are formed by the list box on purpose: any box gives the same query.
    auto const query = [this](char const* command) {
        return m_listBox->queryCmd(QString::fromLatin1(command));
    };
    m_queries.listState = query(kCmdListoutState);
    m_queries.listBase = query(kCmdListoutBase);
    m_queries.listParam = query(kCmdListoutParam);
    m_queries.delayState = query(kCmdDelayState);
    m_queries.delayCycles = query(kCmdDelayCycles);
    m_queries.delayEndState = query(kCmdDelayEndState);
    m_queries.delayParam = m_delayBox->queryCmd(QString::fromLatin1(kCmdDelayParam));
    m_queries.delayStart = query(kCmdDelayStart);
    m_queries.delayGroups = query(kCmdDelayGroups);
    m_queries.delayStop = query(kCmdDelayStop);
}

void MyDMM::bindCommandHandler()
{
    auto const bind = [this](CommandBox const* box, bool (MyDMM::*handler)(QString const&, QString const&)) {
        for (QString const& key : box->queryCmds()) {
            m_handler->add(key, [this, handler](QString const& word, QString const& response) {
                return (this->*handler)(word, response);
            });
            if (handler == &MyDMM::cmdHandler)
                m_mainKeys.insert(key);
            else
                m_mainKeys.remove(key);
        }
    };
    bind(m_cmdBox, &MyDMM::cmdHandler);
    bind(m_listBox, &MyDMM::listoutCmdHandler);
    bind(m_delayBox, &MyDMM::delayCmdHandler);
}

MyDMM::Route const& MyDMM::route(QSharedPointer<Word> const& word)
{
    // The answer of a word comes right after the word has gone out.
    if (m_lastRoute && m_lastRoute->word == word)
        return *m_lastRoute;
    auto const found = m_routes.constFind(word.data());
    if (found != m_routes.constEnd()) {
        m_lastRoute = &*found;
        return *found;
    }

    // Settings carry values and each is a word of its own, so the memory is bounded.
    constexpr qsizetype kRemembered = 256;
    if (m_routes.size() >= kRemembered)
        m_routes.clear();
    Route route;
    route.word = word;
    QString const& text = wordText(word);
    route.sign = prefixIndex(Character::simplifyEnd(text), kSignPrefixes);
    route.text = Character::simplifyString(text);
    // Item answers keep their inner structure, so they go to their handlers unsimplified.
    if (Character::isStart(route.text, m_queries.listParam)) {
        route.decoder = Decoder::ListItem;
    } else if (Character::isStart(route.text, m_queries.delayParam)) {
        route.decoder = Decoder::DelayItem;
    } else if (m_mainKeys.contains(route.text)) {
        route.decoder = Decoder::Main;
        route.field = prefixIndex(route.text, kFieldPrefixes);
    }
    m_lastRoute = &*m_routes.insert(word.data(), std::move(route));
    return *m_lastRoute;
}

QSharedPointer<WordBox> MyDMM::makeCyclic(QString const& text) const
{
    return WordBoxFactory::makeCyclic(makeWord(text, kQueryTime));
}

QSharedPointer<WordBox> MyDMM::makeAcyclic(QString const& text) const
{
    return WordBoxFactory::makeAcyclic(makeWord(text, kQueryTime));
}

MyDMM::BoxList MyDMM::makePureNormalModeCommands() const
{
    // The power mode first: a change of mode is seen before any value of the pass is stored.
    static char const* const kRing[] = {
        kCmdSystemPowerMode,
        kCmdMeasureAll,
        kCmdOutputMode,
        kCmdOutputState,
        kCmdOutputCVCC,
        kCmdSourceVoltage,
        kCmdSourceCurrent,
        kCmdSourceVoltageProtection,
        kCmdSourceVoltageProtectionState,
        kCmdOutputOvpTriped,
        kCmdSourceCurrentProtection,
        kCmdSourceCurrentProtectionState,
        kCmdOutputOcpTriped,
        kCmdSourceVoltageSlewRising,
        kCmdSourceVoltageSlewFalling,
        kCmdSourceCurrentSlewRising,
        kCmdSourceCurrentSlewFalling,
        kCmdSourceResistance,
        kCmdSystemBeeper,
        kCmdSystemBrightness,
        kCmdSystemPowerDown,
        kCmdSystemPowerID,
        kCmdSystemPowerPowerOut,
        kCmdSystemPowerOVPDelay,
        kCmdSystemPowerOCPDelay,
        kCmdSystemPowerEloadState,
    };
    BoxList boxes;
    boxes.reserve(int(std::size(kRing)));
    for (char const* command : kRing)
        boxes.append(makeCyclic(m_cmdBox->queryCmd(QString::fromLatin1(command))));
    return boxes;
}

MyDMM::BoxList MyDMM::makeNormalModeCommands() const
{
    BoxList boxes;
    boxes.append(makeCyclic(QString::fromLatin1(kCmdMeasureBeginSign)));
    boxes.append(makePureNormalModeCommands());
    boxes.append(makeCyclic(QString::fromLatin1(kCmdMeasureEndSign)));
    return boxes;
}

MyDMM::BoxList MyDMM::makeParallelModeCommands() const
{
    BoxList boxes;
    boxes.append(makeCyclic(QString::fromLatin1(kCmdMeasureBeginSign)));
    boxes.append(makePureNormalModeCommands());
    boxes.append(makeCyclic(m_cmdBox->queryCmd(QString::fromLatin1(kCmdMeasureParallelAll))));
    boxes.append(makeCyclic(QString::fromLatin1(kCmdMeasureEndSign)));
    return boxes;
}

MyDMM::BoxList MyDMM::makeSerialModeCommands() const
{
    BoxList boxes;
    boxes.append(makeCyclic(QString::fromLatin1(kCmdMeasureBeginSign)));
    boxes.append(makePureNormalModeCommands());
    boxes.append(makeCyclic(m_cmdBox->queryCmd(QString::fromLatin1(kCmdMeasureSeriesALL))));
    boxes.append(makeCyclic(QString::fromLatin1(kCmdMeasureEndSign)));
    return boxes;
}

void MyDMM::processWord(QSharedPointer<Word> const& word)
{
    int const sign = route(word).sign;
    if (sign < 0) {
        MeasureInst::processWord(word);
        return;
    }
    // A sign word goes nowhere; serve it here so that the queue goes on.
    processEspecialCmd(sign);
    if (needResponse(word))
        respond();
}

void MyDMM::processEspecialCmd(int sign)
{
    switch (kSignPrefixes[sign].sign) {
    case Sign::MeasureBegin:
        m_current = QSharedPointer<DmmData>::create();
        break;
    case Sign::MeasureEnd:
        if (m_current) {
            m_current->setDateTime(QDateTime::currentDateTime());
            m_history.append(m_current);
            Q_EMIT updateData(m_current);
        }
        break;
    case Sign::ListStateBegin:
    case Sign::ListNumBegin:
    case Sign::DelayStateBegin:
    case Sign::DelayNumBegin:
        m_listAndDelayer.kind = 0;
        break;
    case Sign::ListStateEnd:
        m_listAndDelayer.kind = 1;
        Q_EMIT updateListout(m_listAndDelayer);
        break;
    case Sign::ListNumEnd:
        m_listAndDelayer.kind = 2;
        Q_EMIT updateListout(m_listAndDelayer);
        break;
    case Sign::DelayStateEnd:
        m_listAndDelayer.kind = 3;
        Q_EMIT updateListout(m_listAndDelayer);
        break;
    case Sign::DelayNumEnd:
        m_listAndDelayer.kind = 4;
        Q_EMIT updateListout(m_listAndDelayer);
        break;
    }
}

void MyDMM::decodeFrame(QByteArray const& frame)
{
    // Taken by value: what the handlers set off may add routes, and move this one.
    Route const& found = route(currentWord());
    QString const word = found.text;
    Decoder const decoder = found.decoder;
    int const field = found.field;

    if (decoder == Decoder::ListItem) {
        listoutCmdHandler(word, QString::fromUtf8(frame));
    } else if (decoder == Decoder::DelayItem) {
        delayCmdHandler(word, QString::fromUtf8(frame));
    } else {
        QString const response = responseText(frame);
        bool const handled
            = decoder == Decoder::Main ? storeField(field, response) : m_handler->run(word, response);
        if (!handled)
            qDebug().noquote() << QStringLiteral("Command Handler Error:%1 %2").arg(word, response);
    }

    if (needResponse())
        respond();
}

QString MyDMM::responseText(QByteArray const& frame)
{
    auto const blank = [](char c) {
        return c == ' ' || (c >= '\t' && c <= '\r');
    };
    qsizetype begin = 0;
    qsizetype end = frame.size();
    while (begin < end && blank(frame[begin]))
        ++begin;
    while (end > begin && blank(frame[end - 1]))
        --end;
    bool const ascii = std::none_of(frame.cbegin() + begin, frame.cbegin() + end,
                                    [](char c) { return static_cast<unsigned char>(c) >= 0x80; });
    if (begin == end || !ascii)
        return Character::simplifyString(QString::fromUtf8(frame));
    // SCPI answers are ASCII: widened into the storage of the last answer, which is free
    // again unless a handler kept that answer.
    m_response.resize(end - begin);
    std::copy(frame.cbegin() + begin, frame.cbegin() + end, reinterpret_cast<char16_t*>(m_response.data()));
    return m_response;
}

bool MyDMM::parseMeasureValue(QString const& text, QUnitValueBox& voltage, QUnitValueBox& current,
                              QUnitValueBox& power)
{
    qsizetype const first = text.indexOf(QLatin1Char(','));
    if (first < 0)
        return false;
    qsizetype const second = text.indexOf(QLatin1Char(','), first + 1);
    if (second < 0 || text.indexOf(QLatin1Char(','), second + 1) >= 0)
        return false;

    voltage = makeUVB(Character::simplifyString(text.left(first)), 0, 3, kUnitVolt);
    current = makeUVB(Character::simplifyString(text.mid(first + 1, second - first - 1)), 0, 3, kUnitAmpere);
    power = makeUVB(Character::simplifyString(text.mid(second + 1)), 0, 3, kUnitWatt);
    return true;
}

bool MyDMM::cmdHandler(QString const& word, QString const& response)
{
    return storeField(prefixIndex(word, kFieldPrefixes), response);
}

bool MyDMM::storeField(int index, QString const& response)
{
    // Only a word that runs before the ring's first "Measure begin" can meet no sample;
    // it lands in one that is never published.
    if (!m_current)
        m_current = QSharedPointer<DmmData>::create();
    DmmData& data = *m_current;
    Config& config = data.config();
    Channel* channel = data.activeChannel();
    if (!channel)
        return false;

    auto const number = [&response](QString const& unit) {
        return makeUVB(response, 0, 3, unit);
    };

    if (index >= 0) {
        switch (kFieldPrefixes[index].field) {
        case Field::PowerMode:
            if (response != m_powerMode)
                changePowerMode(response);
            config.powerMode = m_powerMode;
            break;
        case Field::MeasureAll:
            parseMeasureValue(response, channel->voltage.measured, channel->current.measured, channel->power);
            break;
        case Field::MeasureParallel:
            parseMeasureValue(response, channel->parallelVoltage.measured, channel->parallelCurrent.measured,
                              channel->parallelPower);
            break;
        case Field::MeasureSeries:
            parseMeasureValue(response, channel->seriesVoltage.measured, channel->seriesCurrent.measured,
                              channel->seriesPower);
            break;
        case Field::VoltageLevel:
            channel->voltage.level = makeVUVB(response);
            break;
        case Field::CurrentLevel:
            channel->current.level = makeAUVB(response);
            break;
        case Field::VoltageProtectionLevel:
            channel->voltage.protectionLevel = makeVUVB(response);
            break;
        case Field::VoltageProtectionOn:
            channel->voltage.protectionOn = Character::strToBool(response);
            break;
        case Field::VoltageProtectionTripped:
            channel->voltage.protectionTripped = Character::strToBool(response);
            break;
        case Field::CurrentProtectionLevel:
            channel->current.protectionLevel = makeAUVB(response);
            break;
        case Field::CurrentProtectionOn:
            channel->current.protectionOn = Character::strToBool(response);
            break;
        case Field::CurrentProtectionTripped:
            channel->current.protectionTripped = Character::strToBool(response);
            break;
        case Field::VoltageSlewRising:
            channel->voltage.slewRising = number(kUnitVoltPerSecond);
            break;
        case Field::VoltageSlewFalling:
            channel->voltage.slewFalling = number(kUnitVoltPerSecond);
            break;
        case Field::CurrentSlewRising:
            channel->current.slewRising = number(kUnitAmperePerSecond);
            break;
        case Field::CurrentSlewFalling:
            channel->current.slewFalling = number(kUnitAmperePerSecond);
            break;
        case Field::Resistance:
            config.resistance = number(kUnitOhm);
            break;
        case Field::OutputMode:
            config.outputMode = internWord(response);
            break;
        case Field::OutputOn:
            channel->outputOn = Character::strToBool(response);
            break;
        case Field::Cvcc:
            channel->cvcc = internWord(response);
            break;
        case Field::Beeper:
            config.beeper = Character::strToBool(response);
            break;
        case Field::Brightness:
            config.brightness = toInt(response);
            break;
        case Field::PowerDown:
            config.powerDown = Character::strToBool(response);
            break;
        case Field::PowerId:
            config.powerId = toInt(response);
            break;
        case Field::PowerOut:
            config.powerOut = internWord(response);
            break;
        case Field::OvpDelay:
            config.ovpDelay = toInt(response);
            break;
        case Field::OcpDelay:
            config.ocpDelay = toInt(response);
            break;
        case Field::EloadState:
            config.eloadState = internWord(response);
            break;
        }
        return true;
    }
    return false;
}

void MyDMM::changePowerMode(QString const& mode)
{
    // The pass in progress is dropped; the next word to run is the new ring's "Measure begin".
    clearCommand(true, true);
    if (isParallelMode(mode))
        AppendCommand(makeParallelModeCommands());
    else if (isSerialMode(mode))
        AppendCommand(makeSerialModeCommands());
    else
        AppendCommand(makeNormalModeCommands());
    qDebug() << QDateTime::currentDateTime() << "change power mode ====== " << m_powerMode << mode;
    m_powerMode = internWord(mode);
    Q_EMIT powerModeChanged(m_powerMode);
}

void MyDMM::storeState(QList<QStringView> const& parts)
{
    m_listAndDelayer.running = Character::strToBool(parts.at(0).toString());
    m_listAndDelayer.listValue = parts.at(1).toDouble();
    m_listAndDelayer.stateNumber = toInt(parts.at(2).toString());
    // The fourth field has no reader; the fifth is read as a real and cut to an integer.
    m_listAndDelayer.stateCount = truncateToInt(parts.at(4).toDouble());
    m_listAndDelayer.endState = internWord(parts.at(5).toString());
}

namespace {

// Splits at the commas, keeping empty parts, each trimmed.
QList<QStringView> fields(QString const& text)
{
    QList<QStringView> parts = QStringView(text).split(QLatin1Char(','));
    for (QStringView& part : parts)
        part = part.trimmed();
    return parts;
}

} // namespace

bool MyDMM::listoutCmdHandler(QString const& word, QString const& response)
{
    if (Character::isStart(word, m_queries.listState)) {
        QList<QStringView> const parts = fields(response);
        if (parts.size() == 6)
            storeState(parts);
        return true;
    }
    if (Character::isStart(word, m_queries.listBase)) {
        QList<QStringView> const parts = fields(response);
        if (parts.size() == 4) {
            m_listAndDelayer.start = toInt(parts.at(0).toString());
            m_listAndDelayer.count = toInt(parts.at(1).toString());
            m_listAndDelayer.cycles = toInt(parts.at(2).toString());
            m_listAndDelayer.endState = internWord(parts.at(3).toString());
        }
        return true;
    }
    if (Character::isStart(word, m_queries.listParam)) {
        // The item answer only acknowledges the row; its rows are not kept.
        return true;
    }
    return false;
}

bool MyDMM::delayCmdHandler(QString const& word, QString const& response)
{
    if (Character::isStart(word, m_queries.delayState)) {
        QList<QStringView> const parts = fields(response);
        if (parts.size() == 6)
            storeState(parts);
        return true;
    }
    if (Character::isStart(word, m_queries.delayCycles)) {
        m_listAndDelayer.cycles = toInt(Character::simplifyString(response));
        return true;
    }
    if (Character::isStart(word, m_queries.delayEndState)) {
        m_listAndDelayer.endState = internWord(Character::simplifyString(response));
        return true;
    }
    if (Character::isStart(word, m_queries.delayParam)) {
        // An acknowledgement, like the list's item answer.
        return true;
    }
    if (Character::isStart(word, m_queries.delayStart)) {
        m_listAndDelayer.start = toInt(Character::simplifyString(response));
        return true;
    }
    if (Character::isStart(word, m_queries.delayGroups)) {
        m_listAndDelayer.count = toInt(Character::simplifyString(response));
        return true;
    }
    if (Character::isStart(word, m_queries.delayStop)) {
        m_listAndDelayer.stopCondition = Character::simplifyString(response);
        return true;
    }
    return false;
}

QSharedPointer<DmmData> MyDMM::lastMeasureData() const
{
    return m_history.isEmpty() ? QSharedPointer<DmmData>() : m_history.last();
}

void MyDMM::clearMeasureData()
{
    m_history.clear();
}

Channel* MyDMM::findChannel(QString const& flag)
{
    if (flag.isEmpty() || !m_current)
        return nullptr;
    auto const it = m_channelFlagMap.constFind(flag);
    if (it == m_channelFlagMap.constEnd())
        return nullptr;
    return m_current->channel(it.value() - 1);
}

ChannelLimitRange const* MyDMM::geChannelLimitRange(int index) const
{
    return index >= 0 && index < m_limits.size() ? &m_limits.at(index) : nullptr;
}

// --- Settings ---

void MyDMM::cmdPerform(CommandBox* box, QString const& command, QString const& value, bool query)
{
    QString const pattern = box->perfCmd(command);
    if (pattern.isEmpty())
        return;
    AppendCommand(makeWord(pattern.arg(value), 0), true);
    if (query)
        cmdQuery(box, command);
}

void MyDMM::cmdQuery(CommandBox* box, QString const& command)
{
    QString const text = box->queryCmd(command);
    if (text.isEmpty())
        return;
    AppendCommand(makeWord(QString::fromUtf8(text.toLocal8Bit()), kQueryTime), true);
}

void MyDMM::cmdPowerMode(QString const& mode)
{
    // Read back at once: the ring depends on the answer.
    cmdPerform(m_cmdBox, QString::fromLatin1(kCmdSystemPowerMode), mode, true);
}

void MyDMM::cmdOutput(bool on)
{
    cmdPerform(m_cmdBox, QString::fromLatin1(kCmdOutputState), boolText(on));
}

void MyDMM::cmdToggleOutput(bool on)
{
    QSharedPointer<DmmData> const last = lastMeasureData();
    Channel const* channel = last ? last->activeChannel() : nullptr;
    cmdOutput(channel ? !channel->outputOn : on);
}

void MyDMM::cmdVoltage(double value)
{
    cmdPerform(m_cmdBox, QString::fromLatin1(kCmdSourceVoltage), realText(value));
}

void MyDMM::cmdOVPValue(double value)
{
    cmdPerform(m_cmdBox, QString::fromLatin1(kCmdSourceVoltageProtection), realText(value));
}

void MyDMM::cmdOVP(bool on)
{
    cmdPerform(m_cmdBox, QString::fromLatin1(kCmdSourceVoltageProtectionState), boolText(on));
}

void MyDMM::cmdToggleOVP(bool on)
{
    QSharedPointer<DmmData> const last = lastMeasureData();
    Channel const* channel = last ? last->activeChannel() : nullptr;
    cmdOVP(channel ? !channel->voltage.protectionOn : on);
}

void MyDMM::cmdOVPClear()
{
    cmdPerform(m_cmdBox, QString::fromLatin1(kCmdSourceVoltageProtectionClear), QString());
}

void MyDMM::cmdCurrent(double value)
{
    cmdPerform(m_cmdBox, QString::fromLatin1(kCmdSourceCurrent), realText(value));
}

void MyDMM::cmdOCPValue(double value)
{
    cmdPerform(m_cmdBox, QString::fromLatin1(kCmdSourceCurrentProtection), realText(value));
}

void MyDMM::cmdOCP(bool on)
{
    cmdPerform(m_cmdBox, QString::fromLatin1(kCmdSourceCurrentProtectionState), boolText(on));
}

void MyDMM::cmdToggleOCP(bool on)
{
    QSharedPointer<DmmData> const last = lastMeasureData();
    Channel const* channel = last ? last->activeChannel() : nullptr;
    cmdOCP(channel ? !channel->current.protectionOn : on);
}

void MyDMM::cmdOCPClear()
{
    cmdPerform(m_cmdBox, QString::fromLatin1(kCmdSourceCurrentProtectionClear), QString());
}

void MyDMM::cmdSetSRMode(QString const& mode)
{
    cmdPerform(m_cmdBox, QString::fromLatin1(kCmdOutputMode), mode);
}

void MyDMM::cmdSetVSRRising(double value)
{
    cmdPerform(m_cmdBox, QString::fromLatin1(kCmdSourceVoltageSlewRising), realText(value));
}

void MyDMM::cmdSetVSRFalling(double value)
{
    cmdPerform(m_cmdBox, QString::fromLatin1(kCmdSourceVoltageSlewFalling), realText(value));
}

void MyDMM::cmdSetISRRising(double value)
{
    cmdPerform(m_cmdBox, QString::fromLatin1(kCmdSourceCurrentSlewRising), realText(value));
}

void MyDMM::cmdSetISRFalling(double value)
{
    cmdPerform(m_cmdBox, QString::fromLatin1(kCmdSourceCurrentSlewFalling), realText(value));
}

void MyDMM::cmdSetInternalRES(double value)
{
    cmdPerform(m_cmdBox, QString::fromLatin1(kCmdSourceResistance), realText(value));
}

void MyDMM::cmdSetBrightness(double value)
{
    cmdPerform(m_cmdBox, QString::fromLatin1(kCmdSystemBrightness), realText(value));
}

void MyDMM::cmdSetPowerDown(bool on)
{
    cmdPerform(m_cmdBox, QString::fromLatin1(kCmdSystemPowerDown), boolText(on));
}

void MyDMM::cmdSetBeeper(bool on)
{
    cmdPerform(m_cmdBox, QString::fromLatin1(kCmdSystemBeeper), boolText(on));
}

void MyDMM::cmdPowerID(int value)
{
    cmdPerform(m_cmdBox, QString::fromLatin1(kCmdSystemPowerID), intText(value));
}

void MyDMM::cmdPowerPowerOut(QString const& value)
{
    cmdPerform(m_cmdBox, QString::fromLatin1(kCmdSystemPowerPowerOut), value);
}

void MyDMM::cmdPowerOVPDelay(int value)
{
    cmdPerform(m_cmdBox, QString::fromLatin1(kCmdSystemPowerOVPDelay), intText(value));
}

void MyDMM::cmdPowerOCPDelay(int value)
{
    cmdPerform(m_cmdBox, QString::fromLatin1(kCmdSystemPowerOCPDelay), intText(value));
}

void MyDMM::cmdPowerEload(QString const&& value)
{
    cmdPerform(m_cmdBox, QString::fromLatin1(kCmdSystemPowerEloadState), value);
}

void MyDMM::cmdRemote()
{
    cmdPerform(m_cmdBox, QString::fromLatin1(kCmdSystemRemote), QString());
}

void MyDMM::cmdLocal()
{
    cmdPerform(m_cmdBox, QString::fromLatin1(kCmdSystemLocal), QString());
}

void MyDMM::cmdSetXXX(double value)
{
    cmdPerform(m_cmdBox, QStringLiteral("XXX"), QString::number(value, 'g', 6), true);
}

// --- List and delayer ---

void MyDMM::listQueryOptions()
{
    AppendCommand(BoxList {
        makeAcyclic(QString::fromLatin1(kCmdListQueryStateBegin)),
        makeAcyclic(m_listBox->queryCmd(QString::fromLatin1(kCmdListoutState))),
        makeAcyclic(m_listBox->queryCmd(QString::fromLatin1(kCmdListoutBase))),
        makeAcyclic(QString::fromLatin1(kCmdListQueryStateEnd)),
    });
}

void MyDMM::delayQueryOptions()
{
    AppendCommand(BoxList {
        makeAcyclic(QString::fromLatin1(kCmdDelayQueryStateBegin)),
        makeAcyclic(m_delayBox->queryCmd(QString::fromLatin1(kCmdDelayState))),
        makeAcyclic(m_delayBox->queryCmd(QString::fromLatin1(kCmdDelayCycles))),
        makeAcyclic(m_delayBox->queryCmd(QString::fromLatin1(kCmdDelayEndState))),
        makeAcyclic(m_delayBox->queryCmd(QString::fromLatin1(kCmdDelayStart))),
        makeAcyclic(m_delayBox->queryCmd(QString::fromLatin1(kCmdDelayGroups))),
        makeAcyclic(m_delayBox->queryCmd(QString::fromLatin1(kCmdDelayStop))),
        makeAcyclic(QString::fromLatin1(kCmdDelayQueryStateEnd)),
    });
}

void MyDMM::listQueryItem(int start, int count)
{
    AppendCommand(BoxList {
        makeAcyclic(QString::fromLatin1(kCmdListQueryNumBegin)),
        makeAcyclic(QStringLiteral("%1? %2,%3").arg(QLatin1String(kCmdListoutParam)).arg(start).arg(count)),
        makeAcyclic(QString::fromLatin1(kCmdListQueryNumEnd)),
    });
}

void MyDMM::delayQueryItem(int start, int count)
{
    AppendCommand(BoxList {
        makeAcyclic(QString::fromLatin1(kCmdDelayQueryNumBegin)),
        makeAcyclic(QStringLiteral("%1? %2,%3").arg(QLatin1String(kCmdDelayParam)).arg(start).arg(count)),
        makeAcyclic(QString::fromLatin1(kCmdDelayQueryNumEnd)),
    });
}

void MyDMM::cmdListSetItem(int index, double voltage, double current, double time)
{
    cmdPerform(m_listBox, QString::fromLatin1(kCmdListoutGroupParameter),
               QStringLiteral("%1,%2,%3,%4")
                   .arg(intText(index), realText(voltage), realText(current), realText(time)));
}

void MyDMM::cmdListSetBase(int start, int groups, int cycles, QString const& endState)
{
    cmdPerform(m_listBox, QString::fromLatin1(kCmdListoutBase),
               QStringLiteral("%1,%2,%3,%4").arg(intText(start), intText(groups), intText(cycles), endState));
}

void MyDMM::cmdListRun(bool on)
{
    cmdPerform(m_listBox, QString::fromLatin1(kCmdListoutState), boolText(on));
}

void MyDMM::cmdDelayRun(bool on)
{
    cmdPerform(m_delayBox, QString::fromLatin1(kCmdDelayState), boolText(on));
}

void MyDMM::cmdDelaySetItem(int index, bool state, double time)
{
    cmdPerform(m_delayBox, QString::fromLatin1(kCmdDelayGroupParameter),
               QStringLiteral("%1,%2,%3").arg(intText(index), boolText(state), realText(time)));
}

void MyDMM::cmdDelaySetCycles(int cycles)
{
    cmdPerform(m_delayBox, QString::fromLatin1(kCmdDelayCycles), intText(cycles));
}

void MyDMM::cmdDelaySetEndState(QString const& endState)
{
    cmdPerform(m_delayBox, QString::fromLatin1(kCmdDelayEndState), endState);
}

void MyDMM::cmdDelaySetGroupStartNum(int start)
{
    cmdPerform(m_delayBox, QString::fromLatin1(kCmdDelayStart), intText(start));
}

void MyDMM::cmdDelaySetGroupCount(int groups)
{
    cmdPerform(m_delayBox, QString::fromLatin1(kCmdDelayGroups), intText(groups));
}

void MyDMM::cmdDelaySetGroupStopCondition(QString const& condition)
{
    cmdPerform(m_delayBox, QString::fromLatin1(kCmdDelayStop), condition);
}

void MyDMM::cmdDelayQueryCycles()
{
    cmdQuery(m_delayBox, QString::fromLatin1(kCmdDelayCycles));
}

void MyDMM::cmdDelayQueryEndState()
{
    cmdQuery(m_delayBox, QString::fromLatin1(kCmdDelayEndState));
}

void MyDMM::cmdDelayQueryGroupStartNum()
{
    cmdQuery(m_delayBox, QString::fromLatin1(kCmdDelayStart));
}

void MyDMM::cmdDelayQueryGroupCount()
{
    cmdQuery(m_delayBox, QString::fromLatin1(kCmdDelayGroups));
}

void MyDMM::cmdDelayQueryGroupStopCondition()
{
    cmdQuery(m_delayBox, QString::fromLatin1(kCmdDelayStop));
}
