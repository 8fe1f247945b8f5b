#pragma once
// An installed VISA library, loaded at run time (never linked), so that the
// product starts on machines without one. A library is loaded once per process
// and stays; its calls are safe from any thread, as VISA requires.

#include "measure/zelt_measure_export.h"

#include <QLibrary>
#include <QMutex>
#include <QStringList>

#include <memory>

namespace zelt::measure::io::visa {

class ZELT_MEASURE_EXPORT VisaLibrary
{
public:
    using ViStatus = qint32;
    using ViSession = quint32;

    static constexpr ViStatus kSuccess = 0;
    static constexpr ViStatus kErrorTimeout = ViStatus(0xBFFF0015);
    static constexpr ViStatus kSuccessMaxCount = 0x3FFF0006;
    static constexpr quint32 kAttrTimeout = 0x3FFF001A;
    static constexpr quint32 kAttrTermChar = 0x3FFF0018;
    static constexpr quint32 kAttrTermCharEnabled = 0x3FFF0038;

    // The file names under which the vendors install VISA on Linux, in the order tried.
    static QStringList const& usualNames();

    // The library that serves every resource when set: the host's choice, made
    // before any channel opens. Empty (the default) lets the built-in transports
    // serve what they can.
    static void setPreferredPath(QString const& path);
    static QString preferredPath();

    // The library at path (a file name is looked up as the dynamic linker does),
    // or with an empty path the first of usualNames() that loads. Null with error
    // set when it cannot be loaded or lacks a function; null with error empty when
    // an empty path found none.
    static std::shared_ptr<VisaLibrary> load(QString const& path, QString& error);

    QString fileName() const { return m_library.fileName(); }

    // The default resource manager, opened on first use.
    bool resourceManager(ViSession& rm, QString& error);
    // The resources that the library finds, such as "USB0::0x1AB1::...::INSTR"; empty on failure.
    QStringList findResources(QString const& expression = QStringLiteral("?*::INSTR"));
    QString statusText(ViStatus status);

    ViStatus (*viOpenDefaultRM)(ViSession* rm) = nullptr;
    ViStatus (*viOpen)(ViSession rm, char const* name, quint32 mode, quint32 timeout, ViSession* vi)
        = nullptr;
    ViStatus (*viClose)(ViSession vi) = nullptr;
    ViStatus (*viWrite)(ViSession vi, unsigned char const* buffer, quint32 count, quint32* written) = nullptr;
    ViStatus (*viRead)(ViSession vi, unsigned char* buffer, quint32 count, quint32* read) = nullptr;
    ViStatus (*viSetAttribute)(ViSession vi, quint32 attribute, quint64 value) = nullptr;
    ViStatus (*viFindRsrc)(ViSession rm, char const* expression, quint32* list, quint32* count,
                           char* description)
        = nullptr;
    ViStatus (*viFindNext)(quint32 list, char* description) = nullptr;
    // Optional: a library without them still serves.
    ViStatus (*viStatusDesc)(ViSession vi, ViStatus status, char* description) = nullptr;
    ViStatus (*viClear)(ViSession vi) = nullptr;

private:
    explicit VisaLibrary(QString const& path);
    bool resolve(QString& error);

    QLibrary m_library;
    QMutex m_mutex;
    ViSession m_rm = 0;
    bool m_rmOpen = false;
};

} // namespace zelt::measure::io::visa
