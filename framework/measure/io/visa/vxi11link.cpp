#include "measure/io/visa/vxi11link.h"

#include <QCoreApplication>

#include <lxi.h>

#include <mutex>
#include <utility>

namespace zelt::measure::io::visa {

namespace {

constexpr int kAnswerLimit = 64 * 1024;

} // namespace

Vxi11Link::Vxi11Link(QString host, QString lanDevice)
    : m_host(host.toUtf8())
    , m_lanDevice(lanDevice.toUtf8())
{
}

Vxi11Link::~Vxi11Link()
{
    Vxi11Link::close();
}

bool Vxi11Link::open(int timeoutMs, LinkFailure& failure)
{
    static std::once_flag initialised;
    std::call_once(initialised, [] { lxi_init(); });
    // liblxi keeps a connect time-out right only in whole seconds (it drops the
    // fraction, or fails at once); the caller bounds the wait itself, so give
    // liblxi the next whole second beyond it.
    int const lxiTimeout = (timeoutMs / 1000 + 1) * 1000;
    m_device = lxi_connect(m_host.constData(), 0, m_lanDevice.constData(), lxiTimeout, VXI11);
    if (m_device < 0) {
        m_device = -1;
        // liblxi tells no cause: name where the link could fail.
        failure.kind = LinkError::Refused;
        failure.cause
            = QCoreApplication::translate("zelt::measure::io::visa::Vxi11Link",
                                          "no VXI-11 link to device \"%1\" (the instrument's portmapper "
                                          "on port 111 or its core channel refused or did not answer)")
                  .arg(QString::fromUtf8(m_lanDevice));
        return false;
    }
    m_buffer.resize(kAnswerLimit);
    return true;
}

bool Vxi11Link::write(QByteArray const& data, int timeoutMs, LinkFailure& failure)
{
    if (lxi_send(m_device, data.constData(), int(data.size()), timeoutMs) < 0) {
        // liblxi tells no cause here either; a link that fails a write is gone.
        failure.kind = LinkError::Lost;
        failure.cause
            = QCoreApplication::translate("zelt::measure::io::visa::Vxi11Link",
                                          "the instrument did not take a command (device_write failed)");
        return false;
    }
    return true;
}

MessageLink::ReadResult Vxi11Link::read(QByteArray& data, int timeoutMs, LinkFailure& /*failure*/)
{
    int const received = lxi_receive(m_device, m_buffer.data(), int(m_buffer.size()), timeoutMs);
    // liblxi reports a time-out and a broken link alike; a broken link shows at the next write.
    if (received < 0)
        return ReadResult::Timeout;
    data.append(m_buffer.constData(), received);
    return ReadResult::Data;
}

void Vxi11Link::close()
{
    if (m_device >= 0)
        lxi_disconnect(std::exchange(m_device, -1));
}

} // namespace zelt::measure::io::visa
