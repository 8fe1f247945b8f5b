#pragma once
// Start-up options of the simulated instrument: model, network, load and fault injection.

#include <QHostAddress>
#include <QString>

namespace kvrsim {

struct SimOptions
{
    QString model = "KVR9040-40";
    QHostAddress bind = QHostAddress::LocalHost;
    quint16 port = 0;
    double loadOhms = 10.0;
    int latencyMs = 0;
    quint32 seed = 1;
    // Faults, 0 = off: drop one answer in N; answer one query in N with malformed text;
    // hold one answer in N back for lateMs (the answers behind it wait, as on a busy unit);
    // close a connection after N received lines.
    int dropEvery = 0;
    int malformEvery = 0;
    int lateEvery = 0;
    int lateMs = 0;
    QString lateMatch; // only queries that begin with this count for lateEvery; empty: all
    int closeAfterLines = 0;
    // Reading noise as a fraction of the rated value; 0 gives exact readings.
    double noise = 0.0005;
};

} // namespace kvrsim
