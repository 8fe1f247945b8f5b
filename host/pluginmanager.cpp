#include "host/pluginmanager.h"

#include "widget/iequipment.h"
#include "widget/isimulatorfactory.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QLibrary>
#include <QPluginLoader>

namespace zelt::host {

PluginManager::PluginManager(QObject* parent)
    : QObject(parent)
{
}

// The plug-ins stay loaded for the life of the process: their windows and
// objects may outlive this manager.
PluginManager::~PluginManager() = default;

QString PluginManager::defaultFolder()
{
    QDir const bin(QCoreApplication::applicationDirPath());
    QStringList const candidates {QStringLiteral(ZELT_INSTALLED_PLUGIN_DIR),
                                  QStringLiteral(ZELT_BUILD_PLUGIN_DIR)};
    for (QString const& relative : candidates) {
        QFileInfo const folder(bin.filePath(relative));
        if (folder.isDir())
            return folder.canonicalFilePath();
    }
    return {};
}

int PluginManager::loadFolder(QString const& folder)
{
    QDir const dir(folder);
    if (folder.isEmpty() || !dir.exists()) {
        m_failures.append({folder, tr("The plug-in folder does not exist.")});
        return 0;
    }
    int loaded = 0;
    QFileInfoList const files = dir.entryInfoList(QDir::Files | QDir::NoDotAndDotDot, QDir::Name);
    for (QFileInfo const& file : files) {
        if (!QLibrary::isLibrary(file.fileName()))
            continue;
        QString const path = file.absoluteFilePath();
        auto* loader = new QPluginLoader(path, this);
        QObject* instance = loader->instance();
        if (!instance) {
            m_failures.append({path, loader->errorString()});
            delete loader;
            continue;
        }
        if (auto* simulator = qobject_cast<zelt::widget::ISimulatorFactory*>(instance)) {
            m_loaders.append(loader);
            m_simulators.append({path, simulator});
            continue;
        }
        auto* equipment = qobject_cast<zelt::widget::IEquipment*>(instance);
        if (!equipment) {
            m_failures.append({path,
                               tr("The plug-in %1 does not implement %2.")
                                   .arg(QString::fromLatin1(instance->metaObject()->className()),
                                        QStringLiteral(ZeltWidgetIEquipment_iid))});
            // Leave it loaded: unloading a library whose object lives on is unsafe.
            m_loaders.append(loader);
            continue;
        }
        LoadedPlugin plugin {path, equipment, equipment->modelInfo()};
        if (plugin.modelInfo.familyName.isEmpty() || plugin.modelInfo.viewInfos.isEmpty()) {
            m_failures.append({path, tr("The plug-in offers no instrument family.")});
            m_loaders.append(loader);
            continue;
        }
        m_loaders.append(loader);
        m_plugins.append(plugin);
        ++loaded;
    }
    return loaded;
}

LoadedPlugin const* PluginManager::findModel(QString const& model) const
{
    for (LoadedPlugin const& plugin : m_plugins) {
        if (plugin.modelInfo.hasModel(model))
            return &plugin;
    }
    return nullptr;
}

LoadedPlugin const* PluginManager::findFamily(QString const& family) const
{
    for (LoadedPlugin const& plugin : m_plugins) {
        if (plugin.modelInfo.familyName == family)
            return &plugin;
    }
    return nullptr;
}

zelt::widget::ISimulatorFactory* PluginManager::findSimulator(QString const& family) const
{
    for (LoadedSimulator const& simulator : m_simulators) {
        QString const name = simulator.factory->familyName();
        if (family.isEmpty() ? findFamily(name) != nullptr : name == family)
            return simulator.factory;
    }
    return nullptr;
}

} // namespace zelt::host
