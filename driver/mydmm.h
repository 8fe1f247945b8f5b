#pragma once
// Driver of one KVR9000: polls the instrument on the command queue, turns each pass of
// the ring into a published DmmData, and forms the setting, list and delayer commands.

#include "driver/dmmdata.h"

#include "measure/measureinst.h"

#include <QHash>
#include <QList>
#include <QSet>
#include <QSharedPointer>
#include <QString>

namespace zelt::measure {
class CommandBox;
}
namespace zelt::util::gadget {
class CommandHandler;
}

class MyDMM : public zelt::measure::MeasureInst
{
    Q_OBJECT
public:
    MyDMM(ChannelLimitRange const& limit, QSharedPointer<zelt::measure::io::AbstractIO> io, bool flag,
          QObject* parent = nullptr);
    ~MyDMM() override;

    // False while already running; otherwise starts anew with the normal ring.
    bool open() override;
    bool close() override;
    using zelt::measure::MeasureInst::close;

    QList<QSharedPointer<zelt::measure::WordBox>> initCommand() override;
    void processWord(QSharedPointer<zelt::util::Word> const& word) override;
    void decodeFrame(QByteArray const& frame) override;

    // Every published sample of the driver's life, oldest first.
    QList<QSharedPointer<DmmData>> const& getMeasureData() const { return m_history; }
    // The last complete sample, never the one being filled; null before the first.
    QSharedPointer<DmmData> lastMeasureData() const;
    void clearMeasureData();
    Channel* findChannel(QString const& flag);
    QList<ChannelLimitRange> const& geChannelLimitRange() const { return m_limits; }
    ChannelLimitRange const* geChannelLimitRange(int index) const;

    // Three comma-separated numbers: volts, amperes, watts. Anything else leaves the boxes alone.
    static bool parseMeasureValue(QString const& text, zelt::measure::QUnitValueBox& voltage,
                                  zelt::measure::QUnitValueBox& current, zelt::measure::QUnitValueBox& power);

    // Settings. Each queues one line that awaits no answer; the ring reads the value back.
    void cmdPerform(zelt::measure::CommandBox* box, QString const& command, QString const& value,
                    bool query = false);
    void cmdQuery(zelt::measure::CommandBox* box, QString const& command);

    void cmdPowerMode(QString const& mode);
    void cmdOutput(bool on);
    // The toggles invert the last published state; on counts only before the first sample.
    void cmdToggleOutput(bool on);
    void cmdVoltage(double value);
    void cmdOVPValue(double value);
    void cmdOVP(bool on);
    void cmdToggleOVP(bool on);
    void cmdOVPClear();
    void cmdCurrent(double value);
    void cmdOCPValue(double value);
    void cmdOCP(bool on);
    void cmdToggleOCP(bool on);
    void cmdOCPClear();
    void cmdSetSRMode(QString const& mode);
    void cmdSetVSRRising(double value);
    void cmdSetVSRFalling(double value);
    void cmdSetISRRising(double value);
    void cmdSetISRFalling(double value);
    void cmdSetInternalRES(double value);
    void cmdSetBrightness(double value);
    void cmdSetPowerDown(bool on);
    void cmdSetBeeper(bool on);
    void cmdPowerID(int value);
    void cmdPowerPowerOut(QString const& value);
    void cmdPowerOVPDelay(int value);
    void cmdPowerOCPDelay(int value);
    void cmdPowerEload(QString const&& value);
    void cmdRemote();
    void cmdLocal();
    // The pattern the setters follow.
    void cmdSetXXX(double value);

    // Query groups: each runs in one piece and ends in updateListout.
    void listQueryOptions();
    void delayQueryOptions();
    void listQueryItem(int start, int count);
    void delayQueryItem(int start, int count);

    void cmdListSetItem(int index, double voltage, double current, double time);
    void cmdListSetBase(int start, int groups, int cycles, QString const& endState);
    void cmdDelaySetItem(int index, bool state, double time);
    void cmdDelaySetCycles(int cycles);
    void cmdDelaySetEndState(QString const& endState);
    void cmdDelaySetGroupStartNum(int start);
    void cmdDelaySetGroupCount(int groups);
    void cmdDelaySetGroupStopCondition(QString const& condition);
    void cmdDelayQueryCycles();
    void cmdDelayQueryEndState();
    void cmdDelayQueryGroupStartNum();
    void cmdDelayQueryGroupCount();
    void cmdDelayQueryGroupStopCondition();
    // Runs or stops the stored sequence; its state groups above tell how far it is.
    void cmdListRun(bool on);
    void cmdDelayRun(bool on);

Q_SIGNALS:
    void updateData(QSharedPointer<DmmData> const& data);
    void updateListout(ListAndDelayer const& ld);
    // The queue was emptied for the ring of a new power mode: what was waiting in it is gone.
    void powerModeChanged(QString const& mode);

private:
    using BoxList = QList<QSharedPointer<zelt::measure::WordBox>>;

    void initCommandBox();
    void bindCommandHandler();
    BoxList makePureNormalModeCommands() const;
    BoxList makeNormalModeCommands() const;
    BoxList makeParallelModeCommands() const;
    BoxList makeSerialModeCommands() const;
    QSharedPointer<zelt::measure::WordBox> makeCyclic(QString const& text) const;
    QSharedPointer<zelt::measure::WordBox> makeAcyclic(QString const& text) const;

    // The frame as UTF-8 with its ends trimmed, as the handlers take an answer.
    QString responseText(QByteArray const& frame);
    // sign: the entry of the sign table that the word's text begins with.
    void processEspecialCmd(int sign);
    bool cmdHandler(QString const& word, QString const& response);
    // field: the entry of the field table that the word's text begins with, or -1.
    bool storeField(int field, QString const& response);
    bool listoutCmdHandler(QString const& word, QString const& response);
    bool delayCmdHandler(QString const& word, QString const& response);
    void changePowerMode(QString const& mode);
    void storeState(QList<QStringView> const& parts);

    zelt::measure::CommandBox* m_cmdBox;
    zelt::measure::CommandBox* m_listBox;
    zelt::measure::CommandBox* m_delayBox;
    zelt::util::gadget::CommandHandler* m_handler;
    QSharedPointer<DmmData> m_current;
    QList<QSharedPointer<DmmData>> m_history;
    QList<ChannelLimitRange> m_limits;
    ListAndDelayer m_listAndDelayer;
    QString m_powerMode;

    // Query texts the decoders compare with on every answer, formed once.
    struct QueryTexts
    {
        QString listState, listBase, listParam;
        QString delayState, delayCycles, delayEndState, delayParam, delayStart, delayGroups, delayStop;
    };
    QueryTexts m_queries;
    // What becomes of a word and of its answer, found from its text when the word first runs:
    // the ring runs the same words pass after pass. Each entry holds its word, so that no
    // other word can take its address while the entry stands.
    enum class Decoder { Handler, ListItem, DelayItem, Main };
    struct Route
    {
        QSharedPointer<zelt::util::Word> word;
        QString text; // simplified, as the handlers take it
        int sign = -1;
        Decoder decoder = Decoder::Handler;
        int field = -1;
    };
    Route const& route(QSharedPointer<zelt::util::Word> const& word);
    QHash<zelt::util::Word const*, Route> m_routes;
    Route const* m_lastRoute = nullptr; // in m_routes, which moves its entries when it grows
    QString m_response;
    // The keys that m_handler runs cmdHandler for.
    QSet<QString> m_mainKeys;

    static QHash<QString, int> const m_channelFlagMap;
};
