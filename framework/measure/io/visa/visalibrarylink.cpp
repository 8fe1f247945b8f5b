#include "measure/io/visa/visalibrarylink.h"

#include <QCoreApplication>

#include <utility>

namespace zelt::measure::io::visa {

namespace {

constexpr int kChunk = 64 * 1024;

// The VISA errors that say what kind of failure it was.
constexpr VisaLibrary::ViStatus kErrorLocked = VisaLibrary::ViStatus(0xBFFF000F);
constexpr VisaLibrary::ViStatus kErrorNotFound = VisaLibrary::ViStatus(0xBFFF0011);
constexpr VisaLibrary::ViStatus kErrorInvalidName = VisaLibrary::ViStatus(0xBFFF0012);
constexpr VisaLibrary::ViStatus kErrorIo = VisaLibrary::ViStatus(0xBFFF003E);
constexpr VisaLibrary::ViStatus kErrorNoListeners = VisaLibrary::ViStatus(0xBFFF005F);
constexpr VisaLibrary::ViStatus kErrorBusy = VisaLibrary::ViStatus(0xBFFF0072);
constexpr VisaLibrary::ViStatus kErrorConnectionLost = VisaLibrary::ViStatus(0xBFFF00A6);
constexpr VisaLibrary::ViStatus kErrorMachineUnavailable = VisaLibrary::ViStatus(0xBFFF00A7);
constexpr VisaLibrary::ViStatus kErrorNoPermission = VisaLibrary::ViStatus(0xBFFF00A8);

LinkError kindOf(VisaLibrary::ViStatus status)
{
    switch (status) {
    case VisaLibrary::kErrorTimeout:
        return LinkError::TimedOut;
    case kErrorNotFound:
    case kErrorNoListeners:
    case kErrorMachineUnavailable:
        return LinkError::Refused;
    case kErrorInvalidName:
        return LinkError::InvalidResource;
    case kErrorLocked:
    case kErrorBusy:
    case kErrorNoPermission:
        return LinkError::Permission;
    case kErrorIo:
    case kErrorConnectionLost:
        return LinkError::Lost;
    default:
        return LinkError::Other;
    }
}

} // namespace

VisaLibraryLink::VisaLibraryLink(std::shared_ptr<VisaLibrary> library, QString resource)
    : m_library(std::move(library))
    , m_resource(resource.toUtf8())
{
}

VisaLibraryLink::~VisaLibraryLink()
{
    VisaLibraryLink::close();
}

LinkFailure VisaLibraryLink::failureOf(VisaLibrary::ViStatus status) const
{
    return {kindOf(status),
            QCoreApplication::translate("zelt::measure::io::visa::VisaLibraryLink", "%1 (VISA library %2)")
                .arg(m_library->statusText(status), m_library->fileName())};
}

bool VisaLibraryLink::open(int timeoutMs, LinkFailure& failure)
{
    VisaLibrary::ViSession rm = 0;
    if (!m_library->resourceManager(rm, failure.cause)) {
        failure.kind = LinkError::Other;
        return false;
    }
    VisaLibrary::ViStatus const status
        = m_library->viOpen(rm, m_resource.constData(), 0, quint32(qMax(timeoutMs, 0)), &m_vi);
    if (status < VisaLibrary::kSuccess) {
        failure = failureOf(status);
        return false;
    }
    m_open = true;
    // Answers end at the line feed, whatever the resource's default.
    m_library->viSetAttribute(m_vi, VisaLibrary::kAttrTermChar, '\n');
    m_library->viSetAttribute(m_vi, VisaLibrary::kAttrTermCharEnabled, 1);
    setTimeout(timeoutMs);
    m_buffer.resize(kChunk);
    return true;
}

bool VisaLibraryLink::setTimeout(int timeoutMs)
{
    if (timeoutMs == m_timeout)
        return true;
    if (m_library->viSetAttribute(m_vi, VisaLibrary::kAttrTimeout, quint64(qMax(timeoutMs, 0)))
        < VisaLibrary::kSuccess)
        return false;
    m_timeout = timeoutMs;
    return true;
}

bool VisaLibraryLink::write(QByteArray const& data, int timeoutMs, LinkFailure& failure)
{
    setTimeout(timeoutMs);
    quint32 written = 0;
    VisaLibrary::ViStatus const status = m_library->viWrite(
        m_vi, reinterpret_cast<unsigned char const*>(data.constData()), quint32(data.size()), &written);
    if (status < VisaLibrary::kSuccess) {
        failure = failureOf(status);
        return false;
    }
    return true;
}

MessageLink::ReadResult VisaLibraryLink::read(QByteArray& data, int timeoutMs, LinkFailure& failure)
{
    setTimeout(timeoutMs);
    for (;;) {
        quint32 count = 0;
        VisaLibrary::ViStatus const status = m_library->viRead(
            m_vi, reinterpret_cast<unsigned char*>(m_buffer.data()), quint32(m_buffer.size()), &count);
        if (status == VisaLibrary::kErrorTimeout)
            return ReadResult::Timeout;
        if (status < VisaLibrary::kSuccess) {
            failure = failureOf(status);
            return ReadResult::Failed;
        }
        data.append(m_buffer.constData(), count);
        // A full buffer without the end of the answer: the rest follows in the next read.
        if (status != VisaLibrary::kSuccessMaxCount)
            return ReadResult::Data;
    }
}

bool VisaLibraryLink::clear(int timeoutMs, LinkFailure& failure)
{
    setTimeout(timeoutMs);
    VisaLibrary::ViStatus const status = m_library->viClear(m_vi);
    if (status < VisaLibrary::kSuccess) {
        failure = failureOf(status);
        return false;
    }
    return true;
}

void VisaLibraryLink::close()
{
    if (m_open) {
        m_open = false;
        m_library->viClose(m_vi);
    }
}

} // namespace zelt::measure::io::visa
