#pragma once
// Reads the instrument's error queue after each setting the driver writes, and
// reports every error with the line that caused it. Its reads go out right after
// the setting, through the queue's words of other askers, so the driver never
// sees them; a run without settings puts none on the wire.

#include "measure/queryclient.h"
#include "measure/zelt_measure_export.h"

#include <QObject>
#include <QString>

#include <deque>

namespace zelt::util {
class Word;
}

namespace zelt::measure {

class MeasureInst;

class ZELT_MEASURE_EXPORT ErrorQueueReader : public QObject
{
    Q_OBJECT
public:
    static constexpr char kQuery[] = ":SYSTem:ERRor?";
    // The instrument's queue holds 16 errors; a read loop never runs longer.
    static constexpr int kMaxReads = 17;

    explicit ErrorQueueReader(MeasureInst* queue, QObject* parent = nullptr);

    // "<code>,\"<text>\"": false for an answer of another shape.
    static bool parse(QByteArray const& answer, int& code, QString& text);

Q_SIGNALS:
    // cause is the setting line as it went to the instrument, without its line end.
    void instrumentError(int code, QString const& text, QString const& cause);

private:
    void onSetting(QSharedPointer<zelt::util::Word> const& word);
    void onAnswer(quint64 ticket, QByteArray const& answer);
    void onFailed(quint64 ticket);

    struct Read
    {
        quint64 ticket = 0;
        QString cause;
        int count = 0;
    };

    QueryClient m_client;
    std::deque<Read> m_reads; // in flight, oldest first
};

} // namespace zelt::measure
