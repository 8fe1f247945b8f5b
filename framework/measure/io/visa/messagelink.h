#pragma once
// A message-based link to an instrument whose calls block (VXI-11, USB-TMC, a
// VISA library): one write is one command, one read one answer. MessageIO runs
// a link on a worker thread; nothing here touches Qt's event loop.

#include <QByteArray>
#include <QString>

namespace zelt::measure::io::visa {

class MessageLink
{
public:
    enum class ReadResult { Data, Timeout, Failed };

    virtual ~MessageLink();

    // Each call waits at most about timeoutMs. On failure, error gets the cause as
    // a phrase that follows "Cannot connect to <resource>: " or "... lost: ".
    virtual bool open(int timeoutMs, QString& error) = 0;
    virtual bool write(QByteArray const& data, int timeoutMs, QString& error) = 0;
    // Appends one answer to data.
    virtual ReadResult read(QByteArray& data, int timeoutMs, QString& error) = 0;
    // Device clear: the instrument empties its input and answer queues.
    virtual bool canClear() const { return false; }
    virtual bool clear(int /*timeoutMs*/, QString& /*error*/) { return false; }
    // Safe to call when open() failed.
    virtual void close() = 0;
};

} // namespace zelt::measure::io::visa
