#pragma once
// A simulated KVR9000: the simulator's server on loopback, on a thread of its own so that it
// answers at its own pace whatever the GUI does.

#include "widget/simulatedinstrument.h"

class QThread;

namespace kvrsim {
class SimServer;
}

class SimulatedKVR9000 final : public zelt::widget::SimulatedInstrument
{
    Q_OBJECT
public:
    explicit SimulatedKVR9000(QObject* parent = nullptr);
    // Stops the server.
    ~SimulatedKVR9000() override;

    bool start(QString const& model, int latencyMs = kDefaultLatencyMs) override;
    void stop() override;
    // "TCPIP0::127.0.0.1::<port>::SOCKET" while running.
    QString resourceString() const override { return m_resource; }
    QString errorString() const override { return m_error; }

private:
    QThread* m_thread = nullptr;
    kvrsim::SimServer* m_server = nullptr;
    QString m_resource;
    QString m_error;
};
