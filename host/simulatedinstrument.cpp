#include "host/simulatedinstrument.h"

#include <QThread>

#if ZELT_HAVE_SIMULATOR
#include "simulator/simoptions.h"
#include "simulator/simserver.h"
#endif

namespace zelt::host {

SimulatedInstrument::SimulatedInstrument(QObject* parent)
    : QObject(parent)
{
}

SimulatedInstrument::~SimulatedInstrument()
{
    stop();
}

bool SimulatedInstrument::isAvailable()
{
    return ZELT_HAVE_SIMULATOR;
}

#if ZELT_HAVE_SIMULATOR

bool SimulatedInstrument::start(QString const& model, int latencyMs)
{
    stop();
    m_error.clear();
    m_thread = new QThread(this);
    m_thread->setObjectName(QStringLiteral("simulator"));
    m_thread->start();
    m_server = new kvrsim::SimServer;
    // Nobody reads the log of the built-in instrument; keep it from growing all day.
    m_server->setLogLimit(1000);
    m_server->moveToThread(m_thread);

    kvrsim::SimOptions options;
    options.model = model;
    options.bind = QHostAddress(QHostAddress::LocalHost);
    options.port = 0;
    options.latencyMs = latencyMs;
    bool started = false;
    // The server's sockets belong to its thread, so it must start there.
    QMetaObject::invokeMethod(
        m_server,
        [&] {
            started = m_server->start(options);
            if (started) {
                m_port = m_server->port();
                m_resource = m_server->resourceString();
            } else {
                m_error = m_server->errorString();
            }
        },
        Qt::BlockingQueuedConnection);
    if (!started) {
        if (m_error.isEmpty())
            m_error = tr("The simulated %1 could not start.").arg(model);
        stop();
        return false;
    }
    return true;
}

void SimulatedInstrument::stop()
{
    if (m_server) {
        kvrsim::SimServer* server = m_server;
        QMetaObject::invokeMethod(
            server,
            [server] {
                server->stop();
                delete server;
            },
            Qt::BlockingQueuedConnection);
        m_server = nullptr;
    }
    if (m_thread) {
        m_thread->quit();
        m_thread->wait();
        delete m_thread;
        m_thread = nullptr;
    }
    m_port = 0;
    m_resource.clear();
}

#else

bool SimulatedInstrument::start(QString const& model, int)
{
    m_error = tr("This build has no simulated instrument (%1).").arg(model);
    return false;
}

void SimulatedInstrument::stop()
{
}

#endif

} // namespace zelt::host
