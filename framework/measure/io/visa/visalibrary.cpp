#include "measure/io/visa/visalibrary.h"

#include <QCoreApplication>
#include <QMutexLocker>

#include <map>

namespace zelt::measure::io::visa {

namespace {

QString tr(char const* text)
{
    return QCoreApplication::translate("zelt::measure::io::visa::VisaLibrary", text);
}

// Loaded libraries by the path asked for; they stay until the process ends.
QMutex g_mutex;
std::map<QString, std::shared_ptr<VisaLibrary>> g_loaded;
QString g_preferred;

} // namespace

QStringList const& VisaLibrary::usualNames()
{
    static QStringList const names
        = {QStringLiteral("libvisa.so"), QStringLiteral("libvisa.so.0"), QStringLiteral("librsvisa.so")};
    return names;
}

void VisaLibrary::setPreferredPath(QString const& path)
{
    QMutexLocker lock(&g_mutex);
    g_preferred = path;
}

QString VisaLibrary::preferredPath()
{
    QMutexLocker lock(&g_mutex);
    return g_preferred;
}

std::shared_ptr<VisaLibrary> VisaLibrary::load(QString const& path, QString& error)
{
    error.clear();
    if (path.isEmpty()) {
        for (QString const& name : usualNames()) {
            QString ignored;
            if (auto library = load(name, ignored))
                return library;
        }
        return nullptr;
    }

    QMutexLocker lock(&g_mutex);
    auto const found = g_loaded.find(path);
    if (found != g_loaded.end())
        return found->second;
    std::shared_ptr<VisaLibrary> library(new VisaLibrary(path));
    if (!library->m_library.load()) {
        error = tr("cannot load the VISA library %1: %2").arg(path, library->m_library.errorString());
        return nullptr;
    }
    if (!library->resolve(error)) {
        // The library stays mapped: unloading foreign code that ran its initialisers is not safe.
        return nullptr;
    }
    g_loaded.emplace(path, library);
    return library;
}

VisaLibrary::VisaLibrary(QString const& path)
    : m_library(path)
{
}

bool VisaLibrary::resolve(QString& error)
{
    struct Symbol
    {
        char const* name;
        QFunctionPointer* target;
        bool required;
    };
    Symbol const symbols[] = {
        {"viOpenDefaultRM", reinterpret_cast<QFunctionPointer*>(&viOpenDefaultRM), true},
        {"viOpen", reinterpret_cast<QFunctionPointer*>(&viOpen), true},
        {"viClose", reinterpret_cast<QFunctionPointer*>(&viClose), true},
        {"viWrite", reinterpret_cast<QFunctionPointer*>(&viWrite), true},
        {"viRead", reinterpret_cast<QFunctionPointer*>(&viRead), true},
        {"viSetAttribute", reinterpret_cast<QFunctionPointer*>(&viSetAttribute), true},
        {"viFindRsrc", reinterpret_cast<QFunctionPointer*>(&viFindRsrc), true},
        {"viFindNext", reinterpret_cast<QFunctionPointer*>(&viFindNext), true},
        {"viStatusDesc", reinterpret_cast<QFunctionPointer*>(&viStatusDesc), false},
        {"viClear", reinterpret_cast<QFunctionPointer*>(&viClear), false},
    };
    for (Symbol const& symbol : symbols) {
        *symbol.target = m_library.resolve(symbol.name);
        if (!*symbol.target && symbol.required) {
            error = tr("the library %1 is not a usable VISA library: it lacks the function %2")
                        .arg(m_library.fileName(), QLatin1String(symbol.name));
            return false;
        }
    }
    return true;
}

bool VisaLibrary::resourceManager(ViSession& rm, QString& error)
{
    QMutexLocker lock(&m_mutex);
    if (!m_rmOpen) {
        ViStatus const status = viOpenDefaultRM(&m_rm);
        if (status < kSuccess) {
            lock.unlock();
            error = tr("the VISA library %1 has no resource manager: %2").arg(fileName(), statusText(status));
            return false;
        }
        m_rmOpen = true;
    }
    rm = m_rm;
    return true;
}

QStringList VisaLibrary::findResources(QString const& expression)
{
    ViSession rm = 0;
    QString error;
    if (!resourceManager(rm, error))
        return {};
    quint32 list = 0;
    quint32 count = 0;
    char description[256] = {};
    if (viFindRsrc(rm, expression.toUtf8().constData(), &list, &count, description) < kSuccess)
        return {};
    QStringList found;
    for (quint32 i = 0; i < count; ++i) {
        if (i > 0 && viFindNext(list, description) < kSuccess)
            break;
        found << QString::fromUtf8(description);
    }
    viClose(list);
    return found;
}

QString VisaLibrary::statusText(ViStatus status)
{
    char text[256] = {};
    if (viStatusDesc && viStatusDesc(m_rm, status, text) >= kSuccess && text[0])
        return QString::fromUtf8(text);
    return tr("VISA status 0x%1").arg(quint32(status), 8, 16, QChar(u'0'));
}

} // namespace zelt::measure::io::visa
