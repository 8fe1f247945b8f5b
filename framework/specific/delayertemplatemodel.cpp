#include "specific/delayertemplatemodel.h"

#include "specific/helper.h"
#include "specific/itemroles.h"

namespace zelt::specific::pxn3000s::programmer {

DelayerTemplateModel::DelayerTemplateModel(QList<DelayerData>& rows, QObject* parent)
    : QAbstractTableModel(parent)
    , m_rows(&rows)
{
}

void DelayerTemplateModel::setSourceData(QList<DelayerData>& rows)
{
    beginResetModel();
    m_rows = &rows;
    endResetModel();
}

int DelayerTemplateModel::rowCount(QModelIndex const& parent) const
{
    return parent.isValid() ? 0 : int(m_rows->size());
}

int DelayerTemplateModel::columnCount(QModelIndex const& parent) const
{
    return parent.isValid() ? 0 : ColumnCount;
}

QVariant DelayerTemplateModel::data(QModelIndex const& index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid))
        return {};
    if (role == Qt::TextAlignmentRole)
        return int(Qt::AlignCenter);
    DelayerData const& row = m_rows->at(index.row());
    if (index.column() == StateColumn) {
        if (role == Qt::DisplayRole)
            return row.state ? tr("On") : tr("Off");
        return role == Qt::EditRole ? QVariant(row.state) : QVariant();
    }
    Helper const& h = Helper::getInstance();
    switch (role) {
    case Qt::DisplayRole:
        return QString::number(row.time, 'f', h.timeDecimals);
    case Qt::EditRole:
        return row.time;
    case DecimalsRole:
        return h.timeDecimals;
    case MinimumRole:
        return editRange(h.rowTimeRange()).min;
    case MaximumRole:
        return editRange(h.rowTimeRange()).max;
    default:
        return {};
    }
}

QVariant DelayerTemplateModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (role != Qt::DisplayRole)
        return {};
    if (orientation == Qt::Vertical)
        return section;
    switch (section) {
    case StateColumn:
        return tr("State");
    case TimeColumn:
        return tr("Time(s)");
    default:
        return {};
    }
}

} // namespace zelt::specific::pxn3000s::programmer
