#include "host/sessions/sessionrowsmodel.h"

#include "store/sessionreader.h"

#include <QDateTime>

namespace zelt::host {

SessionRowsModel::SessionRowsModel(zelt::store::SessionReader* reader, qint64 session, qint64 rows,
                                   QStringList columns, QObject* parent)
    : QAbstractTableModel(parent)
    , m_reader(reader)
    , m_session(session)
    , m_rows(int(qMin<qint64>(rows, std::numeric_limits<int>::max())))
    , m_columns(std::move(columns))
{
}

int SessionRowsModel::rowCount(QModelIndex const& parent) const
{
    return parent.isValid() ? 0 : m_rows;
}

int SessionRowsModel::columnCount(QModelIndex const& parent) const
{
    return parent.isValid() ? 0 : int(m_columns.size());
}

QList<zelt::store::StoredRow> const& SessionRowsModel::page(qint64 first) const
{
    auto it = m_pages.find(first);
    if (it == m_pages.end()) {
        if (m_pages.size() >= kPagesKept)
            m_pages.remove(m_recent.takeFirst());
        it = m_pages.insert(first, m_reader->rows(m_session, first, kPage));
    } else {
        m_recent.removeOne(first);
    }
    m_recent << first;
    return *it;
}

QVariant SessionRowsModel::data(QModelIndex const& index, int role) const
{
    if (!index.isValid() || index.row() >= m_rows)
        return {};
    if (role == Qt::TextAlignmentRole)
        return int(Qt::AlignCenter);
    if (role != Qt::DisplayRole && role != Qt::ToolTipRole)
        return {};
    qint64 const first = index.row() / kPage * qint64(kPage);
    auto const& rows = page(first);
    qint64 const offset = index.row() - first;
    if (offset >= rows.size())
        return {};
    auto const& row = rows.at(offset);
    if (role == Qt::ToolTipRole)
        return tr("Logged %1, segment %2")
            .arg(QDateTime::fromMSecsSinceEpoch(row.timeMs)
                     .toString(QStringLiteral("yyyy-MM-dd hh:mm:ss.zzz")))
            .arg(row.segment + 1);
    return row.cells.value(index.column());
}

QVariant SessionRowsModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (role != Qt::DisplayRole)
        return {};
    if (orientation == Qt::Vertical)
        return section + 1;
    return m_columns.value(section);
}

} // namespace zelt::host
