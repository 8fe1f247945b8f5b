#include "specific/delayermodel.h"

#include "specific/helper.h"
#include "specific/itemroles.h"

#include <algorithm>
#include <climits>
#include <cmath>

namespace zelt::specific::pxn3000s::programmer {

DelayerModel::DelayerModel(QList<DelayerData>& rows, QObject* parent)
    : DelayerTemplateModel(rows, parent)
{
}

Qt::ItemFlags DelayerModel::flags(QModelIndex const& index) const
{
    Qt::ItemFlags f = DelayerTemplateModel::flags(index);
    if (index.isValid())
        f |= Qt::ItemIsEditable;
    return f;
}

bool DelayerModel::setData(QModelIndex const& index, QVariant const& value, int role)
{
    if (role != Qt::EditRole
        || !checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid))
        return false;
    DelayerData& row = (*m_rows)[index.row()];
    if (index.column() == StateColumn) {
        if (value.typeId() == QMetaType::QString) {
            QString const text = value.toString();
            if (text != tr("On") && text != tr("Off"))
                return false;
            row.state = text == tr("On");
        } else if (value.canConvert<bool>()) {
            row.state = value.toBool();
        } else {
            return false;
        }
    } else {
        bool ok = false;
        double const v = value.toDouble(&ok);
        if (!ok || !std::isfinite(v) || v < index.data(MinimumRole).toDouble()
            || v > index.data(MaximumRole).toDouble())
            return false;
        row.time = v;
    }
    Q_EMIT dataChanged(index, index, {Qt::DisplayRole, Qt::EditRole});
    return true;
}

bool DelayerModel::insertRows(int row, int count, QModelIndex const& parent)
{
    if (parent.isValid() || count <= 0 || row < 0 || row > m_rows->size() || count > INT_MAX - row)
        return false;
    DelayerData const fresh(true, Helper::getInstance().rowTimeRange().min);
    beginInsertRows(QModelIndex(), row, row + count - 1);
    m_rows->insert(row, count, fresh);
    endInsertRows();
    return true;
}

bool DelayerModel::removeRows(int row, int count, QModelIndex const& parent)
{
    if (parent.isValid() || count <= 0 || row < 0 || qsizetype(row) + count > m_rows->size())
        return false;
    beginRemoveRows(QModelIndex(), row, row + count - 1);
    m_rows->remove(row, count);
    endRemoveRows();
    return true;
}

bool DelayerModel::appendRows(QList<DelayerData> const& rows)
{
    return insertRows(int(m_rows->size()), rows);
}

bool DelayerModel::insertRows(int row, QList<DelayerData> const& rows)
{
    if (rows.isEmpty() || row < 0 || row > m_rows->size())
        return false;
    // Copy first: rows may be the very list shown.
    QList<DelayerData> const copy = rows;
    beginInsertRows(QModelIndex(), row, row + int(copy.size()) - 1);
    m_rows->insert(row, copy.size(), DelayerData());
    std::copy(copy.cbegin(), copy.cend(), m_rows->begin() + row);
    endInsertRows();
    return true;
}

} // namespace zelt::specific::pxn3000s::programmer
