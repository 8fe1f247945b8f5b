#pragma once
// The editable delayer table: a DelayerTemplateModel whose state and time
// cells take edits, and whose rows are inserted and removed in the list it
// shows.

#include "specific/delayertemplatemodel.h"

namespace zelt::specific::pxn3000s::programmer {

class DelayerModel : public DelayerTemplateModel
{
    Q_OBJECT
public:
    explicit DelayerModel(QList<DelayerData>& rows, QObject* parent = nullptr);

    Qt::ItemFlags flags(QModelIndex const& index) const override;
    // The state takes a bool (or the texts "On" and "Off"); the time a number
    // within MinimumRole..MaximumRole, stored as given. Emits dataChanged.
    bool setData(QModelIndex const& index, QVariant const& value, int role = Qt::EditRole) override;

    // New rows have the output on for the shortest row time.
    bool insertRows(int row, int count, QModelIndex const& parent = QModelIndex()) override;
    bool removeRows(int row, int count, QModelIndex const& parent = QModelIndex()) override;

    // Add the rows to the list shown, at its end or before row (0 to
    // rowCount()). False, and nothing changes, for no rows or a row out of range.
    bool appendRows(QList<DelayerData> const& rows);
    bool insertRows(int row, QList<DelayerData> const& rows);
};

} // namespace zelt::specific::pxn3000s::programmer
