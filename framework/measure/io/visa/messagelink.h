#pragma once
// A message-based link to an instrument whose calls block (VXI-11, USB-TMC, a
// VISA library): one write is one command, one read one answer. MessageIO runs
// a link on a worker thread; nothing here touches Qt's event loop.

#include "measure/io/abstractio.h"
#include "measure/zelt_measure_export.h"

#include <QByteArray>
#include <QString>

namespace zelt::measure::io::visa {

// Why a call of a link failed. cause is a phrase that follows
// "Cannot connect to <resource>: " or "... lost: ".
struct ZELT_MEASURE_EXPORT LinkFailure
{
    // MessageIO counts Other on an open link as Lost, and Lost at open as Refused.
    LinkError kind = LinkError::Other;
    QString cause;
};

class ZELT_MEASURE_EXPORT MessageLink
{
public:
    enum class ReadResult { Data, Timeout, Failed };

    virtual ~MessageLink();

    // Each call waits at most about timeoutMs; failure says why on failure.
    virtual bool open(int timeoutMs, LinkFailure& failure) = 0;
    virtual bool write(QByteArray const& data, int timeoutMs, LinkFailure& failure) = 0;
    // Appends one answer to data. A read that gives up is no failure: the
    // caller's own time-out deals with the query.
    virtual ReadResult read(QByteArray& data, int timeoutMs, LinkFailure& failure) = 0;
    // Device clear: the instrument empties its input and answer queues.
    virtual bool canClear() const { return false; }
    virtual bool clear(int /*timeoutMs*/, LinkFailure& /*failure*/) { return false; }
    // Safe to call when open() failed.
    virtual void close() = 0;
};

} // namespace zelt::measure::io::visa
