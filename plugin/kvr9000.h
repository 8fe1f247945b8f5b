#pragma once
// The plug-in entry of the KVR9000 family: the catalogue of its twenty models and the
// window of one instrument.

#include "widget/iequipment.h"

class KVR9000 : public zelt::widget::IEquipment
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID "org.qt-project.Qt.KVR9000" FILE "kvr9000.json")
    Q_INTERFACES(zelt::widget::IEquipment)
public:
    explicit KVR9000(QObject* parent = nullptr);

    zelt::widget::ModelInfo modelInfo() const override;
    // A new window, without parent, that deletes itself on close.
    zelt::widget::EquipmentWindow* window(QSharedPointer<zelt::widget::EquipmentInfo> const& info) override;
};
