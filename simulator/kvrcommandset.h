#pragma once
// The instrument's SCPI command table: parses a received line, finds its header, reads the
// parameters and calls the instrument. Errors go to the instrument's error queue.

#include "simulator/scpipattern.h"

#include <QList>
#include <QString>
#include <QStringList>

#include <functional>
#include <optional>

namespace kvrsim {

class KvrInstrument;

class KvrCommandSet
{
public:
    explicit KvrCommandSet(KvrInstrument& instrument);

    // The answer of a query that succeeded; nothing for a command or a failure.
    std::optional<QString> execute(QString const& line);

private:
    struct Request
    {
        QString argText; // everything behind the header, trimmed
        QStringList args; // argText split at its commas, each trimmed
    };
    // Both return 0 or an error code.
    using QueryFn = std::function<int(Request const&, QString& answer)>;
    using SetFn = std::function<int(Request const&)>;
    struct Entry
    {
        ScpiPattern pattern;
        QueryFn query;
        SetFn set;
        bool queryTakesArgs = false;
    };

    void build();
    void buildSource();
    void buildOutput();
    void buildSystem();
    void buildList();
    void buildDelayer();

    void add(QString const& pattern, QueryFn query, SetFn set, bool queryTakesArgs = false);
    void addNumber(QString const& pattern, std::function<double()> get, int decimals,
                   std::function<int(double)> set);
    void addBoolean(QString const& pattern, std::function<bool()> get, std::function<int(bool)> set);
    void addInteger(QString const& pattern, std::function<int()> get, std::function<int(qint64)> set,
                    bool rounded = false);
    void addWord(QString const& pattern, QStringList const& words, std::function<QString()> get,
                 std::function<int(QString const&)> set);
    void addAction(QString const& pattern, std::function<int()> action);
    void addQuery(QString const& pattern, std::function<QString()> get);
    void addSequenceState(QString const& pattern, std::function<QString()> get, std::function<int(bool)> run);

    static int singleArg(Request const& request, QString& arg);
    static int argCount(Request const& request, int count);
    static std::optional<QString> canonicalWord(QStringList const& words, QString const& text);
    QString measureAnswer(double volts, double amps, double watts) const;

    KvrInstrument& m_instrument;
    QList<Entry> m_entries;
};

} // namespace kvrsim
