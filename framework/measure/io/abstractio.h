#pragma once
// Base of the byte channels to an instrument. Opening is asynchronous: open()
// starts it, and opened() or errorOccurred() follow through the event loop.
// All signals come on the thread of the object.

#include "measure/zelt_measure_export.h"

#include <QByteArray>
#include <QObject>
#include <QString>

namespace zelt::measure::io {

// What kind of failure ended or refused a link, so that a message can tell them apart.
enum class LinkError {
    None,
    Refused, // nothing answers at the address: no listener, no device, connection refused
    TimedOut, // the peer did not answer in time, at connect or during a run
    Lost, // an open link went away: closed by the peer, cable or device gone
    Permission, // the system refused access: device permissions, port in use by another program
    InvalidResource, // the resource string names nothing this channel can reach
    Other,
};

class ZELT_MEASURE_EXPORT AbstractIO : public QObject
{
    Q_OBJECT
public:
    explicit AbstractIO(QObject* parent = nullptr);
    ~AbstractIO() override;

    // Starts opening. False when the attempt cannot even begin (the reason is
    // in errorString() and errorOccurred() follows as for any other failure).
    virtual bool open() = 0;
    // Sends what is still buffered, then closes; closed() follows.
    virtual void close() = 0;
    // Closes at once, dropping what is buffered; closed() follows.
    virtual void abort() = 0;
    virtual bool isOpen() const = 0;
    // Queues bytes for sending; false when the channel is not open.
    virtual bool write(QByteArray const& data) = 0;
    // Asks the instrument to empty its input and answer queues, where the
    // transport has such a message (VXI-11, USB-TMC, a VISA library); false where
    // it has none or the channel is not open. The clear goes out in order with the writes.
    virtual bool deviceClear() { return false; }

    QString errorString() const { return m_errorString; }
    // The kind of the last failure; None until one happens.
    LinkError errorKind() const { return m_errorKind; }
    // A short description of the channel for messages, such as its resource string.
    virtual QString description() const = 0;

    // The channel on whose dataReceived() the bytes that this one receives go out, in place
    // of its own; null, the default, for its own. A channel that only passes on the bytes
    // of a transport it holds saves one signal per answer this way.
    void setDataChannel(AbstractIO* channel) { m_dataChannel = channel; }

Q_SIGNALS:
    void opened();
    void closed();
    void dataReceived(QByteArray const& data);
    // Failure to open, or loss of an open channel; closed() follows for the latter.
    void errorOccurred(QString const& message);

protected:
    // Received bytes, for the receivers of dataReceived() (see setDataChannel()).
    void deliver(QByteArray const& data) { Q_EMIT(m_dataChannel ? m_dataChannel : this)->dataReceived(data); }
    void setErrorString(QString const& message) { setError(LinkError::Other, message); }
    void setError(LinkError kind, QString const& message)
    {
        m_errorKind = kind;
        m_errorString = message;
    }

private:
    AbstractIO* m_dataChannel = nullptr;
    QString m_errorString;
    LinkError m_errorKind = LinkError::None;
};

} // namespace zelt::measure::io
