#pragma once
// The host's description of one connected instrument, shared between the host
// and the window that a plug-in makes for it.

#include "measure/io/ioequipinfo.h"
#include "widget/zelt_widget_export.h"

#include <QSharedPointer>
#include <QString>

namespace zelt::widget {

class ZELT_WIDGET_EXPORT EquipmentInfo
{
public:
    EquipmentInfo() = default;
    EquipmentInfo(QString name, QSharedPointer<zelt::measure::io::IOEquipInfo> ioInfo);

    // A VISA instrument: ioInfo becomes a VisaEquipInfo with the model text and a
    // VisaIO on the resource (not opened). The resource is not checked here.
    static QSharedPointer<EquipmentInfo> makeVisa(QString const& name, QString const& family,
                                                  QString const& model, QString const& resource);

    QString name; // the user's name for the instrument
    QSharedPointer<zelt::measure::io::IOEquipInfo> ioInfo; // how the instrument is reached
    QString family; // family name of the plug-in's catalogue
    QString model; // model text of the catalogue row
    QString resource; // VISA resource string as the user gave it
    bool simulated = false; // the host answers for this instrument itself
};

} // namespace zelt::widget
