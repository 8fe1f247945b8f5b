#include "recording/datamodel.h"

#include "driver/dmmhelper.h"

#include <utility>

namespace {

QString const kDateTimeFormat = QStringLiteral("yyyy-MM-dd hh:mm:ss");

bool isParallel(QString const& mode)
{
    return mode == QLatin1String(dmmhelper::kPowerModePARAMaster)
        || mode == QLatin1String(dmmhelper::kPowerModePARASlave);
}

bool isSeries(QString const& mode)
{
    return mode == QLatin1String(dmmhelper::kPowerModeSERMaster)
        || mode == QLatin1String(dmmhelper::kPowerModeSERSlave);
}

// A group value of a parallel or series row, "-" when the row has no group or the
// group's reading failed.
QVariant groupCell(zelt::measure::QValueBox const* parallel, zelt::measure::QValueBox const* series,
                   QString const& mode)
{
    zelt::measure::QValueBox const* box = isParallel(mode) ? parallel : isSeries(mode) ? series : nullptr;
    if (!box || box->kind != 0)
        return QStringLiteral("-");
    return dmmhelper::VBText(*box);
}

} // namespace

DataModel::DataModel(QList<Column*> columns, QObject* parent)
    : QAbstractTableModel(parent)
    , m_columns(std::move(columns))
{
}

DataModel::~DataModel() = default;

// A table: the rows and columns are those of the root, and no cell has children.
int DataModel::rowCount(QModelIndex const& parent) const
{
    return parent.isValid() ? 0 : int(m_datas.size());
}

int DataModel::columnCount(QModelIndex const& parent) const
{
    return parent.isValid() ? 0 : int(m_columns.size());
}

QVariant DataModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || section < 0 || section >= m_columns.size())
        return {};
    if (role == Qt::DisplayRole)
        return m_columns.at(section)->title;
    if (role == KeyRole)
        return m_columns.at(section)->key;
    return {};
}

Qt::ItemFlags DataModel::flags(QModelIndex const& index) const
{
    return QAbstractTableModel::flags(index) & ~Qt::ItemIsEditable;
}

void DataModel::addData(QSharedPointer<DmmData> data)
{
    int const n = rowCount();
    beginInsertRows(QModelIndex(), n, n);
    m_datas.append(std::move(data));
    endInsertRows();
}

void DataModel::addData(QList<QSharedPointer<DmmData>> const& datas)
{
    int const n = rowCount();
    // A copy first: the list may be this model's own.
    QList<QSharedPointer<DmmData>> const added = datas;
    beginInsertRows(QModelIndex(), n, n + int(added.size()) - 1);
    m_datas.append(added);
    endInsertRows();
}

void DataModel::clear()
{
    beginRemoveRows(QModelIndex(), 0, rowCount() - 1);
    m_datas.clear();
    endRemoveRows();
}

int DataModel::getChannelIndex(int column, int firstColumn) const
{
    return (column - firstColumn) / 3;
}

QVariant DataModel::getMainValue(int row) const
{
    return data(index(row, 2), Qt::DisplayRole).toString();
}

DmmData const* DataModel::sampleAt(QModelIndex const& index) const
{
    if (index.row() < 0 || index.column() < 0 || !index.model() || index.row() >= m_datas.size())
        return nullptr;
    return m_datas.at(index.row()).data();
}

SingleChannelDataModel::SingleChannelDataModel(QList<Column*> columns, int channel, QObject* parent)
    : DataModel(std::move(columns), parent)
    , m_channel(channel)
{
}

SingleChannelDataModel::~SingleChannelDataModel() = default;

QVariant SingleChannelDataModel::data(QModelIndex const& index, int role) const
{
    DmmData const* sample = sampleAt(index);
    if (!sample)
        return {};
    if (role == Qt::TextAlignmentRole)
        return int(Qt::AlignCenter);
    if (role != Qt::DisplayRole)
        return {};

    Channel const* channel = sample->channel(m_channel);
    if (!channel)
        return {};
    Channel const& ch = *channel;
    QString const& mode = sample->config().powerMode;
    switch (index.column()) {
    case 0:
        return index.row() + 1;
    case 1:
        return sample->dateTime().toString(kDateTimeFormat);
    case 2:
        return dmmhelper::getPowerModeText(mode);
    case 3:
        return dmmhelper::VBText(ch.voltage.measured);
    case 4:
        return dmmhelper::VBText(ch.current.measured);
    case 5:
        return dmmhelper::VBText(ch.power);
    case 6:
        return groupCell(&ch.parallelVoltage.measured, &ch.seriesVoltage.measured, mode);
    case 7:
        return groupCell(&ch.parallelCurrent.measured, &ch.seriesCurrent.measured, mode);
    case 8:
        return groupCell(&ch.parallelPower, &ch.seriesPower, mode);
    default:
        return {};
    }
}

AllChannelDataModel::AllChannelDataModel(QList<Column*> columns, QObject* parent)
    : DataModel(std::move(columns), parent)
{
}

AllChannelDataModel::~AllChannelDataModel() = default;

QVariant AllChannelDataModel::data(QModelIndex const& index, int role) const
{
    DmmData const* sample = sampleAt(index);
    if (!sample)
        return {};
    if (role == Qt::TextAlignmentRole)
        return int(Qt::AlignCenter);
    if (role != Qt::DisplayRole)
        return {};

    int const c = index.column();
    if (c == 0)
        return index.row() + 1;
    if (c == 1)
        return sample->dateTime().toString(kDateTimeFormat);
    // Three columns a channel from column 2 on, six channels at most.
    if (c >= 20)
        return {};
    Channel const* channel = sample->channel(getChannelIndex(c, 2));
    if (!channel)
        return {};
    Channel const& ch = *channel;
    switch ((c - 2) % 3) {
    case 0:
        return dmmhelper::VBText(ch.voltage.measured);
    case 1:
        return dmmhelper::VBText(ch.current.measured);
    default:
        return dmmhelper::VBText(ch.power);
    }
}
