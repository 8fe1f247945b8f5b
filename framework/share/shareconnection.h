#pragma once
// One script's connection to a shared instrument: reads its SCPI lines, puts them
// into the instrument's queue as another asker, and writes the answers back in
// the order of the queries. Refused lines (a setting on a read-only port, an
// over-long line, binary garbage, a query that failed) queue an error that the
// script reads with :SYSTem:ERRor?, as it would from the instrument.

#include "measure/queryclient.h"
#include "share/zelt_share_export.h"

#include <QByteArray>
#include <QObject>
#include <QPointer>

#include <deque>

class QTcpSocket;

namespace zelt::share {

class ZELT_SHARE_EXPORT ShareConnection : public QObject
{
    Q_OBJECT
public:
    // A line longer than this is refused; its bytes are dropped up to its end.
    static constexpr int kMaxLine = 4096;
    // Queries in flight at most; more lines wait in the socket until answers are read.
    static constexpr int kMaxPending = 32;
    // Answers not yet taken by the client at most, before its lines are no longer read.
    static constexpr qint64 kMaxUnread = qint64(256) * 1024;
    static constexpr int kQueryTimeMs = 3000;
    static constexpr int kMaxErrors = 16;

    ShareConnection(QTcpSocket* socket, zelt::measure::MeasureInst* queue, bool readOnly,
                    QObject* parent = nullptr);
    ~ShareConnection() override;

    // Ends the connection once what is written has gone.
    void finish();

Q_SIGNALS:
    void finished(zelt::share::ShareConnection* connection);

private:
    struct Pending
    {
        quint64 ticket = 0; // 0: answered here
        bool done = false;
        QByteArray answer;
    };

    void readLines();
    void handle(QByteArray line);
    void answerHere(QByteArray answer);
    void onAnswered(quint64 ticket, QByteArray const& answer);
    void onFailed(quint64 ticket, zelt::measure::QueryClient::Failure failure);
    void flush();
    void pushError(int code, QByteArray const& text);
    bool blocked() const;

    QPointer<QTcpSocket> m_socket;
    zelt::measure::QueryClient m_client;
    bool m_readOnly;
    bool m_discarding = false; // inside an over-long line
    std::deque<Pending> m_pending;
    std::deque<QByteArray> m_errors;
};

} // namespace zelt::share
