#include "measure/io/visa/serialio.h"

#include <QMetaObject>

#include <utility>

namespace zelt::measure::io::visa {

namespace {

template<typename T> struct Choice
{
    char const* text;
    T value;
};

template<typename T, std::size_t N>
bool choose(QVariantMap const& attributes, char const* name, Choice<T> const (&choices)[N], T& value,
            QString& error)
{
    QVariant const v = attributes.value(QLatin1String(name));
    if (!v.isValid())
        return true;
    QString const text = v.toString().trimmed();
    QStringList allowed;
    for (Choice<T> const& choice : choices) {
        if (text.compare(QLatin1String(choice.text), Qt::CaseInsensitive) == 0) {
            value = choice.value;
            return true;
        }
        allowed << QLatin1String(choice.text);
    }
    error = QStringLiteral("%1 \"%2\" (one of %3)").arg(QLatin1String(name), text, allowed.join(u", "));
    return false;
}

} // namespace

bool SerialSettings::fromAttributes(QVariantMap const& attributes, SerialSettings& settings, QString& error)
{
    static Choice<QSerialPort::DataBits> const kDataBits[] = {{"5", QSerialPort::Data5},
                                                              {"6", QSerialPort::Data6},
                                                              {"7", QSerialPort::Data7},
                                                              {"8", QSerialPort::Data8}};
    static Choice<QSerialPort::Parity> const kParity[] = {{"none", QSerialPort::NoParity},
                                                          {"even", QSerialPort::EvenParity},
                                                          {"odd", QSerialPort::OddParity},
                                                          {"mark", QSerialPort::MarkParity},
                                                          {"space", QSerialPort::SpaceParity}};
    static Choice<QSerialPort::StopBits> const kStopBits[]
        = {{"1", QSerialPort::OneStop}, {"1.5", QSerialPort::OneAndHalfStop}, {"2", QSerialPort::TwoStop}};
    static Choice<QSerialPort::FlowControl> const kFlow[] = {{"none", QSerialPort::NoFlowControl},
                                                             {"rtscts", QSerialPort::HardwareControl},
                                                             {"xonxoff", QSerialPort::SoftwareControl}};

    SerialSettings s;
    QVariant const baud = attributes.value(QStringLiteral("baudRate"));
    if (baud.isValid()) {
        bool ok = false;
        s.baudRate = baud.toString().trimmed().toInt(&ok);
        if (!ok || s.baudRate < 50 || s.baudRate > 4000000) {
            error = QStringLiteral("baudRate \"%1\" (50 to 4000000)").arg(baud.toString());
            return false;
        }
    }
    if (!choose(attributes, "dataBits", kDataBits, s.dataBits, error)
        || !choose(attributes, "parity", kParity, s.parity, error)
        || !choose(attributes, "stopBits", kStopBits, s.stopBits, error)
        || !choose(attributes, "flowControl", kFlow, s.flowControl, error))
        return false;
    settings = s;
    return true;
}

SerialIO::SerialIO(QString resource, QString port, SerialSettings const& settings, QObject* parent)
    : AbstractIO(parent)
    , m_resource(std::move(resource))
    , m_path(devicePath(port))
    , m_port(new QSerialPort(this))
{
    m_port->setPortName(m_path);
    m_port->setBaudRate(settings.baudRate);
    m_port->setDataBits(settings.dataBits);
    m_port->setParity(settings.parity);
    m_port->setStopBits(settings.stopBits);
    m_port->setFlowControl(settings.flowControl);
    connect(m_port, &QSerialPort::errorOccurred, this, &SerialIO::onError);
    connect(m_port, &QSerialPort::readyRead, this, &SerialIO::onReadyRead);
}

SerialIO::~SerialIO()
{
    m_port->disconnect(this);
}

QString SerialIO::devicePath(QString const& port)
{
    bool number = false;
    int const n = port.toInt(&number);
    if (!number)
        return port;
    return n >= 1 ? QStringLiteral("/dev/ttyS%1").arg(n - 1) : QString();
}

bool SerialIO::open()
{
    abort();
    setError(LinkError::None, {});
    if (m_path.isEmpty()) {
        setError(LinkError::InvalidResource,
                 tr("Cannot open %1: serial port numbers start at 1 (ASRL1 is /dev/ttyS0).").arg(m_resource));
        return false;
    }
    if (!m_port->open(QIODevice::ReadWrite)) {
        QString cause = m_port->errorString();
        LinkError kind = LinkError::Other;
        switch (m_port->error()) {
        case QSerialPort::DeviceNotFoundError:
            kind = LinkError::InvalidResource;
            cause = tr("no such device");
            break;
        case QSerialPort::PermissionError:
            // Also a port that another program holds: Qt reports a busy port so.
            kind = LinkError::Permission;
            cause = tr("%1; the port is in use by another program, or the user lacks the right to "
                       "it (on Linux, serial ports belong to the group dialout)")
                        .arg(cause);
            break;
        default:
            break;
        }
        setError(kind, tr("Cannot open %1 (%2): %3").arg(m_resource, m_path, cause));
        m_port->clearError();
        return false;
    }
    // The port opens at once; the report goes through the event loop as a socket's would.
    QMetaObject::invokeMethod(
        this,
        [this] {
            if (m_port->isOpen() && !m_open) {
                m_open = true;
                Q_EMIT opened();
            }
        },
        Qt::QueuedConnection);
    return true;
}

void SerialIO::close()
{
    m_open = false;
    if (m_port->isOpen()) {
        m_port->flush();
        m_port->close();
    }
}

void SerialIO::abort()
{
    m_open = false;
    if (m_port->isOpen()) {
        m_port->clear();
        m_port->close();
    }
}

bool SerialIO::write(QByteArray const& data)
{
    if (!m_open)
        return false;
    return m_port->write(data) == data.size();
}

void SerialIO::onError(QSerialPort::SerialPortError error)
{
    // Errors of open() are reported by open() itself; after it, only the loss of
    // the device ends the channel. Parity and framing faults show as bad answers.
    if (!m_open
        || (error != QSerialPort::ResourceError && error != QSerialPort::WriteError
            && error != QSerialPort::ReadError))
        return;
    QString const message = error == QSerialPort::ResourceError
        ? tr("Connection to %1 lost: the serial device %2 has gone (%3)")
              .arg(m_resource, m_path, m_port->errorString())
        : tr("Connection to %1 lost: %2").arg(m_resource, m_port->errorString());
    abort();
    setError(LinkError::Lost, message);
    Q_EMIT errorOccurred(message);
    Q_EMIT closed();
}

void SerialIO::onReadyRead()
{
    deliver(m_port->readAll());
}

} // namespace zelt::measure::io::visa
