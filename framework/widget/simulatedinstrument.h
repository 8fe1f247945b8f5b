#pragma once
// A simulated instrument of a plug-in's family: a unit that answers on loopback as a real one
// does, so that the host opens its window with no hardware at hand.

#include "widget/zelt_widget_export.h"

#include <QObject>
#include <QString>

namespace zelt::widget {

class ZELT_WIDGET_EXPORT SimulatedInstrument : public QObject
{
    Q_OBJECT
public:
    // About what a unit on a LAN takes to answer.
    static constexpr int kDefaultLatencyMs = 2;

    explicit SimulatedInstrument(QObject* parent = nullptr)
        : QObject(parent)
    {
    }

    // Starts a unit of model on 127.0.0.1 and a free port and returns once it listens. False
    // with errorString() when it could not start.
    virtual bool start(QString const& model, int latencyMs = kDefaultLatencyMs) = 0;
    virtual void stop() = 0;
    // The VISA resource string of the running unit.
    virtual QString resourceString() const = 0;
    virtual QString errorString() const = 0;
};

} // namespace zelt::widget
