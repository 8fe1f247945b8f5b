#pragma once
// What the window suites share: the simulated instrument on loopback, a window made by the
// plug-in on it, and a watcher that answers the modal message boxes the window shows.

#include "driver/mydmm.h"
#include "plugin/kvr9000.h"
#include "simulator/simserver.h"
#include "window/kvr9000window.h"

#include "widget/equipmentinfo.h"

#include <QtTest>
#include <QtWidgets>

#include <functional>

// Settings of the suite's own: suites running side by side share the test-mode folder.
inline void isolateSettings(QString const& suite)
{
    QStandardPaths::setTestModeEnabled(true);
    QCoreApplication::setOrganizationName(QStringLiteral("zelt-tests"));
    QCoreApplication::setApplicationName(suite);
    QSettings().clear();
}

// Runs a real event loop until done() holds or the time is up. QTest's waits sleep between
// their rounds of events, which costs a round trip with the simulator on this thread dearly.
inline bool waitUntil(std::function<bool()> const& done, int timeoutMs = 10000)
{
    // As QTest's waits do: a window closed outside any event loop is deleted here.
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    if (done())
        return true;
    QEventLoop loop;
    QTimer poll;
    poll.setInterval(1);
    QObject::connect(&poll, &QTimer::timeout, &loop, [&] {
        if (done())
            loop.quit();
    });
    QTimer::singleShot(timeoutMs, &loop, &QEventLoop::quit);
    poll.start();
    loop.exec();
    return done();
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
    bool closeWindow()
    {
        if (m_window)
            m_window->close();
        return waitUntil([this] { return m_window.isNull(); });
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

// Presses OK on every message box that becomes the active modal widget and keeps its
// icon, title and text as "Critical [title] text".
class MessageBoxWatcher : public QObject
{
public:
    MessageBoxWatcher()
    {
        m_timer.setInterval(10);
        connect(&m_timer, &QTimer::timeout, this, [this] {
            auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
            if (!box || !box->isVisible())
                return;
            shown << QStringLiteral("%1 [%2] %3")
                         .arg(QLatin1String(QMetaEnum::fromType<QMessageBox::Icon>().valueToKey(box->icon())),
                              box->windowTitle(), box->text());
            if (QAbstractButton* ok = box->button(QMessageBox::Ok))
                ok->click();
            else
                box->reject();
        });
        m_timer.start();
    }

    QStringList shown;

private:
    QTimer m_timer;
};
