#pragma once
// One model of an instrument family as a plug-in lists it in its catalogue.

#include <QString>

namespace zelt::widget {

struct EquipmentViewInfo
{
    QString model; // the model text handed back in EquipmentInfo::model
    QString displayName; // what lists show
    QString imagePath; // a picture of the instrument, usually a Qt resource path

    friend bool operator==(EquipmentViewInfo const& a, EquipmentViewInfo const& b)
    {
        return a.model == b.model && a.displayName == b.displayName && a.imagePath == b.imagePath;
    }
    friend bool operator!=(EquipmentViewInfo const& a, EquipmentViewInfo const& b) { return !(a == b); }
};

} // namespace zelt::widget
