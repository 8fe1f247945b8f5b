#pragma once
// The interface that an instrument plug-in implements: the family's catalogue,
// and a window for one instrument of that family.

#include "widget/equipmentinfo.h"
#include "widget/modelinfo.h"
#include "widget/zelt_widget_export.h"

#include <QObject>
#include <QSharedPointer>
#include <QtPlugin>

namespace zelt::widget {

class EquipmentWindow;

class ZELT_WIDGET_EXPORT IEquipment : public QObject
{
    Q_OBJECT
public:
    explicit IEquipment(QObject* parent = nullptr);
    ~IEquipment() override;

    // Makes the window of a VISA instrument from its model text and resource
    // string: the EquipmentInfo gets the model as name, a VisaEquipInfo with a
    // VisaIO on the resource, and goes to window(). Returns null, making nothing,
    // when the model is not in modelInfo() or the resource string is malformed.
    // The window has no parent; the caller shows it.
    virtual EquipmentWindow* create(QString const& model, QString const& resource);

    virtual ModelInfo modelInfo() const = 0;
    // A new window for the instrument, without parent; it deletes itself on close.
    virtual EquipmentWindow* window(QSharedPointer<EquipmentInfo> const& info) = 0;
};

} // namespace zelt::widget

#define ZeltWidgetIEquipment_iid "kz.ns.zelt::widget::IEquipment"
Q_DECLARE_INTERFACE(zelt::widget::IEquipment, ZeltWidgetIEquipment_iid)
