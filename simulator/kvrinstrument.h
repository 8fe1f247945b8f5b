#pragma once
// The simulated KVR9000 unit: its settings, the physics of its output into a resistive load,
// protection, power modes, and the stored list and delayer sequences. Time comes from a SimClock;
// the state is brought up to the clock's present whenever a line is handled or advance() is called.

#include "simulator/kvrratings.h"

#include <QList>
#include <QPair>
#include <QRandomGenerator>
#include <QString>
#include <QStringList>

#include <array>
#include <memory>
#include <optional>

namespace kvrsim {

class KvrCommandSet;
class SimClock;

struct KvrSettings
{
    double voltage = 0.1;
    double current = 0;
    double ovpLevel = 0;
    bool ovpEnabled = false;
    double ocpLevel = 0;
    bool ocpEnabled = false;
    double voltageRising = 1;
    double voltageFalling = 1;
    double currentRising = 1;
    double currentFalling = 1;
    double resistance = 0;
    QString outputMode = QStringLiteral("VHS");
    bool beeper = true;
    int brightness = 80;
    bool powerDown = false;
    QString powerMode = QStringLiteral("Normal");
    int powerId = 1;
    QString powerOut = QStringLiteral("OFF");
    int ovpDelay = 100;
    int ocpDelay = 100;
    QString eload = QStringLiteral("OFF");
};

// What the output delivers into the load, without noise.
struct KvrOutput
{
    double volts = 0;
    double amps = 0;
    double watts = 0;
    bool constantCurrent = false;
};

struct KvrListRow
{
    double volts = 0;
    double amps = 0;
    double seconds = 1.0;
};

struct KvrListBase
{
    int start = 0;
    int count = 1;
    int cycles = 1; // 0 = endless
    QString endState = QStringLiteral("OFF");
};

struct KvrDelayerRow
{
    bool on = false;
    double seconds = 1.0;
};

struct KvrDelayerBase
{
    int start = 0;
    int groups = 1;
    int cycles = 1; // 0 = endless
    QString endState = QStringLiteral("OFF");
    QString stopRule = QStringLiteral("None"); // as received
};

// Progress of a running (or the last) list or delayer run.
struct KvrSequenceRun
{
    bool running = false;
    int row = 0; // absolute row number
    int cycle = 0; // one-based while running
    int cyclesDone = 0;
    qint64 rowEnd = 0; // clock time at which the present row ends
};

class KvrInstrument
{
public:
    static constexpr int kRows = 128;
    static constexpr int kErrorQueueSize = 16;

    KvrInstrument(KvrRatings const& ratings, SimClock* clock, quint32 seed = 1);
    ~KvrInstrument();
    KvrInstrument(KvrInstrument const&) = delete;
    KvrInstrument& operator=(KvrInstrument const&) = delete;

    // One received line (without its LF); the answer line (without LF) for a query that succeeded.
    std::optional<QString> handleLine(QString const& line);

    void setClock(SimClock* clock);
    // Brings the output, protection and sequences up to the clock's present.
    void advance();
    qint64 time() const { return m_time; }

    void reset();
    void clearStatus();

    KvrRatings const& ratings() const { return m_ratings; }
    KvrSettings const& settings() const { return m_settings; }
    QString identity() const;

    // Noise as a fraction of the rated value; 0 for exact readings.
    void setNoise(double fraction) { m_noise = fraction; }
    double noise() const { return m_noise; }
    void setSeed(quint32 seed) { m_random.seed(seed); }

    // Setters answer 0 or the error code that the command would queue.
    int setLoad(double ohms);
    double load() const { return m_loadOhms; }
    int setVoltage(double volts);
    int setCurrent(double amps);
    int setOvpLevel(double volts);
    int setOvpEnabled(bool on);
    int clearOvp();
    int setOcpLevel(double amps);
    int setOcpEnabled(bool on);
    int clearOcp();
    int setVoltageRising(double rate);
    int setVoltageFalling(double rate);
    int setCurrentRising(double rate);
    int setCurrentFalling(double rate);
    int setResistance(double ohms);
    int setOutput(bool on);
    int setOutputMode(QString const& mode);
    int setBeeper(bool on);
    int setBrightness(qint64 value);
    int setPowerDown(bool on);
    int setPowerMode(QString const& mode);
    int setPowerId(qint64 id);
    int setPowerOut(QString const& value);
    int setOvpDelay(qint64 msecs);
    int setOcpDelay(qint64 msecs);
    int setEload(QString const& value);

    bool outputOn() const { return m_outputOn; }
    bool ovpTripped() const { return m_ovpTripped; }
    bool ocpTripped() const { return m_ocpTripped; }
    KvrOutput output() const;
    // Readings as the instrument reports them: with noise, and for the group in parallel or series modes.
    KvrOutput measure();
    KvrOutput measureParallel();
    KvrOutput measureSeries();

    int setListRunning(bool run);
    int setListBase(KvrListBase const& base);
    int setListRow(int row, KvrListRow const& values);
    KvrListBase const& listBase() const { return m_listBase; }
    KvrListRow const& listRow(int row) const { return m_listRows[static_cast<size_t>(row)]; }
    KvrSequenceRun const& listRun() const { return m_listRun; }

    int setDelayerRunning(bool run);
    int setDelayerCycles(qint64 cycles);
    int setDelayerEndState(QString const& state);
    int setDelayerStart(qint64 row);
    int setDelayerGroups(qint64 count);
    int setDelayerStopRule(QString const& rule);
    int setDelayerRow(int row, KvrDelayerRow const& values);
    KvrDelayerBase const& delayerBase() const { return m_delayerBase; }
    KvrDelayerRow const& delayerRow(int row) const { return m_delayerRows[static_cast<size_t>(row)]; }
    KvrSequenceRun const& delayerRun() const { return m_delayerRun; }

    // Error queue, oldest first; a full queue turns its last entry into -350.
    void pushError(int code);
    QPair<int, QString> takeError();
    QList<QPair<int, QString>> errors() const { return m_errors; }

    static QStringList const& outputModes();
    static QStringList const& powerModes();

private:
    struct StopRule
    {
        QChar quantity; // V, C or P
        bool readingAbove = true; // V<,x stops when x < V
        double value = 0;
    };

    void advanceTo(qint64 now);
    void evaluate();
    void checkProtection(KvrOutput const& out);
    void checkStopRule(KvrOutput const& out);
    bool stopRuleHolds(KvrOutput const& out) const;
    void processSequences();
    bool slewing() const;
    void moveRamps(qint64 msecs);
    void syncRamps();
    double targetVoltage() const;
    double targetCurrent() const;
    void switchOutput(bool on);
    void trip(bool voltage);
    void applyListRow();
    void stepList();
    void finishList();
    void applyDelayerRow();
    void stepDelayer();
    void finishDelayer();
    double noisy(double value, double range);
    static qint64 dwellMsecs(double seconds);
    static std::optional<StopRule> parseStopRule(QString const& rule);

    KvrRatings m_ratings;
    SimClock* m_clock;
    qint64 m_time = 0;
    QRandomGenerator m_random;
    double m_noise = 0.0005;
    double m_loadOhms = 10.0;
    KvrSettings m_settings;

    bool m_outputOn = false;
    double m_rampVoltage = 0; // the set point the output follows, moving at the slew rate
    double m_rampCurrent = 0;
    bool m_ovpTripped = false;
    bool m_ocpTripped = false;
    std::optional<qint64> m_ovpOverSince;
    std::optional<qint64> m_ocpOverSince;

    std::array<KvrListRow, kRows> m_listRows;
    KvrListBase m_listBase;
    KvrSequenceRun m_listRun;
    std::array<KvrDelayerRow, kRows> m_delayerRows;
    KvrDelayerBase m_delayerBase;
    KvrSequenceRun m_delayerRun;
    std::optional<StopRule> m_stopRule;
    bool m_stopRuleHeld = false;

    QList<QPair<int, QString>> m_errors;
    std::unique_ptr<KvrCommandSet> m_commands;
};

} // namespace kvrsim
