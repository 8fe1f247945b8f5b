#include "specific/listdatamodel.h"

#include "specific/helper.h"

namespace zelt::specific::pxn3000s::programmer {

ListDataModel::ListDataModel(QList<ListData>& rows, QObject* parent)
    : EditableRowsModel(rows, parent)
{
}

ListData ListDataModel::freshRow() const
{
    return ListData(0.0, 0.0, Helper::getInstance().rowTimeRange().min);
}

bool ListDataModel::storeCell(ListData& row, QModelIndex const& index, QVariant const& value)
{
    double v = 0.0;
    if (!boundedNumber(index, value, v))
        return false;
    (index.column() == VoltageColumn       ? row.voltage
         : index.column() == CurrentColumn ? row.current
                                           : row.time)
        = v;
    return true;
}

} // namespace zelt::specific::pxn3000s::programmer
