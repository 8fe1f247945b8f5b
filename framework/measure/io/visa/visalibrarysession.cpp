#include "measure/io/visa/visalibrarysession.h"

#include <QCoreApplication>

#include <utility>

namespace zelt::measure::io::visa {

namespace {

constexpr int kChunk = 64 * 1024;

} // namespace

VisaLibrarySession::VisaLibrarySession(std::shared_ptr<VisaLibrary> library, QString resource)
    : m_library(std::move(library))
    , m_resource(resource.toUtf8())
{
}

VisaLibrarySession::~VisaLibrarySession()
{
    close();
}

QString VisaLibrarySession::failure(VisaLibrary::ViStatus status) const
{
    return QCoreApplication::translate("zelt::measure::io::visa::VisaLibrarySession", "%1 (VISA library %2)")
        .arg(m_library->statusText(status), m_library->fileName());
}

bool VisaLibrarySession::open(int timeoutMs, QString& error)
{
    VisaLibrary::ViSession rm = 0;
    if (!m_library->resourceManager(rm, error))
        return false;
    VisaLibrary::ViStatus const status
        = m_library->viOpen(rm, m_resource.constData(), 0, quint32(qMax(timeoutMs, 0)), &m_session);
    if (status < VisaLibrary::kSuccess) {
        error = failure(status);
        return false;
    }
    m_open = true;
    // Answers end at the line feed, whatever the resource's default.
    m_library->viSetAttribute(m_session, VisaLibrary::kAttrTermChar, '\n');
    m_library->viSetAttribute(m_session, VisaLibrary::kAttrTermCharEnabled, 1);
    setTimeout(timeoutMs);
    m_buffer.resize(kChunk);
    return true;
}

bool VisaLibrarySession::setTimeout(int timeoutMs)
{
    if (timeoutMs == m_timeout)
        return true;
    if (m_library->viSetAttribute(m_session, VisaLibrary::kAttrTimeout, quint64(qMax(timeoutMs, 0)))
        < VisaLibrary::kSuccess)
        return false;
    m_timeout = timeoutMs;
    return true;
}

bool VisaLibrarySession::write(QByteArray const& data, int timeoutMs, QString& error)
{
    setTimeout(timeoutMs);
    quint32 written = 0;
    VisaLibrary::ViStatus const status = m_library->viWrite(
        m_session, reinterpret_cast<unsigned char const*>(data.constData()), quint32(data.size()), &written);
    if (status < VisaLibrary::kSuccess) {
        error = failure(status);
        return false;
    }
    return true;
}

MessageSession::ReadResult VisaLibrarySession::read(QByteArray& data, int timeoutMs, QString& error)
{
    setTimeout(timeoutMs);
    for (;;) {
        quint32 count = 0;
        VisaLibrary::ViStatus const status = m_library->viRead(
            m_session, reinterpret_cast<unsigned char*>(m_buffer.data()), quint32(m_buffer.size()), &count);
        if (status == VisaLibrary::kErrorTimeout)
            return ReadResult::Timeout;
        if (status < VisaLibrary::kSuccess) {
            error = failure(status);
            return ReadResult::Failed;
        }
        data.append(m_buffer.constData(), count);
        // A full buffer without the end of the answer: the rest follows in the next read.
        if (status != VisaLibrary::kSuccessMaxCount)
            return ReadResult::Data;
    }
}

bool VisaLibrarySession::clear(int timeoutMs, QString& error)
{
    setTimeout(timeoutMs);
    VisaLibrary::ViStatus const status = m_library->viClear(m_session);
    if (status < VisaLibrary::kSuccess) {
        error = failure(status);
        return false;
    }
    return true;
}

void VisaLibrarySession::close()
{
    if (m_open) {
        m_open = false;
        m_library->viClose(m_session);
    }
}

} // namespace zelt::measure::io::visa
