#pragma once
// The editable list table: a ListTemplateModel whose voltage, current and time cells take
// edits within the channel's ranges and the row-time bounds, and whose rows are inserted and
// removed in the list it shows.

#include "specific/listtemplatemodel.h"
#include "specific/zelt_specific_export.h"

namespace zelt::specific::pxn3000s::programmer {

class ZELT_SPECIFIC_EXPORT ListDataModel : public EditableRowsModel<ListTemplateModel>
{
    Q_OBJECT
public:
    explicit ListDataModel(QList<ListData>& rows, QObject* parent = nullptr);

protected:
    // 0 V, 0 A and the shortest row time, which the instrument accepts.
    ListData freshRow() const override;
    bool storeCell(ListData& row, QModelIndex const& index, QVariant const& value) override;
};

} // namespace zelt::specific::pxn3000s::programmer
