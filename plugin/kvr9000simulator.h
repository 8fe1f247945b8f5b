#pragma once
// The simulator plug-in of the KVR9000 family: simulated units of its twenty models, which the
// host opens with the KVR9000 plug-in.

#include "widget/isimulatorfactory.h"

class KVR9000Simulator : public zelt::widget::ISimulatorFactory
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID "org.qt-project.Qt.KVR9000Simulator" FILE "kvr9000simulator.json")
    Q_INTERFACES(zelt::widget::ISimulatorFactory)
public:
    explicit KVR9000Simulator(QObject* parent = nullptr);

    QString familyName() const override;
    QString defaultModel() const override;
    zelt::widget::SimulatedInstrument* create(QObject* parent = nullptr) override;
};
