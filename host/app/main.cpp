// zelt-host: loads the instrument plug-ins and shows their windows.

#include "host/instrumentsession.h"
#include "host/mainwindow.h"
#include "host/pluginmanager.h"

#include "measure/io/visa/visalibrary.h"
#include "store/sessionstore.h"
#include "widget/isimulatorfactory.h"
#include "widget/modelinfo.h"

#include <QApplication>
#include <QCommandLineParser>
#include <QDir>
#include <QFileInfo>
#include <QIcon>
#include <QSettings>
#include <QTimer>
#include <QtGlobal>

#include <cstdio>
#include <memory>
#include <utility>

namespace {

int const kOpenTimeoutMs = 30000;

void setUpParser(QCommandLineParser& parser)
{
    parser.setApplicationDescription(QCoreApplication::translate("main", "Laboratory instrument host."));
    parser.addHelpOption();
    parser.addVersionOption();
    parser.addOptions({
        {"simulate", QCoreApplication::translate("main", "Open a simulated instrument of MODEL."), "MODEL"},
        {"resource", QCoreApplication::translate("main", "Open the instrument at the VISA resource STRING."),
         "STRING"},
        {"model", QCoreApplication::translate("main", "Model of the instrument given by --resource."),
         "MODEL"},
        {"name", QCoreApplication::translate("main", "Name of the instrument."), "NAME"},
        {"plugin-dir", QCoreApplication::translate("main", "Load the plug-ins of DIR."), "DIR"},
        {"visa-library",
         QCoreApplication::translate("main", "Reach every instrument through the VISA library at PATH."),
         "PATH"},
        {"list-models",
         QCoreApplication::translate("main", "Print every plug-in's family and models, and exit.")},
        {"screenshot",
         QCoreApplication::translate("main",
                                     "Once the instrument window has opened, save a picture of "
                                     "the main window to FILE and exit."),
         "FILE"},
        {"delay", QCoreApplication::translate("main", "Seconds to wait before the screenshot (default 1)."),
         "SECONDS", "1"},
        {"store",
         QCoreApplication::translate("main",
                                     "Keep the recorded sessions in URL: a SQLite file or "
                                     "postgresql://USER@HOST[:PORT]/DB (default: the user's data folder)."),
         "URL"},
        {"share",
         QCoreApplication::translate("main",
                                     "Share the instrument it opens with scripts on 127.0.0.1:PORT "
                                     "(raw SCPI; with --read-only, queries only)."),
         "PORT"},
        {"read-only", QCoreApplication::translate("main", "Refuse settings on the --share port.")},
        {"no-restore",
         QCoreApplication::translate("main", "Do not offer to reopen the instruments of the last session.")},
    });
}

void loadPlugins(zelt::host::PluginManager& plugins, QCommandLineParser const& parser)
{
    QString const folder = parser.isSet("plugin-dir") ? parser.value("plugin-dir")
                                                      : zelt::host::PluginManager::defaultFolder();
    plugins.loadFolder(folder);
    for (auto const& failure : plugins.failures())
        qWarning("Plug-in %s not loaded: %s", qPrintable(failure.path), qPrintable(failure.reason));
}

int listModels(QCommandLineParser const& parser)
{
    zelt::host::PluginManager plugins;
    loadPlugins(plugins, parser);
    for (auto const& plugin : plugins.plugins()) {
        for (auto const& view : plugin.modelInfo.viewInfos)
            std::printf("%s\t%s\n", qPrintable(plugin.modelInfo.familyName), qPrintable(view.model));
    }
    return 0;
}

} // namespace

int main(int argc, char* argv[])
{
    QCoreApplication::setOrganizationName(QStringLiteral("Zelt"));
    QCoreApplication::setApplicationName(QStringLiteral("zelt-host"));
    QCoreApplication::setApplicationVersion(QStringLiteral(ZELT_VERSION));

    // Help, version and the model list only print, and must do so on a machine without a
    // display, where a GUI application aborts: decide before one exists.
    bool listOnly = false;
    bool printOnly = false;
    for (int i = 1; i < argc; ++i) {
        listOnly = listOnly || qstrcmp(argv[i], "--list-models") == 0;
        for (char const* option : {"-h", "--help", "--help-all", "-v", "--version"})
            printOnly = printOnly || qstrcmp(argv[i], option) == 0;
    }
    if (listOnly || printOnly)
        qputenv("QT_QPA_PLATFORM", "offscreen");
    std::unique_ptr<QCoreApplication> app(listOnly ? new QCoreApplication(argc, argv)
                                                   : new QApplication(argc, argv));
    QCommandLineParser parser;
    setUpParser(parser);
    parser.process(*app);
    if (listOnly)
        return listModels(parser);

    if (parser.isSet("resource") != parser.isSet("model")) {
        std::fprintf(stderr, "%s\n",
                     qPrintable(QCoreApplication::translate("main", "--resource and --model go together.")));
        return 2;
    }
    bool ok = false;
    double const delay = parser.value("delay").toDouble(&ok);
    if (!ok || delay < 0) {
        std::fprintf(stderr, "%s\n",
                     qPrintable(QCoreApplication::translate("main", "--delay takes seconds.")));
        return 2;
    }

    if (parser.isSet("visa-library")) {
        using zelt::measure::io::visa::VisaLibrary;
        QString error;
        if (!VisaLibrary::load(parser.value("visa-library"), error)) {
            std::fprintf(stderr, "%s\n", qPrintable(error));
            return 2;
        }
        VisaLibrary::setPreferredPath(parser.value("visa-library"));
    }

    QApplication::setWindowIcon(QIcon(QStringLiteral(":/images/zelt-host.png")));
    zelt::host::PluginManager plugins;
    loadPlugins(plugins, parser);
    zelt::store::StoreTarget storeTarget;
    QString storeError;
    QString const storeUrl = parser.isSet("store")
        ? parser.value("store")
        : QSettings().value(QStringLiteral("store/url")).toString();
    if (!zelt::store::StoreTarget::parse(storeUrl, &storeTarget, &storeError)) {
        std::fprintf(stderr, "%s\n", qPrintable(storeError));
        return 2;
    }
    // Outlives the window: the instrument windows end their sessions, then it flushes, bounded.
    zelt::store::SessionStore store(storeTarget);
    zelt::host::MainWindow window(&plugins);
    window.setSessionStore(&store);
    window.show();

    QString const screenshot = parser.value("screenshot");
    int screenshotResult = 0;
    // A dialog or message box still open would keep the application from quitting by itself.
    QObject::connect(&window, &zelt::host::MainWindow::closed, qApp, [&screenshotResult, screenshot] {
        if (!screenshot.isEmpty())
            QCoreApplication::exit(screenshotResult);
    });
    // Ends the run as a user's quit does, so that every instrument window saves its settings.
    auto grab = [&window, &screenshotResult, screenshot] {
        QString const path = QFileInfo(screenshot).absoluteFilePath();
        if (window.grab().save(path)) {
            std::printf("%s\n", qPrintable(path));
            std::fflush(stdout);
        } else {
            std::fprintf(stderr, "%s\n",
                         qPrintable(QCoreApplication::translate("main", "Cannot write %1.").arg(path)));
            screenshotResult = 1;
        }
        window.close();
    };
    auto grabLater = [grab, delay] {
        QTimer::singleShot(int(delay * 1000), qApp, grab);
    };

    QString error;
    bool opening = false;
    QString const name = parser.value("name");
    // With no instrument named: a simulated unit of the first family that brings a simulator.
    zelt::widget::ISimulatorFactory const* simulator = plugins.findSimulator();
    QString const defaultModel = simulator ? simulator->defaultModel() : QString();
    if (parser.isSet("simulate")) {
        opening = window.openSimulated(parser.value("simulate"), name, &error);
    } else if (parser.isSet("resource")) {
        opening = window.openResource(parser.value("model"), parser.value("resource"), name, &error);
    } else if (screenshot.isEmpty() && !parser.isSet("no-restore")
               && window.offerRestore([&window, name, defaultModel] {
                      QString declinedError;
                      if (defaultModel.isEmpty() || !window.openSimulated(defaultModel, name, &declinedError))
                          window.showConnectDialog(false);
                  })) {
        // Asked, not blocking: the answer opens the instruments.
    } else if (!defaultModel.isEmpty()) {
        opening = window.openSimulated(defaultModel, name, &error);
    } else {
        // From the event loop: a message box it may show must not hold up what follows.
        QTimer::singleShot(0, &window, [&window] { window.showConnectDialog(false); });
    }
    if (!error.isEmpty()) {
        std::fprintf(stderr, "%s\n", qPrintable(error));
        if (!screenshot.isEmpty())
            return 1;
        window.showConnectDialog(parser.isSet("simulate"));
    }
    if (parser.isSet("share")) {
        bool portOk = false;
        uint const port = parser.value("share").toUInt(&portOk);
        QString shareError = QCoreApplication::translate("main", "--share takes a port of 1 to 65535.");
        if (!opening || window.sessions().isEmpty()) {
            shareError = QCoreApplication::translate("main", "--share needs an instrument to open.");
        } else if (portOk && port > 0 && port <= 65535
                   && window.sessions().constLast()->share(quint16(port), parser.isSet("read-only"),
                                                           &shareError)) {
            shareError.clear();
        }
        if (!shareError.isEmpty()) {
            std::fprintf(stderr, "%s\n", qPrintable(shareError));
            return 2;
        }
        std::printf("%s\n",
                    qPrintable(QCoreApplication::translate("main", "shared on 127.0.0.1:%1").arg(port)));
        std::fflush(stdout);
    }

    if (!screenshot.isEmpty()) {
        if (opening) {
            auto once = std::make_shared<bool>(false);
            QObject::connect(&window, &zelt::host::MainWindow::equipmentOpened, &window, [grabLater, once] {
                if (!std::exchange(*once, true))
                    grabLater();
            });
            QTimer::singleShot(kOpenTimeoutMs, &window, [once] {
                if (*once)
                    return;
                std::fprintf(
                    stderr, "%s\n",
                    qPrintable(QCoreApplication::translate("main", "The instrument window did not open.")));
                QCoreApplication::exit(1);
            });
        } else {
            grabLater();
        }
    }
    int const result = app->exec();
    return result != 0 ? result : screenshotResult;
}
