#pragma once
// The VISA channel: takes a resource string and reaches the instrument through
// the matching transport. Raw TCP sockets ("...::SOCKET") are served here;
// the other resource kinds are recognised and reported as not supported yet,
// through errorOccurred(), like any failure to open.

#include "measure/io/abstractio.h"
#include "measure/io/visa/visaresource.h"

#include <QPointer>

class QTcpSocket;
class QTimer;

namespace zelt::measure::io::visa {

class VisaIO : public AbstractIO
{
    Q_OBJECT
public:
    explicit VisaIO(QString resource = {}, QObject* parent = nullptr);
    ~VisaIO() override;

    void setResource(QString const& resource);
    QString resource() const { return m_resourceText; }
    VisaResource const& parsedResource() const { return m_resource; }

    // Bounds each I/O operation that can wait: connecting, in this transport.
    void setTimeout(int milliseconds);
    int timeout() const { return m_timeout; }

    bool open() override;
    void close() override;
    void abort() override;
    bool isOpen() const override;
    bool write(QByteArray const& data) override;
    QString description() const override { return m_resourceText; }

private:
    void fail(QString const& message);
    void postClosed();
    void dropSocket(bool flush);
    void onConnected();
    void onDisconnected();
    void onSocketError();
    void onReadyRead();
    void onConnectTimeout();

    QString m_resourceText;
    VisaResource m_resource;
    int m_timeout = 2000;
    QTcpSocket* m_socket = nullptr;
    QTimer* m_connectTimer = nullptr;
    bool m_open = false;
    // Counts open() calls, so that a report queued for an earlier attempt is dropped.
    int m_generation = 0;
};

} // namespace zelt::measure::io::visa
