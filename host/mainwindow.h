#pragma once
// The host's main window: a multi-document area with one sub-window per
// connected instrument, and the menus to connect, simulate and arrange them.

#include "widget/equipmentinfo.h"

#include <QList>
#include <QMainWindow>
#include <QPointer>
#include <QSharedPointer>

#include <functional>

class QMdiArea;
class QMenu;

namespace zelt::store {
class SessionStore;
}

namespace zelt::host {

class InstrumentArea;
class InstrumentListDock;
class InstrumentSession;
class PluginManager;
struct ConnectRequest;

class MainWindow : public QMainWindow
{
    Q_OBJECT
public:
    explicit MainWindow(PluginManager* plugins, QWidget* parent = nullptr);
    ~MainWindow() override;

    QMdiArea* mdiArea() const;

    // Each opens the window of one instrument and returns false with the reason
    // in error when it can't. The window shows as soon as the plug-in returns it.
    bool openSimulated(QString const& model, QString const& name, QString* error = nullptr);
    bool openResource(QString const& model, QString const& resource, QString const& name,
                      QString* error = nullptr);
    bool open(ConnectRequest const& request, QString* error = nullptr);
    // Each instrument window opened from now on logs its record there; the store outlives this.
    void setSessionStore(zelt::store::SessionStore* store);

    // Shows the connect dialog, not blocking; simulated preselects the simulator.
    void showConnectDialog(bool simulated = false);

    // Asks, not blocking, whether to reopen the saved instruments, and reopens them on Yes;
    // declined runs on No. False, asking nothing, when none were saved.
    bool offerRestore(std::function<void()> declined = {});
    // The host's record of each open instrument, in the order they were opened.
    QList<InstrumentSession*> sessions() const;
    InstrumentListDock* instrumentList() const { return m_list; }
    // The session of the active instrument window, if any.
    InstrumentSession* activeSession() const;
    // Shows the SCPI console of the instrument in a dock of its own, made on first use.
    void showConsole(InstrumentSession* session);

    // How long a quit waits for the instrument windows to finish closing.
    static constexpr int kCloseBoundMs = 5000;

Q_SIGNALS:
    // An instrument has answered for the first time.
    void equipmentAnswered(QSharedPointer<zelt::widget::EquipmentInfo> const& info);
    // An instrument window has told that it opened.
    void equipmentOpened(QSharedPointer<zelt::widget::EquipmentInfo> const& info);
    // The main window has closed, after its instrument windows.
    void closed();

protected:
    // The main window goes only after every instrument window has closed through its own
    // close, which saves its settings and may wait for its driver to stop; a window that
    // takes longer than kCloseBoundMs is left to be destroyed with the main window.
    void closeEvent(QCloseEvent* event) override;

private:
    void createMenus();
    bool openEquipment(QSharedPointer<zelt::widget::EquipmentInfo> const& info, QObject* simulator,
                       QString* error);
    void reportPlugins();
    void showAbout();
    void showPlugins();
    void updateWindowMenu();
    // Asks before quitting while an instrument's output is on; false to stay.
    bool confirmQuit();
    void saveOpenInstruments() const;

    bool instrumentsOpen() const;

    PluginManager* m_plugins;
    InstrumentArea* m_mdi;
    InstrumentListDock* m_list;
    QMenu* m_windowMenu = nullptr;
    QList<QPointer<InstrumentSession>> m_sessions;
    QPointer<zelt::store::SessionStore> m_store;
    bool m_closingInstruments = false;
    bool m_closeBoundPassed = false;
};

} // namespace zelt::host
