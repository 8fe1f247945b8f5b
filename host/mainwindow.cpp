#include "host/mainwindow.h"

#include "host/connectdialog.h"
#include "host/console/scpiconsole.h"
#include "host/instrumentarea.h"
#include "host/instrumentlist.h"
#include "host/instrumentsession.h"
#include "host/lastinstruments.h"
#include "host/pluginmanager.h"
#include "host/sessions/sessionbrowser.h"
#include "host/sessions/sessionrecorder.h"

#include "measure/io/visa/visaresource.h"
#include "measure/measureinst.h"
#include "store/sessionstore.h"
#include "widget/equipmentwindow.h"
#include "widget/iequipment.h"
#include "widget/isimulatorfactory.h"

#include <QApplication>
#include <QCloseEvent>
#include <QDockWidget>
#include <QFileInfo>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QMenuBar>
#include <QMessageBox>
#include <QStatusBar>
#include <QTableView>
#include <QTimer>

#include <algorithm>
#include <utility>

namespace zelt::host {

MainWindow::MainWindow(PluginManager* plugins, QWidget* parent)
    : QMainWindow(parent)
    , m_plugins(plugins)
    , m_mdi(new InstrumentArea(this))
    , m_list(new InstrumentListDock(this))
{
    setWindowTitle(tr("Zelt Instruments"));
    setWindowIcon(QIcon(QStringLiteral(":/images/zelt-host.png")));
    setCentralWidget(m_mdi);
    addDockWidget(Qt::BottomDockWidgetArea, m_list);
    connect(m_list, &InstrumentListDock::activated, this, [this](InstrumentSession* session) {
        if (auto* window = session->window()) {
            if (window->isMinimized())
                window->showNormal();
            m_mdi->setActiveSubWindow(window);
            window->raise();
        }
    });
    createMenus();
    reportPlugins();
    resize(1280, 800);
    // A few rows tall: the instruments' own windows get the room.
    resizeDocks({m_list}, {fontMetrics().height() * 7}, Qt::Vertical);
}

MainWindow::~MainWindow() = default;

QMdiArea* MainWindow::mdiArea() const
{
    return m_mdi;
}

void MainWindow::createMenus()
{
    QMenu* instrument = menuBar()->addMenu(tr("&Instrument"));
    QAction* connectAction
        = instrument->addAction(tr("&Connect..."), this, [this] { showConnectDialog(false); });
    connectAction->setShortcut(QKeySequence::Open);
    instrument->addAction(tr("&Simulate..."), this, [this] { showConnectDialog(true); });
    QAction* close = instrument->addAction(tr("C&lose"), m_mdi, &QMdiArea::closeActiveSubWindow);
    close->setShortcut(QKeySequence::Close);
    instrument->addAction(tr("Sessi&ons..."), this, [this] {
        zelt::store::StoreTarget target;
        if (!m_store)
            zelt::store::StoreTarget::parse({}, &target);
        auto* browser = new SessionBrowser(m_store ? m_store->target() : target, this);
        browser->setAttribute(Qt::WA_DeleteOnClose);
        browser->show();
    });
    instrument->addSeparator();
    instrument->addAction(tr("SCPI Co&nsole"), this, [this] {
        if (InstrumentSession* session = activeSession())
            showConsole(session);
    });
    instrument->addAction(tr("Share on a &Local Port..."), this, [this] {
        if (InstrumentSession* session = activeSession())
            session->showShareDialog();
    });
    instrument->addSeparator();
    QAction* quit = instrument->addAction(tr("&Quit"), this, &QWidget::close);
    quit->setShortcut(QKeySequence::Quit);

    m_windowMenu = menuBar()->addMenu(tr("&Window"));
    connect(m_windowMenu, &QMenu::aboutToShow, this, &MainWindow::updateWindowMenu);
    updateWindowMenu();

    QMenu* help = menuBar()->addMenu(tr("&Help"));
    help->addAction(tr("&Plug-ins..."), this, &MainWindow::showPlugins);
    help->addAction(tr("&About"), this, &MainWindow::showAbout);
}

void MainWindow::reportPlugins()
{
    int const loaded = int(m_plugins->plugins().size());
    int const failed = int(m_plugins->failures().size());
    QString text = tr("%n plug-in(s) loaded", nullptr, loaded);
    if (failed > 0)
        text += tr(", %n failed: see Help > Plug-ins", nullptr, failed);
    statusBar()->showMessage(text);
}

bool MainWindow::openSimulated(QString const& model, QString const& name, QString* error)
{
    ConnectRequest request;
    request.model = model;
    request.name = name;
    request.simulated = true;
    return open(request, error);
}

bool MainWindow::openResource(QString const& model, QString const& resource, QString const& name,
                              QString* error)
{
    ConnectRequest request;
    request.model = model;
    request.resource = resource;
    request.name = name;
    return open(request, error);
}

bool MainWindow::open(ConnectRequest const& request, QString* error)
{
    LoadedPlugin const* plugin = request.family.isEmpty() ? m_plugins->findModel(request.model)
                                                          : m_plugins->findFamily(request.family);
    if (!plugin || !plugin->modelInfo.hasModel(request.model)) {
        if (error)
            *error = tr("No plug-in offers the model %1.").arg(request.model);
        return false;
    }
    QString const name = request.name.isEmpty() ? request.model : request.name;
    if (!request.simulated) {
        auto const parsed = zelt::measure::io::visa::VisaResource::parse(request.resource);
        if (!parsed.isValid()) {
            if (error)
                *error = tr("Invalid resource string \"%1\": %2").arg(request.resource, parsed.error);
            return false;
        }
        auto info = zelt::widget::EquipmentInfo::makeVisa(name, plugin->modelInfo.familyName, request.model,
                                                          request.resource);
        return openEquipment(info, nullptr, error);
    }

    zelt::widget::ISimulatorFactory* factory = m_plugins->findSimulator(plugin->modelInfo.familyName);
    if (!factory) {
        if (error)
            *error = tr("No plug-in simulates the %1 family.").arg(plugin->modelInfo.familyName);
        return false;
    }
    zelt::widget::SimulatedInstrument* simulator = factory->create(this);
    if (!simulator->start(request.model)) {
        if (error)
            *error = simulator->errorString();
        delete simulator;
        return false;
    }
    auto info = zelt::widget::EquipmentInfo::makeVisa(
        request.name.isEmpty() ? tr("%1 (simulated)").arg(request.model) : request.name,
        plugin->modelInfo.familyName, request.model, simulator->resourceString());
    info->simulated = true;
    return openEquipment(info, simulator, error);
}

bool MainWindow::openEquipment(QSharedPointer<zelt::widget::EquipmentInfo> const& info, QObject* simulator,
                               QString* error)
{
    LoadedPlugin const* plugin = m_plugins->findFamily(info->family);
    zelt::widget::EquipmentWindow* window = plugin ? plugin->equipment->window(info) : nullptr;
    if (!window) {
        if (error)
            *error = tr("The plug-in made no window for %1.").arg(info->model);
        delete simulator;
        return false;
    }
    connect(window, &zelt::widget::EquipmentWindow::opened, this, &MainWindow::equipmentOpened);
    // The session goes with its window.
    auto* session = new InstrumentSession(window, window);
    m_sessions.append(session);
    m_list->model()->add(session);
    connect(session, &InstrumentSession::consoleRequested, this, [this, session] { showConsole(session); });
    if (m_store && window->parts().record) {
        new SessionRecorder(m_store, window->parts().record, {info->name, info->model, info->resource});
        connect(m_store, &zelt::store::SessionStore::message, session, &InstrumentSession::showNotice);
        connect(m_store, &zelt::store::SessionStore::loggingStopped, session, &InstrumentSession::showNotice);
    }
    connect(session, &InstrumentSession::answered, this, [this, info = info] {
        statusBar()->showMessage(tr("%1 opened on %2").arg(info->name, info->resource), 5000);
        Q_EMIT equipmentAnswered(info);
    });
    connect(session, &InstrumentSession::refused, this, [this, info = info](QString const& message) {
        statusBar()->showMessage(tr("%1: %2").arg(info->name, message));
    });
    if (simulator) {
        // The simulator lives exactly as long as its window.
        connect(window, &QObject::destroyed, simulator, &QObject::deleteLater);
    }
    m_mdi->addSubWindow(window);
    // A single instrument gets the whole area; more of them are arranged by the user.
    if (m_mdi->subWindowList().size() == 1)
        window->showMaximized();
    else
        window->show();
    return true;
}

void MainWindow::setSessionStore(zelt::store::SessionStore* store)
{
    m_store = store;
    // Also before any instrument window is open, such as a session file moved aside at start.
    auto show = [this](QString const& text) {
        statusBar()->showMessage(text);
    };
    connect(store, &zelt::store::SessionStore::message, this, show);
    connect(store, &zelt::store::SessionStore::loggingStopped, this, show);
}

bool MainWindow::instrumentsOpen() const
{
    QList<QMdiSubWindow*> const windows = m_mdi->subWindowList();
    return std::any_of(windows.begin(), windows.end(),
                       [](QMdiSubWindow* window) { return !window->isHidden(); });
}

InstrumentSession* MainWindow::activeSession() const
{
    QMdiSubWindow* active = m_mdi->activeSubWindow();
    for (InstrumentSession* session : sessions()) {
        if (active && session->window() == active)
            return session;
    }
    return nullptr;
}

void MainWindow::showConsole(InstrumentSession* session)
{
    auto* window = session ? session->window() : nullptr;
    if (!window || !window->parts().queue)
        return;
    auto* dock = window->property("zeltConsoleDock").value<QDockWidget*>();
    if (!dock) {
        QString const title = tr("SCPI console \u2014 %1").arg(session->equipment()->name);
        dock = new QDockWidget(title, this);
        dock->setObjectName(QStringLiteral("console:%1").arg(session->equipment()->resource));
        dock->setAttribute(Qt::WA_DeleteOnClose);
        dock->setWidget(new zelt::host::ScpiConsole(window->parts().queue, title, dock));
        addDockWidget(Qt::BottomDockWidgetArea, dock);
        tabifyDockWidget(m_list, dock);
        window->setProperty("zeltConsoleDock", QVariant::fromValue(dock));
        // The console outlives neither its instrument's window nor its own closing.
        connect(window, &QObject::destroyed, dock, &QObject::deleteLater);
        connect(dock, &QObject::destroyed, window,
                [window] { window->setProperty("zeltConsoleDock", QVariant()); });
    }
    dock->show();
    dock->raise();
}

QList<InstrumentSession*> MainWindow::sessions() const
{
    QList<InstrumentSession*> alive;
    for (auto const& session : m_sessions) {
        if (session)
            alive.append(session);
    }
    return alive;
}

void MainWindow::updateWindowMenu()
{
    m_windowMenu->clear();
    m_windowMenu->addAction(tr("&Tile"), m_mdi, &InstrumentArea::tile);
    m_windowMenu->addAction(tr("&Cascade"), m_mdi, &QMdiArea::cascadeSubWindows);
    m_windowMenu->addAction(m_list->toggleViewAction());
    QList<QMdiSubWindow*> const windows = m_mdi->subWindowList();
    if (!windows.isEmpty())
        m_windowMenu->addSeparator();
    int number = 0;
    for (QMdiSubWindow* window : windows) {
        ++number;
        QString const text
            = number < 10 ? tr("&%1 %2").arg(number).arg(window->windowTitle()) : window->windowTitle();
        QAction* action
            = m_windowMenu->addAction(text, this, [this, window = QPointer<QMdiSubWindow>(window)] {
                  if (!window)
                      return;
                  if (window->isMinimized())
                      window->showNormal();
                  m_mdi->setActiveSubWindow(window);
              });
        action->setCheckable(true);
        action->setChecked(window == m_mdi->activeSubWindow());
    }
}

void MainWindow::saveOpenInstruments() const
{
    QList<ConnectRequest> requests;
    for (InstrumentSession* session : sessions()) {
        if (auto const info = session->equipment())
            requests.append({info->family, info->model, info->name, info->resource, info->simulated});
    }
    LastInstruments::save(requests);
}

bool MainWindow::offerRestore(std::function<void()> declined)
{
    QList<ConnectRequest> const requests = LastInstruments::load();
    if (requests.isEmpty())
        return false;
    QStringList lines;
    for (ConnectRequest const& request : requests) {
        lines << (request.simulated ? tr("%1 (simulated %2)").arg(request.name, request.model)
                                    : tr("%1 on %2").arg(request.name, request.resource));
    }
    auto* box = new QMessageBox(QMessageBox::Question, tr("Reopen instruments"),
                                tr("Reopen the instruments that were open when the host last quit?\n\n%1")
                                    .arg(lines.join(QLatin1Char('\n'))),
                                QMessageBox::Yes | QMessageBox::No, this);
    box->setAttribute(Qt::WA_DeleteOnClose);
    connect(box, &QMessageBox::finished, this, [this, box, requests, declined] {
        if (box->clickedButton() != box->button(QMessageBox::Yes)) {
            if (declined)
                declined();
            return;
        }
        QStringList errors;
        for (ConnectRequest const& request : requests) {
            QString error;
            if (!open(request, &error))
                errors << error;
        }
        if (!errors.isEmpty())
            QMessageBox::warning(this, QString(), errors.join(QLatin1Char('\n')));
    });
    box->open();
    return true;
}

bool MainWindow::confirmQuit()
{
    QStringList on;
    for (InstrumentSession* session : sessions()) {
        if (session->outputOn() && session->equipment())
            on << session->equipment()->name;
    }
    if (on.isEmpty())
        return true;
    return QMessageBox::question(this, tr("Quit"),
                                 tr("The output of %1 is on, and stays on when the host quits.\n"
                                    "Quit anyway?")
                                     .arg(on.join(QStringLiteral(", "))),
                                 QMessageBox::Yes | QMessageBox::No, QMessageBox::No)
        == QMessageBox::Yes;
}

void MainWindow::closeEvent(QCloseEvent* event)
{
    if (!m_closingInstruments && !m_closeBoundPassed) {
        if (!confirmQuit()) {
            event->ignore();
            return;
        }
        saveOpenInstruments();
    }
    if (m_closeBoundPassed || !instrumentsOpen()) {
        QMainWindow::closeEvent(event);
        Q_EMIT closed();
        return;
    }
    event->ignore();
    if (std::exchange(m_closingInstruments, true))
        return;
    auto closeAgain = [this](bool bound) {
        if (isHidden() || (!bound && instrumentsOpen()))
            return;
        m_closeBoundPassed = bound;
        close();
    };
    for (QMdiSubWindow* window : m_mdi->subWindowList()) {
        // Queued: by then the area has let go of the window.
        connect(
            window, &QObject::destroyed, this, [closeAgain] { closeAgain(false); }, Qt::QueuedConnection);
        window->close();
    }
    QTimer::singleShot(kCloseBoundMs, this, [closeAgain] { closeAgain(true); });
    // Windows that closed at once are hidden already.
    QTimer::singleShot(0, this, [closeAgain] { closeAgain(false); });
}

void MainWindow::showConnectDialog(bool simulated)
{
    QList<zelt::widget::ModelInfo> families;
    for (LoadedPlugin const& plugin : m_plugins->plugins())
        families.append(plugin.modelInfo);
    if (families.isEmpty()) {
        QMessageBox::warning(this, QString(), tr("No instrument plug-in is loaded; see Help > Plug-ins."));
        return;
    }
    auto* dialog = new ConnectDialog(families, this);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    if (simulated)
        dialog->select(QString(), true);
    connect(dialog, &QDialog::accepted, this, [this, dialog] {
        QString error;
        if (!open(dialog->request(), &error))
            QMessageBox::warning(this, QString(), error);
    });
    dialog->open();
}

void MainWindow::showPlugins()
{
    QString html = QStringLiteral("<h3>%1</h3><ul>").arg(tr("Loaded"));
    for (LoadedPlugin const& plugin : m_plugins->plugins()) {
        html += QStringLiteral("<li><b>%1</b> %2<br/><small>%3</small></li>")
                    .arg(plugin.modelInfo.familyName.toHtmlEscaped(),
                         plugin.modelInfo.latestVersion().toHtmlEscaped(), plugin.path.toHtmlEscaped());
    }
    html += QStringLiteral("</ul>");
    if (!m_plugins->failures().isEmpty()) {
        html += QStringLiteral("<h3>%1</h3><ul>").arg(tr("Not loaded"));
        for (PluginFailure const& failure : m_plugins->failures()) {
            html += QStringLiteral("<li><b>%1</b><br/>%2</li>")
                        .arg(QFileInfo(failure.path).fileName().toHtmlEscaped(),
                             failure.reason.toHtmlEscaped());
        }
        html += QStringLiteral("</ul>");
    }
    QMessageBox::information(this, tr("Plug-ins"), html);
}

void MainWindow::showAbout()
{
    QString html
        = tr("<h3>Zelt Instruments %1</h3><p>Control of laboratory instruments through plug-ins.</p>")
              .arg(QApplication::applicationVersion());
    for (LoadedPlugin const& plugin : m_plugins->plugins()) {
        auto const& info = plugin.modelInfo;
        QStringList models;
        for (auto const& view : info.viewInfos)
            models << view.displayName.toHtmlEscaped();
        html += QStringLiteral("<h4>%1</h4><p>%2</p><table>")
                    .arg(info.familyName.toHtmlEscaped(), models.join(QStringLiteral(", ")));
        for (auto const& update : info.updateInfos) {
            QStringList notes;
            for (QString const& note : update.notes)
                notes << note.toHtmlEscaped();
            html += QStringLiteral("<tr><td>%1</td><td>%2</td><td>%3</td></tr>")
                        .arg(update.version.toHtmlEscaped(), update.date.toString(Qt::ISODate),
                             notes.join(QStringLiteral("<br/>")));
        }
        html += QStringLiteral("</table>");
    }
    QMessageBox::about(this, tr("About"), html);
}

} // namespace zelt::host
