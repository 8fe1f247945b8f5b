#include "measure/io/visa/visaio.h"

#include "measure/io/visa/messageio.h"
#include "measure/io/visa/serialio.h"
#include "measure/io/visa/tcpsocketio.h"
#include "measure/io/visa/usbtmclink.h"
#include "measure/io/visa/visalibrary.h"
#include "measure/io/visa/visalibrarylink.h"
#include "measure/io/visa/vxi11link.h"

#include <QSerialPortInfo>

#include <memory>

namespace zelt::measure::io::visa {

VisaIO::VisaIO(QString resource, QObject* parent)
    : AbstractIO(parent)
{
    setResource(resource);
}

VisaIO::~VisaIO()
{
    dropTransport(false);
}

QStringList VisaIO::findResources()
{
    QStringList found;
    for (QSerialPortInfo const& port : QSerialPortInfo::availablePorts())
        found << QStringLiteral("ASRL%1::INSTR").arg(port.systemLocation());
    for (UsbTmcLink::Device const& device : UsbTmcLink::devices(QStringLiteral("/sys"))) {
        VisaResource usb;
        usb.kind = VisaResource::Kind::Usb;
        usb.vendorId = device.vendorId;
        usb.productId = device.productId;
        usb.serialNumber = device.serialNumber;
        found << usb.canonical();
    }
    QString error;
    QString const preferred = VisaLibrary::preferredPath();
    if (auto library = VisaLibrary::load(preferred, error)) {
        for (QString const& resource : library->findResources()) {
            if (!found.contains(resource))
                found << resource;
        }
    }
    return found;
}

void VisaIO::setResource(QString const& resource)
{
    m_resourceText = resource.trimmed();
    m_resource = VisaResource::parse(m_resourceText);
}

void VisaIO::setTimeout(int milliseconds)
{
    m_timeout = qMax(1, milliseconds);
}

void VisaIO::setAttribute(QString const& name, QVariant const& value)
{
    if (value.isValid())
        m_attributes.insert(name, value);
    else
        m_attributes.remove(name);
}

bool VisaIO::open()
{
    dropTransport(false);
    ++m_generation;
    setError(LinkError::None, {});

    QString error;
    LinkError kind = LinkError::InvalidResource;
    m_transport = makeTransport(kind, error);
    if (!m_transport) {
        fail(kind, error);
        return false;
    }
    connect(m_transport, &AbstractIO::opened, this, &AbstractIO::opened);
    m_transport->setDataChannel(this);
    connect(m_transport, &AbstractIO::errorOccurred, this, &VisaIO::onTransportError);
    connect(m_transport, &AbstractIO::closed, this, &AbstractIO::closed);
    if (!m_transport->open()) {
        fail(m_transport->errorKind(), m_transport->errorString());
        dropTransport(false);
        return false;
    }
    return true;
}

AbstractIO* VisaIO::makeTransport(LinkError& kind, QString& error)
{
    QString const library = m_attributes.value(QStringLiteral("visaLibrary")).toString();
    if (!library.isEmpty())
        return makeLibraryTransport(library, kind, error);
    if (QString const preferred = VisaLibrary::preferredPath(); !preferred.isEmpty())
        return makeLibraryTransport(preferred, kind, error);

    switch (m_resource.kind) {
    case VisaResource::Kind::TcpipSocket:
        return new TcpSocketIO(m_resourceText, m_resource.host, m_resource.port, m_timeout, this);
    case VisaResource::Kind::Asrl: {
        SerialSettings settings;
        if (!SerialSettings::fromAttributes(m_attributes, settings, error)) {
            error = tr("Invalid serial setting for %1: %2").arg(m_resourceText, error);
            return nullptr;
        }
        return new SerialIO(m_resourceText, m_resource.serialPort, settings, this);
    }
    case VisaResource::Kind::TcpipInstr: {
        QString const host = m_resource.host;
        QString const device = m_resource.lanDevice;
        return new MessageIO(
            m_resourceText, [host, device] { return std::make_unique<Vxi11Link>(host, device); }, m_timeout,
            this);
    }
    case VisaResource::Kind::Usb: {
        VisaResource const resource = m_resource;
        return new MessageIO(
            m_resourceText, [resource] { return std::make_unique<UsbTmcLink>(resource); }, m_timeout, this);
    }
    case VisaResource::Kind::Gpib:
    case VisaResource::Kind::Invalid:
        break;
    }

    // What no built-in transport serves may be an alias or a GPIB address of an installed VISA library.
    if (auto installed = VisaLibrary::load({}, error)) {
        QString const resource = m_resourceText;
        return new MessageIO(
            m_resourceText,
            [installed, resource] { return std::make_unique<VisaLibraryLink>(installed, resource); },
            m_timeout, this);
    }
    if (!m_resource.isValid())
        error = tr("Invalid VISA resource \"%1\": %2").arg(m_resourceText, m_resource.error);
    else
        error
            = tr("Cannot open %1: GPIB needs an installed VISA library, and none was found (looked for %2).")
                  .arg(m_resourceText, VisaLibrary::usualNames().join(QStringLiteral(", ")));
    return nullptr;
}

AbstractIO* VisaIO::makeLibraryTransport(QString const& path, LinkError& kind, QString& error)
{
    auto library = VisaLibrary::load(path, error);
    if (!library) {
        kind = LinkError::Other;
        error = tr("Cannot open %1: %2").arg(m_resourceText, error);
        return nullptr;
    }
    QString const resource = m_resourceText;
    return new MessageIO(
        m_resourceText, [library, resource] { return std::make_unique<VisaLibraryLink>(library, resource); },
        m_timeout, this);
}

void VisaIO::close()
{
    if (!m_transport)
        return;
    dropTransport(true);
    postClosed();
}

void VisaIO::abort()
{
    if (!m_transport)
        return;
    dropTransport(false);
    postClosed();
}

bool VisaIO::isOpen() const
{
    return m_transport && m_transport->isOpen();
}

bool VisaIO::write(QByteArray const& data)
{
    return m_transport && m_transport->write(data);
}

bool VisaIO::deviceClear()
{
    return m_transport && m_transport->deviceClear();
}

void VisaIO::dropTransport(bool flush)
{
    if (!m_transport)
        return;
    AbstractIO* transport = m_transport;
    m_transport = nullptr;
    transport->disconnect(this);
    transport->setDataChannel(nullptr);
    if (flush)
        transport->close();
    else
        transport->abort();
    // A socket still sending what was written goes when it is done.
    transport->deleteLater();
}

void VisaIO::fail(LinkError kind, QString const& message)
{
    setError(kind, message);
    // Reported through the event loop, as a refused connection is, so that
    // callers see one failure path whatever went wrong.
    int const generation = m_generation;
    QMetaObject::invokeMethod(
        this,
        [this, message, generation] {
            if (generation == m_generation)
                Q_EMIT errorOccurred(message);
        },
        Qt::QueuedConnection);
}

void VisaIO::postClosed()
{
    int const generation = m_generation;
    QMetaObject::invokeMethod(
        this,
        [this, generation] {
            if (generation == m_generation)
                Q_EMIT closed();
        },
        Qt::QueuedConnection);
}

void VisaIO::onTransportError(QString const& message)
{
    setError(m_transport ? m_transport->errorKind() : LinkError::Other, message);
    Q_EMIT errorOccurred(message);
}

} // namespace zelt::measure::io::visa
