#include "quicksettings/quicksettingdatamodel.h"

namespace {

enum Column { ColumnNumber, ColumnVoltage, ColumnCurrent, ColumnOperate, ColumnCount };

QString valueText(double value)
{
    return QStringLiteral("%1").arg(value, 0, 'f', 3);
}

} // namespace

QuickSettingDataModel::QuickSettingDataModel(QList<QSharedPointer<DPData>>& datas, QObject* parent)
    : QAbstractTableModel(parent)
    , m_datas(datas)
{
}

QuickSettingDataModel::~QuickSettingDataModel() = default;

QModelIndex QuickSettingDataModel::index(int row, int column, QModelIndex const& parent) const
{
    if (!hasIndex(row, column, parent))
        return QModelIndex();
    return createIndex(row, column, m_datas.at(row).data());
}

int QuickSettingDataModel::rowCount(QModelIndex const& parent) const
{
    return parent.isValid() ? 0 : int(m_datas.size());
}

int QuickSettingDataModel::columnCount(QModelIndex const& parent) const
{
    return parent.isValid() ? 0 : ColumnCount;
}

QVariant QuickSettingDataModel::data(QModelIndex const& index, int role) const
{
    auto const* row = static_cast<DPData const*>(index.internalPointer());
    if (!index.isValid() || !row || (role != Qt::DisplayRole && role != Qt::EditRole))
        return QVariant();
    switch (index.column()) {
    case ColumnNumber:
        return index.row() + 1;
    case ColumnVoltage:
        return valueText(row->voltage);
    case ColumnCurrent:
        return valueText(row->current);
    default:
        // The delegate paints the button.
        return QVariant();
    }
}

bool QuickSettingDataModel::setData(QModelIndex const& index, QVariant const& value, int role)
{
    auto* row = static_cast<DPData*>(index.internalPointer());
    if (!index.isValid() || role != Qt::EditRole || !row)
        return false;
    if (index.column() == ColumnVoltage)
        row->voltage = value.toDouble();
    else if (index.column() == ColumnCurrent)
        row->current = value.toDouble();
    Q_EMIT dataChanged(index, index, {Qt::EditRole});
    return true;
}

QVariant QuickSettingDataModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation == Qt::Horizontal && role == Qt::DisplayRole) {
        switch (section) {
        case ColumnNumber:
            return tr("No.");
        case ColumnVoltage:
            return tr("Voltage(V)");
        case ColumnCurrent:
            return tr("Current(A)");
        case ColumnOperate:
            return tr("Operate");
        default:
            break;
        }
    }
    return QAbstractTableModel::headerData(section, orientation, role);
}

bool QuickSettingDataModel::insertRows(int row, int count, QModelIndex const& parent)
{
    // Out of range, the list would be written outside its bounds.
    if (parent.isValid() || count < 1 || row < 0 || row > m_datas.size())
        return false;
    beginInsertRows(parent, row, row + count - 1);
    for (int i = row; i < row + count; ++i)
        m_datas.insert(i, QSharedPointer<DPData>::create());
    endInsertRows();
    return true;
}

bool QuickSettingDataModel::removeRows(int row, int count, QModelIndex const& parent)
{
    if (parent.isValid() || count < 1 || row < 0 || row + count > m_datas.size())
        return false;
    beginRemoveRows(parent, row, row + count - 1);
    for (int i = row + count - 1; i >= row; --i)
        m_datas.removeAt(i);
    endRemoveRows();
    return true;
}

Qt::ItemFlags QuickSettingDataModel::flags(QModelIndex const& index) const
{
    Qt::ItemFlags const base = QAbstractTableModel::flags(index);
    if (!index.isValid())
        return base;
    if (index.column() == ColumnNumber || index.column() == ColumnOperate)
        return base & ~Qt::ItemIsEditable;
    return base | Qt::ItemIsEditable;
}

void QuickSettingDataModel::append(QSharedPointer<DPData> const& data)
{
    int const n = int(m_datas.size());
    beginInsertRows(QModelIndex(), n, n);
    m_datas.append(data);
    endInsertRows();
}

void QuickSettingDataModel::append(QList<QSharedPointer<DPData>> const& datas)
{
    int const n = int(m_datas.size());
    beginInsertRows(QModelIndex(), n, n);
    m_datas.append(datas);
    endInsertRows();
}
