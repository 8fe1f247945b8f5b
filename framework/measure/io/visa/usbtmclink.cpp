#include "measure/io/visa/usbtmclink.h"

#include "measure/io/visa/visaresource.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <linux/usb/tmc.h>
#include <sys/ioctl.h>
#include <unistd.h>
#include <utility>

namespace zelt::measure::io::visa {

namespace {

constexpr int kAnswerLimit = 64 * 1024;

QString tr(char const* text)
{
    return QCoreApplication::translate("zelt::measure::io::visa::UsbTmcLink", text);
}

QString readLine(QString const& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return QString::fromUtf8(file.readLine()).trimmed();
}

QString hex4(quint16 id)
{
    return QStringLiteral("0x") + QStringLiteral("%1").arg(id, 4, 16, QChar(u'0')).toUpper();
}

} // namespace

QString UsbTmcLink::udevRule()
{
    return QStringLiteral("SUBSYSTEM==\"usbmisc\", KERNEL==\"usbtmc*\", MODE=\"0666\"");
}

QList<UsbTmcLink::Device> UsbTmcLink::devices(QString const& sysfsRoot)
{
    QList<Device> found;
    QDir const classDir(sysfsRoot + QStringLiteral("/class/usbmisc"));
    QStringList const nodes
        = classDir.entryList({QStringLiteral("usbtmc*")}, QDir::Dirs | QDir::System, QDir::Name);
    for (QString const& node : nodes) {
        // "device" leads to the USB interface; its parent is the USB device with the ids.
        QString const interfaceDir
            = QFileInfo(classDir.filePath(node + QStringLiteral("/device"))).canonicalFilePath();
        if (interfaceDir.isEmpty())
            continue;
        QString const deviceDir = QFileInfo(interfaceDir).path();
        Device device;
        bool okVendor = false;
        bool okProduct = false;
        bool okInterface = false;
        device.node = node;
        device.vendorId = quint16(readLine(deviceDir + QStringLiteral("/idVendor")).toUInt(&okVendor, 16));
        device.productId = quint16(readLine(deviceDir + QStringLiteral("/idProduct")).toUInt(&okProduct, 16));
        device.serialNumber = readLine(deviceDir + QStringLiteral("/serial"));
        device.usbInterface
            = readLine(interfaceDir + QStringLiteral("/bInterfaceNumber")).toInt(&okInterface, 16);
        if (okVendor && okProduct && okInterface)
            found << device;
    }
    return found;
}

QString UsbTmcLink::locate(VisaResource const& resource, QString const& sysfsRoot, QString const& devRoot,
                           QString& error)
{
    for (Device const& device : devices(sysfsRoot)) {
        if (device.vendorId == resource.vendorId && device.productId == resource.productId
            && device.serialNumber == resource.serialNumber
            && (resource.usbInterface < 0 || resource.usbInterface == device.usbInterface))
            return devRoot + u'/' + device.node;
    }
    error = tr("no USB-TMC device with vendor id %1, product id %2 and serial number \"%3\" is "
               "connected (none of the usbtmc devices in %4 matches; is the instrument on, plugged "
               "in, and the kernel's usbtmc driver loaded?)")
                .arg(hex4(resource.vendorId), hex4(resource.productId), resource.serialNumber,
                     sysfsRoot + QStringLiteral("/class/usbmisc"));
    return {};
}

QString UsbTmcLink::openError(QString const& node, int error)
{
    switch (error) {
    case EACCES:
    case EPERM:
        return tr("permission denied on %1. Grant access with a udev rule such as %2 in a file under "
                  "/etc/udev/rules.d, then plug the instrument in again")
            .arg(node, udevRule());
    case ENOENT:
        return tr("the device node %1 does not exist").arg(node);
    case ENODEV:
    case ENXIO:
        return tr("the device behind %1 has gone").arg(node);
    case EBUSY:
        return tr("%1 is busy: another program holds the instrument").arg(node);
    default:
        return tr("%1: %2").arg(node, QString::fromLocal8Bit(std::strerror(error)));
    }
}

LinkError UsbTmcLink::errorKind(int error)
{
    switch (error) {
    case EACCES:
    case EPERM:
    case EBUSY:
        return LinkError::Permission;
    case ENOENT:
        return LinkError::InvalidResource;
    case ENODEV:
    case ENXIO:
    case ESHUTDOWN:
        return LinkError::Lost;
    case ETIMEDOUT:
        return LinkError::TimedOut;
    default:
        return LinkError::Other;
    }
}

LinkFailure UsbTmcLink::failureOf(int error) const
{
    return {errorKind(error), openError(m_node, error)};
}

UsbTmcLink::UsbTmcLink(VisaResource const& resource, QString sysfsRoot, QString devRoot)
    : m_vendorId(resource.vendorId)
    , m_productId(resource.productId)
    , m_serial(resource.serialNumber)
    , m_interface(resource.usbInterface)
    , m_sysfsRoot(std::move(sysfsRoot))
    , m_devRoot(std::move(devRoot))
{
}

UsbTmcLink::~UsbTmcLink()
{
    UsbTmcLink::close();
}

bool UsbTmcLink::open(int timeoutMs, LinkFailure& failure)
{
    VisaResource resource;
    resource.vendorId = m_vendorId;
    resource.productId = m_productId;
    resource.serialNumber = m_serial;
    resource.usbInterface = m_interface;
    m_node = locate(resource, m_sysfsRoot, m_devRoot, failure.cause);
    if (m_node.isEmpty()) {
        failure.kind = LinkError::InvalidResource;
        return false;
    }
    m_fd = ::open(QFile::encodeName(m_node).constData(), O_RDWR | O_CLOEXEC);
    if (m_fd < 0) {
        failure = failureOf(errno);
        return false;
    }
    setTimeout(timeoutMs);
    m_buffer.resize(kAnswerLimit);
    return true;
}

bool UsbTmcLink::setTimeout(int timeoutMs)
{
    if (timeoutMs == m_timeout)
        return true;
    __u32 value = __u32(qMax(timeoutMs, 100)); // the driver refuses less
    if (::ioctl(m_fd, USBTMC_IOCTL_SET_TIMEOUT, &value) != 0)
        return false;
    m_timeout = timeoutMs;
    return true;
}

bool UsbTmcLink::write(QByteArray const& data, int timeoutMs, LinkFailure& failure)
{
    setTimeout(timeoutMs);
    qsizetype done = 0;
    while (done < data.size()) {
        ssize_t const n = ::write(m_fd, data.constData() + done, size_t(data.size() - done));
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0) {
            failure = failureOf(errno);
            return false;
        }
        done += n;
    }
    return true;
}

MessageLink::ReadResult UsbTmcLink::read(QByteArray& data, int timeoutMs, LinkFailure& failure)
{
    setTimeout(timeoutMs);
    ssize_t n;
    do {
        n = ::read(m_fd, m_buffer.data(), size_t(m_buffer.size()));
    } while (n < 0 && errno == EINTR);
    if (n < 0 && errno == ETIMEDOUT)
        return ReadResult::Timeout;
    if (n < 0) {
        failure = failureOf(errno);
        return ReadResult::Failed;
    }
    data.append(m_buffer.constData(), n);
    return ReadResult::Data;
}

bool UsbTmcLink::clear(int /*timeoutMs*/, LinkFailure& failure)
{
    if (::ioctl(m_fd, USBTMC_IOCTL_CLEAR) == 0)
        return true;
    failure = failureOf(errno);
    return false;
}

void UsbTmcLink::close()
{
    if (m_fd >= 0)
        ::close(std::exchange(m_fd, -1));
}

} // namespace zelt::measure::io::visa
