#pragma once
// A VXI-11 link ("TCPIP::host[::inst0]::INSTR") through liblxi, whose calls block:
// run it inside a MessageIO. liblxi gives no cause: a failed connect is
// Refused, a failed write Lost.

#include "measure/io/visa/messagelink.h"
#include "measure/zelt_measure_export.h"

namespace zelt::measure::io::visa {

class ZELT_MEASURE_EXPORT Vxi11Link : public MessageLink
{
public:
    Vxi11Link(QString host, QString lanDevice);
    ~Vxi11Link() override;

    bool open(int timeoutMs, LinkFailure& failure) override;
    bool write(QByteArray const& data, int timeoutMs, LinkFailure& failure) override;
    ReadResult read(QByteArray& data, int timeoutMs, LinkFailure& failure) override;
    void close() override;

private:
    QByteArray m_host;
    QByteArray m_lanDevice;
    int m_device = -1;
    QByteArray m_buffer;
};

} // namespace zelt::measure::io::visa
