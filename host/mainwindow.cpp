#include "host/mainwindow.h"

#include "host/connectdialog.h"
#include "host/pluginmanager.h"
#include "host/simulatedinstrument.h"

#include "measure/io/visa/visaresource.h"
#include "widget/equipmentwindow.h"
#include "widget/iequipment.h"

#include <QApplication>
#include <QCloseEvent>
#include <QFileInfo>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QMenuBar>
#include <QMessageBox>
#include <QStatusBar>
#include <QTimer>

#include <algorithm>
#include <utility>

namespace zelt::host {

MainWindow::MainWindow(PluginManager* plugins, QWidget* parent)
    : QMainWindow(parent)
    , m_plugins(plugins)
    , m_mdi(new QMdiArea(this))
{
    setWindowTitle(tr("Zelt Instruments"));
    setWindowIcon(QIcon(QStringLiteral(":/images/zelt-host.png")));
    m_mdi->setHorizontalScrollBarPolicy(Qt::ScrollBarAsNeeded);
    m_mdi->setVerticalScrollBarPolicy(Qt::ScrollBarAsNeeded);
    setCentralWidget(m_mdi);
    createMenus();
    reportPlugins();
    resize(1280, 800);
}

MainWindow::~MainWindow() = default;

void MainWindow::createMenus()
{
    QMenu* instrument = menuBar()->addMenu(tr("&Instrument"));
    QAction* connectAction
        = instrument->addAction(tr("&Connect..."), this, [this] { showConnectDialog(false); });
    connectAction->setShortcut(QKeySequence::Open);
    instrument->addAction(tr("&Simulate..."), this, [this] { showConnectDialog(true); });
    QAction* close = instrument->addAction(tr("C&lose"), m_mdi, &QMdiArea::closeActiveSubWindow);
    close->setShortcut(QKeySequence::Close);
    instrument->addSeparator();
    QAction* quit = instrument->addAction(tr("&Quit"), this, &QWidget::close);
    quit->setShortcut(QKeySequence::Quit);

    QMenu* window = menuBar()->addMenu(tr("&Window"));
    window->addAction(tr("&Tile"), m_mdi, &QMdiArea::tileSubWindows);
    window->addAction(tr("&Cascade"), m_mdi, &QMdiArea::cascadeSubWindows);

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

    auto* simulator = new SimulatedInstrument(this);
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
    connect(window, &zelt::widget::EquipmentWindow::opened, this,
            [this](QSharedPointer<zelt::widget::EquipmentInfo> const& opened) {
                if (opened)
                    statusBar()->showMessage(tr("%1 opened on %2").arg(opened->name, opened->resource), 5000);
                Q_EMIT equipmentOpened(opened);
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

bool MainWindow::instrumentsOpen() const
{
    QList<QMdiSubWindow*> const windows = m_mdi->subWindowList();
    return std::any_of(windows.begin(), windows.end(),
                       [](QMdiSubWindow* window) { return !window->isHidden(); });
}

void MainWindow::closeEvent(QCloseEvent* event)
{
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
