#pragma once
// A serial line to an instrument ("ASRL3::INSTR", "ASRL/dev/ttyUSB0::INSTR"):
// SCPI lines as a byte stream, with the line settings taken from attributes.
// Failure kinds: a device that does not exist, or port number 0, is
// InvalidResource; no access right, or the port held by another program, is
// Permission; an open port whose device goes or fails is Lost.

#include "measure/io/abstractio.h"
#include "measure/zelt_measure_export.h"

#include <QSerialPort>
#include <QVariantMap>

namespace zelt::measure::io::visa {

struct ZELT_MEASURE_EXPORT SerialSettings
{
    qint32 baudRate = 9600;
    QSerialPort::DataBits dataBits = QSerialPort::Data8;
    QSerialPort::Parity parity = QSerialPort::NoParity;
    QSerialPort::StopBits stopBits = QSerialPort::OneStop;
    QSerialPort::FlowControl flowControl = QSerialPort::NoFlowControl;

    // Reads the VisaIO attributes baudRate, dataBits (5 to 8), parity (none, even,
    // odd, mark, space), stopBits (1, 1.5, 2) and flowControl (none, rtscts,
    // xonxoff); what is absent keeps its default, 9600 8N1 without flow control.
    // False with error naming the attribute when a value is out of its range.
    static bool fromAttributes(QVariantMap const& attributes, SerialSettings& settings, QString& error);
};

class ZELT_MEASURE_EXPORT SerialIO : public AbstractIO
{
    Q_OBJECT
public:
    // port is a device path, or a number n for /dev/ttyS<n-1> as the vendors'
    // VISA names them on Linux. resource names the channel in messages.
    SerialIO(QString resource, QString port, SerialSettings const& settings, QObject* parent = nullptr);
    ~SerialIO() override;

    // The device path that a resource's port field names, empty when none.
    static QString devicePath(QString const& port);

    // Opens at once: false with errorString() when the port cannot be opened,
    // otherwise opened() follows through the event loop.
    bool open() override;
    void close() override;
    void abort() override;
    bool isOpen() const override { return m_open; }
    bool write(QByteArray const& data) override;
    QString description() const override { return m_resource; }

private:
    void onError(QSerialPort::SerialPortError error);
    void onReadyRead();

    QString m_resource;
    QString m_path;
    QSerialPort* m_port;
    bool m_open = false;
};

} // namespace zelt::measure::io::visa
