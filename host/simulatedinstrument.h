#pragma once
// The built-in simulated instrument: the simulator's server on loopback, on a
// thread of its own so that it answers at its own pace whatever the GUI does.

#include <QObject>
#include <QString>

class QThread;

namespace kvrsim {
class SimServer;
}

namespace zelt::host {

class SimulatedInstrument : public QObject
{
    Q_OBJECT
public:
    // About what a unit on a LAN takes to answer.
    static constexpr int kDefaultLatencyMs = 2;

    explicit SimulatedInstrument(QObject* parent = nullptr);
    // Stops the server.
    ~SimulatedInstrument() override;

    // False when this build has no simulator.
    static bool isAvailable();

    // Starts the server for model on 127.0.0.1 and a free port; returns when it
    // listens. False with errorString() when it could not start.
    bool start(QString const& model, int latencyMs = kDefaultLatencyMs);
    void stop();
    bool isRunning() const { return m_server != nullptr; }

    quint16 port() const { return m_port; }
    // "TCPIP0::127.0.0.1::<port>::SOCKET" while running.
    QString resourceString() const { return m_resource; }
    QString errorString() const { return m_error; }

private:
    QThread* m_thread = nullptr;
    kvrsim::SimServer* m_server = nullptr;
    quint16 m_port = 0;
    QString m_resource;
    QString m_error;
};

} // namespace zelt::host
