#pragma once
// A resource served by an installed VISA library: any string or alias that the
// library knows. Its calls block: run it inside a MessageIO. The kind of a
// failure follows the VISA status: resource not found or machine unavailable
// is Refused, an invalid name InvalidResource, locked, busy or no permission
// Permission, an I/O error or lost connection Lost, a time-out TimedOut.

#include "measure/io/visa/messagelink.h"
#include "measure/io/visa/visalibrary.h"
#include "measure/zelt_measure_export.h"

#include <memory>

namespace zelt::measure::io::visa {

class ZELT_MEASURE_EXPORT VisaLibraryLink : public MessageLink
{
public:
    VisaLibraryLink(std::shared_ptr<VisaLibrary> library, QString resource);
    ~VisaLibraryLink() override;

    bool open(int timeoutMs, LinkFailure& failure) override;
    bool write(QByteArray const& data, int timeoutMs, LinkFailure& failure) override;
    ReadResult read(QByteArray& data, int timeoutMs, LinkFailure& failure) override;
    bool canClear() const override { return m_library->viClear != nullptr; }
    bool clear(int timeoutMs, LinkFailure& failure) override;
    void close() override;

private:
    bool setTimeout(int timeoutMs);
    LinkFailure failureOf(VisaLibrary::ViStatus status) const;

    std::shared_ptr<VisaLibrary> m_library;
    QByteArray m_resource;
    VisaLibrary::ViSession m_vi = 0;
    bool m_open = false;
    int m_timeout = -1;
    QByteArray m_buffer;
};

} // namespace zelt::measure::io::visa
