#pragma once
// The editable list table: a ListTemplateModel whose voltage, current and time
// cells take edits within the channel's ranges and the row-time bounds, and
// whose rows are inserted and removed in the list it shows.

#include "specific/listtemplatemodel.h"

namespace zelt::specific::pxn3000s::programmer {

class ListDataModel : public ListTemplateModel
{
    Q_OBJECT
public:
    explicit ListDataModel(QList<ListData>& rows, QObject* parent = nullptr);

    Qt::ItemFlags flags(QModelIndex const& index) const override;
    // Stores the value as given, without rounding to the decimals shown; a
    // value that is no number or lies outside MinimumRole..MaximumRole is
    // refused. Emits dataChanged for the cell.
    bool setData(QModelIndex const& index, QVariant const& value, int role = Qt::EditRole) override;

    // New rows hold 0 V, 0 A and the shortest row time, which the instrument
    // accepts.
    bool insertRows(int row, int count, QModelIndex const& parent = QModelIndex()) override;
    bool removeRows(int row, int count, QModelIndex const& parent = QModelIndex()) override;

    // Add the rows to the list shown, at its end or before row (0 to
    // rowCount()). False, and nothing changes, for no rows or a row out of range.
    bool appendRows(QList<ListData> const& rows);
    bool insertRows(int row, QList<ListData> const& rows);
};

} // namespace zelt::specific::pxn3000s::programmer
