#pragma once
// What the window suites share: the simulated instrument on loopback, a window made by the
// plug-in on it, and helpers that answer the menus and dialogs the window shows.

#include "driver/mydmm.h"
#include "plugin/kvr9000.h"
#include "simulator/simserver.h"
#include "window/kvr9000window.h"

#include "tests/common/dialogscript.h"
#include "tests/common/eventwait.h"
#include "widget/equipmentinfo.h"

#include <QtTest>
#include <QtWidgets>

#include <functional>
#include <memory>

// Settings of the suite's own, in a folder of this run's: the test-mode folder is shared by
// every suite and every run of it on the machine, side by side.
inline void isolateSettings(QString const& suite)
{
    static QTemporaryDir const folder;
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, folder.path());
    QStandardPaths::setTestModeEnabled(true);
    QCoreApplication::setOrganizationName(QStringLiteral("zelt-tests"));
    QCoreApplication::setApplicationName(suite);
    QSettings().clear();
}

// The plug-in, the simulator with exact readings and no latency, and the window under test.
class WindowFixture
{
protected:
    bool startSimulator(QString const& model)
    {
        kvrsim::SimOptions options;
        options.model = model;
        options.noise = 0.0;
        options.latencyMs = 0;
        return m_server.start(options);
    }
    // The window of a model made by the plug-in on the simulator's socket, shown.
    KVR9000Window* open(QString const& model)
    {
        auto const info = zelt::widget::EquipmentInfo::makeVisa(model, QStringLiteral("KVR9000"), model,
                                                                m_server.resourceString());
        m_window = qobject_cast<KVR9000Window*>(m_plugin.window(info));
        if (m_window)
            m_window->show();
        return m_window;
    }
    // Opens the window and waits for its first sample, which releases the control groups.
    bool openRunning(QString const& model)
    {
        return open(model) && waitUntil([this] { return child<QGroupBox>("widgetOption")->isEnabled(); });
    }
    bool closeWindow()
    {
        if (m_window)
            m_window->close();
        return waitUntil([this] { return m_window.isNull(); });
    }
    bool waitForSamples(int count)
    {
        QSignalSpy samples(driver(), &MyDMM::updateData);
        return waitUntil([&] { return samples.count() >= count; });
    }
    // The setting lines (no query) that the instrument received.
    QStringList settingLines() const
    {
        return m_server.receivedLines().filter(QRegularExpression(QStringLiteral("^[^?]*$")));
    }
    template<typename T> T* child(char const* name) const
    {
        return m_window ? m_window->findChild<T*>(QLatin1String(name)) : nullptr;
    }
    MyDMM* driver() const { return m_window ? m_window->findChild<MyDMM*>() : nullptr; }

    KVR9000 m_plugin;
    kvrsim::SimServer m_server;
    QPointer<KVR9000Window> m_window;
};

// Runs act once on the first T that becomes the active popup or modal widget.
template<typename T, typename F> std::unique_ptr<QTimer> whenShown(F act)
{
    auto timer = std::make_unique<QTimer>();
    timer->setInterval(10);
    QObject::connect(timer.get(), &QTimer::timeout, [poll = timer.get(), act] {
        QWidget* top = QApplication::activePopupWidget();
        auto* widget = qobject_cast<T*>(top ? top : QApplication::activeModalWidget());
        if (widget && widget->isVisible()) {
            poll->stop();
            act(widget);
        }
    });
    timer->start();
    return timer;
}
