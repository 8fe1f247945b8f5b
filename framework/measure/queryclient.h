#pragma once
// An asker of the command queue beside the driver: its lines go out between two
// ring entries, and the answers to its queries come back to it alone. The
// contract is written in measureinst.h.

#include "measure/zelt_measure_export.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QObject>
#include <QPointer>
#include <QString>

namespace zelt::measure {

class MeasureInst;

class ZELT_MEASURE_EXPORT QueryClient : public QObject
{
    Q_OBJECT
public:
    enum class Failure {
        TimedOut, // no answer within the query's time; the link is resynchronised
        Resynchronising, // the instrument went silent while the queue waited to resynchronise
        LinkLost, // the channel failed or was closed by the instrument
        Stopped, // the run was stopped before the word went out or was answered
        NotRunning, // the queue was not polling when the word was sent
    };
    Q_ENUM(Failure)

    static constexpr int kDefaultTimeMs = 2000;

    explicit QueryClient(MeasureInst* queue, QObject* parent = nullptr);
    // Words still waiting are withdrawn; an answer on its way is dropped.
    ~QueryClient() override;

    // Queues one line (without its line end) behind the words waiting. Returns its
    // ticket, which one of answered(), written() or failed() carries later.
    quint64 send(QByteArray const& line, int timeMs = kDefaultTimeMs);
    // As send(), but ahead of every waiting word: it goes out right after the word
    // in flight. For a read that must follow the line just written.
    quint64 sendNext(QByteArray const& line, int timeMs = kDefaultTimeMs);

    // A '?' outside double-quoted text: the line awaits one answer.
    static bool isQuery(QByteArrayView line);
    static QString failureText(Failure failure);

    MeasureInst* queue() const;
    // Words sent and not yet ended.
    int pending() const { return m_pending; }

Q_SIGNALS:
    void answered(quint64 ticket, QByteArray const& answer);
    // A line that awaits no answer has been written to the channel.
    void written(quint64 ticket);
    void failed(quint64 ticket, zelt::measure::QueryClient::Failure failure);

private:
    friend class MeasureInst;
    quint64 submit(QByteArray const& line, int timeMs, bool next);
    void end() { --m_pending; }

    QPointer<MeasureInst> m_queue;
    quint64 m_nextTicket = 0;
    int m_pending = 0;
};

} // namespace zelt::measure
