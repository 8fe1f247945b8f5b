#pragma once
// A Qt plug-in of some other kind, which the host must refuse.

#include <QObject>

class NotAnInstrument : public QObject
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID "org.zelt.NotAnInstrument")
public:
    explicit NotAnInstrument(QObject* parent = nullptr);
};
