#pragma once
// Finds and loads the instrument plug-ins of a folder, and keeps what each one
// offers; plug-ins that can't be used are kept with the reason.

#include "widget/modelinfo.h"

#include <QList>
#include <QObject>
#include <QString>

class QPluginLoader;

namespace zelt::widget {
class IEquipment;
class ISimulatorFactory;
} // namespace zelt::widget

namespace zelt::host {

struct LoadedPlugin
{
    QString path;
    zelt::widget::IEquipment* equipment = nullptr;
    zelt::widget::ModelInfo modelInfo;
};

struct LoadedSimulator
{
    QString path;
    zelt::widget::ISimulatorFactory* factory = nullptr;
};

struct PluginFailure
{
    QString path;
    QString reason;
};

class PluginManager : public QObject
{
    Q_OBJECT
public:
    explicit PluginManager(QObject* parent = nullptr);
    ~PluginManager() override;

    // The plug-in folder of the running executable: beside it in the build tree,
    // or under the library folder of an installation; empty when neither exists.
    static QString defaultFolder();

    // Loads every library of folder, in file-name order. Returns the number of
    // instrument plug-ins that loaded; simulator plug-ins go to simulators(), and
    // failures() tells why the others didn't.
    int loadFolder(QString const& folder);

    QList<LoadedPlugin> const& plugins() const { return m_plugins; }
    QList<LoadedSimulator> const& simulators() const { return m_simulators; }
    QList<PluginFailure> const& failures() const { return m_failures; }

    // The first plug-in, in load order, whose catalogue has model; null if none.
    LoadedPlugin const* findModel(QString const& model) const;
    LoadedPlugin const* findFamily(QString const& family) const;
    // The simulator of family, or else of the first family with both plug-ins; null if none.
    zelt::widget::ISimulatorFactory* findSimulator(QString const& family = {}) const;

private:
    QList<LoadedPlugin> m_plugins;
    QList<LoadedSimulator> m_simulators;
    QList<PluginFailure> m_failures;
    QList<QPluginLoader*> m_loaders;
};

} // namespace zelt::host
