#pragma once
// A USB-TMC instrument ("USB::0x1AB1::0x04CE::SERIAL::INSTR") through the
// kernel's usbtmc driver: the /dev/usbtmc* node is found by vendor, product and
// serial number in sysfs. A write is one command, a read one answer.

#include "measure/io/visa/messagelink.h"
#include "measure/zelt_measure_export.h"

#include <QList>

namespace zelt::measure::io::visa {

struct VisaResource;

class ZELT_MEASURE_EXPORT UsbTmcLink : public MessageLink
{
public:
    struct Device
    {
        QString node; // "usbtmc0"
        quint16 vendorId = 0;
        quint16 productId = 0;
        QString serialNumber;
        int usbInterface = 0;
    };

    // The udev rule that opens usbtmc nodes to every user, for messages.
    static QString udevRule();

    // The usbtmc interfaces that sysfsRoot (normally /sys) shows.
    static QList<Device> devices(QString const& sysfsRoot);

    // The device node of the usbtmc interface that resource names, looked up under
    // sysfsRoot (normally /sys) and devRoot (normally /dev). Empty with error, a
    // phrase naming what was looked for, when none matches.
    static QString locate(VisaResource const& resource, QString const& sysfsRoot, QString const& devRoot,
                          QString& error);
    // Why node cannot be opened, from the errno of open().
    static QString openError(QString const& node, int error);
    // The kind of a failure with that errno: no access or a busy node is
    // Permission, a missing node InvalidResource, a device gone Lost.
    static LinkError errorKind(int error);

    UsbTmcLink(VisaResource const& resource, QString sysfsRoot = QStringLiteral("/sys"),
               QString devRoot = QStringLiteral("/dev"));
    ~UsbTmcLink() override;

    // An instrument that is not connected is InvalidResource.
    bool open(int timeoutMs, LinkFailure& failure) override;
    bool write(QByteArray const& data, int timeoutMs, LinkFailure& failure) override;
    ReadResult read(QByteArray& data, int timeoutMs, LinkFailure& failure) override;
    bool canClear() const override { return true; }
    bool clear(int timeoutMs, LinkFailure& failure) override;
    void close() override;

private:
    bool setTimeout(int timeoutMs);
    LinkFailure failureOf(int error) const;

    quint16 m_vendorId;
    quint16 m_productId;
    QString m_serial;
    int m_interface;
    QString m_sysfsRoot;
    QString m_devRoot;
    QString m_node;
    int m_fd = -1;
    int m_timeout = -1;
    QByteArray m_buffer;
};

} // namespace zelt::measure::io::visa
