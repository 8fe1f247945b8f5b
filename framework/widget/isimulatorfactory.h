#pragma once
// The interface of a simulator plug-in: simulated instruments of one family, which the host
// opens with that family's instrument plug-in. A family without one has no simulated units.

#include "widget/simulatedinstrument.h"
#include "widget/zelt_widget_export.h"

#include <QObject>
#include <QString>
#include <QtPlugin>

namespace zelt::widget {

class ZELT_WIDGET_EXPORT ISimulatorFactory : public QObject
{
    Q_OBJECT
public:
    explicit ISimulatorFactory(QObject* parent = nullptr)
        : QObject(parent)
    {
    }

    // The family as its instrument plug-in's ModelInfo names it.
    virtual QString familyName() const = 0;
    // What the host opens when it starts with no instrument named.
    virtual QString defaultModel() const = 0;
    // A unit that is not started yet.
    virtual SimulatedInstrument* create(QObject* parent = nullptr) = 0;
};

} // namespace zelt::widget

#define ZeltWidgetISimulatorFactory_iid "kz.ns.zelt::widget::ISimulatorFactory"
Q_DECLARE_INTERFACE(zelt::widget::ISimulatorFactory, ZeltWidgetISimulatorFactory_iid)
