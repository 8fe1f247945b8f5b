#pragma once
// The editable delayer table: a DelayerTemplateModel whose state and time cells take edits,
// and whose rows are inserted and removed in the list it shows.

#include "specific/delayertemplatemodel.h"
#include "specific/zelt_specific_export.h"

namespace zelt::specific::pxn3000s::programmer {

class ZELT_SPECIFIC_EXPORT DelayerModel : public EditableRowsModel<DelayerTemplateModel>
{
    Q_OBJECT
public:
    explicit DelayerModel(QList<DelayerData>& rows, QObject* parent = nullptr);

protected:
    // The output on for the shortest row time.
    DelayerData freshRow() const override;
    // The state takes a bool or the texts "On" and "Off"; the time a number within the bounds.
    bool storeCell(DelayerData& row, QModelIndex const& index, QVariant const& value) override;
};

} // namespace zelt::specific::pxn3000s::programmer
