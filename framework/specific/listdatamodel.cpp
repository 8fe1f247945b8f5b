#include "specific/listdatamodel.h"

#include "specific/helper.h"
#include "specific/itemroles.h"

#include <algorithm>
#include <climits>
#include <cmath>

namespace zelt::specific::pxn3000s::programmer {

ListDataModel::ListDataModel(QList<ListData>& rows, QObject* parent)
    : ListTemplateModel(rows, parent)
{
}

Qt::ItemFlags ListDataModel::flags(QModelIndex const& index) const
{
    Qt::ItemFlags f = ListTemplateModel::flags(index);
    if (index.isValid())
        f |= Qt::ItemIsEditable;
    return f;
}

bool ListDataModel::setData(QModelIndex const& index, QVariant const& value, int role)
{
    if (role != Qt::EditRole
        || !checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid))
        return false;
    bool ok = false;
    double const v = value.toDouble(&ok);
    if (!ok || !std::isfinite(v) || v < index.data(MinimumRole).toDouble()
        || v > index.data(MaximumRole).toDouble())
        return false;
    ListData& row = (*m_rows)[index.row()];
    (index.column() == VoltageColumn       ? row.voltage
         : index.column() == CurrentColumn ? row.current
                                           : row.time)
        = v;
    Q_EMIT dataChanged(index, index, {Qt::DisplayRole, Qt::EditRole});
    return true;
}

bool ListDataModel::insertRows(int row, int count, QModelIndex const& parent)
{
    if (parent.isValid() || count <= 0 || row < 0 || row > m_rows->size() || count > INT_MAX - row)
        return false;
    ListData const fresh(0.0, 0.0, Helper::getInstance().rowTimeRange().min);
    beginInsertRows(QModelIndex(), row, row + count - 1);
    m_rows->insert(row, count, fresh);
    endInsertRows();
    return true;
}

bool ListDataModel::removeRows(int row, int count, QModelIndex const& parent)
{
    if (parent.isValid() || count <= 0 || row < 0 || qsizetype(row) + count > m_rows->size())
        return false;
    beginRemoveRows(QModelIndex(), row, row + count - 1);
    m_rows->remove(row, count);
    endRemoveRows();
    return true;
}

bool ListDataModel::appendRows(QList<ListData> const& rows)
{
    return insertRows(int(m_rows->size()), rows);
}

bool ListDataModel::insertRows(int row, QList<ListData> const& rows)
{
    if (rows.isEmpty() || row < 0 || row > m_rows->size())
        return false;
    // Copy first: rows may be the very list shown.
    QList<ListData> const copy = rows;
    beginInsertRows(QModelIndex(), row, row + int(copy.size()) - 1);
    m_rows->insert(row, copy.size(), ListData());
    std::copy(copy.cbegin(), copy.cend(), m_rows->begin() + row);
    endInsertRows();
    return true;
}

} // namespace zelt::specific::pxn3000s::programmer
