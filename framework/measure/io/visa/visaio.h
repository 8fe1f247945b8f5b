#pragma once
// The VISA channel: takes a resource string and reaches the instrument through
// the matching transport: a raw TCP socket ("...::SOCKET"), a serial line
// ("ASRL...::INSTR"), VXI-11 ("TCPIP::host[::inst0]::INSTR"), USB-TMC
// ("USB::vid::pid::serial::INSTR"), or an installed VISA library for what those
// do not serve (aliases, GPIB) and for everything when one is asked for. Every
// failure, whatever the transport, comes through errorOccurred(), with the
// transport's errorKind(). A resource that does not parse, that no transport
// serves (GPIB without a VISA library) or whose serial setting is invalid is
// InvalidResource; a VISA library that cannot be loaded is Other.

#include "measure/io/abstractio.h"
#include "measure/io/visa/visaresource.h"
#include "measure/zelt_measure_export.h"

#include <QVariantMap>

namespace zelt::measure::io::visa {

class ZELT_MEASURE_EXPORT VisaIO : public AbstractIO
{
    Q_OBJECT
public:
    explicit VisaIO(QString resource = {}, QObject* parent = nullptr);
    ~VisaIO() override;

    // The instruments that can be reached from here, for a user to choose from: the
    // serial ports, the usbtmc devices and, where a VISA library is in use or
    // installed, what it finds. Looking may take a moment with a VISA library.
    static QStringList findResources();

    void setResource(QString const& resource);
    QString resource() const { return m_resourceText; }
    VisaResource const& parsedResource() const { return m_resource; }

    // Bounds each I/O operation that can wait: connecting, and for the message
    // transports each write and each read of an answer.
    void setTimeout(int milliseconds);
    int timeout() const { return m_timeout; }

    // Settings of the channel, read at open():
    //   baudRate, dataBits, parity, stopBits, flowControl: the serial line (see SerialSettings);
    //   visaLibrary: path or file name of a VISA library that serves this resource,
    //   whatever its kind.
    // An invalid value makes open() fail with a message naming it.
    void setAttribute(QString const& name, QVariant const& value);
    QVariant attribute(QString const& name) const { return m_attributes.value(name); }
    QVariantMap const& attributes() const { return m_attributes; }

    bool open() override;
    void close() override;
    void abort() override;
    bool isOpen() const override;
    bool write(QByteArray const& data) override;
    bool deviceClear() override;
    QString description() const override { return m_resourceText; }

private:
    AbstractIO* makeTransport(LinkError& kind, QString& error);
    AbstractIO* makeLibraryTransport(QString const& path, LinkError& kind, QString& error);
    void dropTransport(bool flush);
    void fail(LinkError kind, QString const& message);
    void postClosed();
    void onTransportError(QString const& message);

    QString m_resourceText;
    VisaResource m_resource;
    QVariantMap m_attributes;
    int m_timeout = 2000;
    AbstractIO* m_transport = nullptr;
    // Counts open() calls, so that a report queued for an earlier attempt is dropped.
    int m_generation = 0;
};

} // namespace zelt::measure::io::visa
