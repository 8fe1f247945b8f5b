#include "specific/listtemplatemodel.h"

#include "specific/helper.h"
#include "specific/itemroles.h"

namespace zelt::specific::pxn3000s::programmer {

ListTemplateModel::ListTemplateModel(QList<ListData>& rows, QObject* parent)
    : QAbstractTableModel(parent)
    , m_rows(&rows)
{
}

void ListTemplateModel::setSourceData(QList<ListData>& rows)
{
    beginResetModel();
    m_rows = &rows;
    endResetModel();
}

int ListTemplateModel::rowCount(QModelIndex const& parent) const
{
    return parent.isValid() ? 0 : int(m_rows->size());
}

int ListTemplateModel::columnCount(QModelIndex const& parent) const
{
    return parent.isValid() ? 0 : ColumnCount;
}

QVariant ListTemplateModel::data(QModelIndex const& index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid))
        return {};
    int const column = index.column();
    if (role == Qt::TextAlignmentRole)
        return int(Qt::AlignCenter);

    Helper const& h = Helper::getInstance();
    ListData const& row = m_rows->at(index.row());
    double const value = column == VoltageColumn ? row.voltage
        : column == CurrentColumn                ? row.current
                                                 : row.time;
    int const decimals = column == VoltageColumn ? h.voltageDecimals
        : column == CurrentColumn                ? h.currentDecimals
                                                 : h.timeDecimals;
    switch (role) {
    case Qt::DisplayRole:
        return QString::number(value, 'f', decimals);
    case Qt::EditRole:
        return value;
    case DecimalsRole:
        return decimals;
    case MinimumRole:
    case MaximumRole: {
        Range_t const r = column == VoltageColumn ? editRange(getVRangeOfChannel(h.channel))
            : column == CurrentColumn             ? editRange(getCRangeOfChannel(h.channel))
                                                  : editRange(h.rowTimeRange());
        return role == MinimumRole ? r.min : r.max;
    }
    default:
        return {};
    }
}

QVariant ListTemplateModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (role != Qt::DisplayRole)
        return {};
    if (orientation == Qt::Vertical)
        return section;
    switch (section) {
    case VoltageColumn:
        return tr("Voltage(V)");
    case CurrentColumn:
        return tr("Current(A)");
    case TimeColumn:
        return tr("Time(s)");
    default:
        return {};
    }
}

} // namespace zelt::specific::pxn3000s::programmer
