#include "plugin/kvr9000simulator.h"

#include "plugin/simulatedkvr9000.h"

KVR9000Simulator::KVR9000Simulator(QObject* parent)
    : zelt::widget::ISimulatorFactory(parent)
{
}

QString KVR9000Simulator::familyName() const
{
    return QStringLiteral("KVR9000");
}

QString KVR9000Simulator::defaultModel() const
{
    return QStringLiteral("KVR9040-40");
}

zelt::widget::SimulatedInstrument* KVR9000Simulator::create(QObject* parent)
{
    return new SimulatedKVR9000(parent);
}
