#pragma once
// A raw TCP socket to an instrument ("TCPIP::host::port::SOCKET"): SCPI lines
// as a byte stream, with the connect bounded by a time-out.
// Failure kinds: a refused connect, an unknown host or an unreachable network
// is Refused (a host name that does not resolve may be a switched-off
// instrument's mDNS name, not a typing error); the connect's time-out is
// TimedOut; an open link closed by the peer or broken is Lost.

#include "measure/io/abstractio.h"
#include "measure/zelt_measure_export.h"

class QTcpSocket;
class QTimer;

namespace zelt::measure::io::visa {

class ZELT_MEASURE_EXPORT TcpSocketIO : public AbstractIO
{
    Q_OBJECT
public:
    // resource names the channel in messages.
    TcpSocketIO(QString resource, QString host, quint16 port, int timeoutMs, QObject* parent = nullptr);
    ~TcpSocketIO() override;

    bool open() override;
    void close() override;
    void abort() override;
    bool isOpen() const override { return m_open; }
    bool write(QByteArray const& data) override;
    QString description() const override { return m_resource; }

private:
    void dropSocket(bool flush);
    void onConnected();
    void onDisconnected();
    void onSocketError();
    void onReadyRead();
    void onConnectTimeout();

    QString m_resource;
    QString m_host;
    quint16 m_port;
    int m_timeout;
    QTcpSocket* m_socket = nullptr;
    QTimer* m_connectTimer;
    QByteArray m_received;
    bool m_open = false;
};

} // namespace zelt::measure::io::visa
