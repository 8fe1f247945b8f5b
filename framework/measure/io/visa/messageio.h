#pragma once
// A channel over a MessageLink, whose blocking calls run on a worker thread
// that this object owns: bytes and errors come back through queued signals, so
// its user sees a byte stream on its own thread, as from a socket. A line with
// a '?' in its header is a query and is followed by a read of its answer, which
// is handed on with a line feed at its end. After a read that gave up, the next
// query first rids the link of the late answer, so that answers stay with their
// queries. A failure has the kind the link gives it; an open that does not
// finish within the time-out is TimedOut.

#include "measure/io/abstractio.h"
#include "measure/zelt_measure_export.h"

#include <functional>
#include <memory>

class QThread;
class QTimer;

namespace zelt::measure::io::visa {

class MessageLink;
class MessageWorker;

class ZELT_MEASURE_EXPORT MessageIO : public AbstractIO
{
    Q_OBJECT
public:
    using LinkFactory = std::function<std::unique_ptr<MessageLink>()>;

    // makeLink gives a fresh link for each open(). resource names the channel in messages.
    MessageIO(QString resource, LinkFactory makeLink, int timeoutMs, QObject* parent = nullptr);
    // Waits a few milliseconds for the worker to close the link; a worker
    // still inside a call is left to finish and clean up on its own.
    ~MessageIO() override;

    bool open() override;
    void close() override;
    void abort() override;
    bool isOpen() const override { return m_open; }
    bool write(QByteArray const& data) override;
    bool deviceClear() override;
    QString description() const override { return m_resource; }

private:
    void dropWorker();
    void onOpened(bool canClear);
    void onReceived(QByteArray const& data);
    void onFailed(LinkError kind, QString const& cause, bool wasOpen);
    void onConnectTimeout();

    QString m_resource;
    LinkFactory m_makeLink;
    int m_timeout;
    QTimer* m_connectTimer;
    QThread* m_thread = nullptr;
    MessageWorker* m_worker = nullptr;
    bool m_open = false;
    bool m_canClear = false;
};

} // namespace zelt::measure::io::visa
