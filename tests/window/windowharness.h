#pragma once
// What the window suites share: the simulated instrument on loopback, a window made by the
// plug-in on it, and a watcher that answers the modal message boxes the window shows.

#include "kvr9000.h"
#include "kvr9000window.h"
#include "mydmm.h"
#include "simserver.h"

#include "widget/equipmentinfo.h"

#include <QAbstractButton>
#include <QApplication>
#include <QEventLoop>
#include <QMessageBox>
#include <QPointer>
#include <QSettings>
#include <QStandardPaths>
#include <QStringList>
#include <QTimer>

#include <functional>

// Settings of the suite's own: suites running side by side share the test-mode folder.
inline void isolateSettings(QString const& suite)
{
    QStandardPaths::setTestModeEnabled(true);
    QCoreApplication::setOrganizationName(QStringLiteral("zelt-tests"));
    QCoreApplication::setApplicationName(suite);
    QSettings().clear();
}

// Starts the simulator for a model with exact readings and no latency.
inline bool startSimulator(kvrsim::SimServer& server, QString const& model)
{
    kvrsim::SimOptions options;
    options.model = model;
    options.noise = 0.0;
    options.latencyMs = 0;
    return server.start(options);
}

// The window of a model made by the plug-in on the simulator's socket, shown.
inline KVR9000Window* openWindow(KVR9000& plugin, kvrsim::SimServer& server, QString const& model)
{
    auto const info = zelt::widget::EquipmentInfo::makeVisa(model, QStringLiteral("KVR9000"), model,
                                                            server.resourceString());
    auto* window = qobject_cast<KVR9000Window*>(plugin.window(info));
    if (window)
        window->show();
    return window;
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

// Presses OK on every message box that becomes the active modal widget and keeps its texts.
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
            texts << box->text();
            titles << box->windowTitle();
            icons << box->icon();
            if (QAbstractButton* ok = box->button(QMessageBox::Ok))
                ok->click();
            else
                box->reject();
        });
        m_timer.start();
    }

    QStringList texts;
    QStringList titles;
    QList<QMessageBox::Icon> icons;

private:
    QTimer m_timer;
};
