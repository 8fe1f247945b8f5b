#include "plugin/simulatedkvr9000.h"

#include "simulator/simoptions.h"
#include "simulator/simserver.h"

#include <QThread>

SimulatedKVR9000::SimulatedKVR9000(QObject* parent)
    : zelt::widget::SimulatedInstrument(parent)
{
}

SimulatedKVR9000::~SimulatedKVR9000()
{
    stop();
}

bool SimulatedKVR9000::start(QString const& model, int latencyMs)
{
    stop();
    m_error.clear();
    m_thread = new QThread(this);
    m_thread->setObjectName(QStringLiteral("simulator"));
    m_thread->start();
    m_server = new kvrsim::SimServer;
    // Nobody reads the log of a simulated unit; keep it from growing all day.
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
            if (started)
                m_resource = m_server->resourceString();
            else
                m_error = m_server->errorString();
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

void SimulatedKVR9000::stop()
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
    m_resource.clear();
}
