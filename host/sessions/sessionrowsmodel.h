#pragma once
// A stored session as a read-only table: rows are read from the store a page at a time
// as the view reaches them, so a session of millions of rows opens at once.

#include "store/storetypes.h"

#include <QAbstractTableModel>
#include <QList>
#include <QMap>

namespace zelt::store {
class SessionReader;
}

namespace zelt::host {

class SessionRowsModel : public QAbstractTableModel
{
    Q_OBJECT
public:
    // The reader outlives the model.
    SessionRowsModel(zelt::store::SessionReader* reader, qint64 session, qint64 rows, QStringList columns,
                     QObject* parent = nullptr);

    int rowCount(QModelIndex const& parent = QModelIndex()) const override;
    int columnCount(QModelIndex const& parent = QModelIndex()) const override;
    QVariant data(QModelIndex const& index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;

private:
    static constexpr int kPage = 512;
    static constexpr int kPagesKept = 16;

    QList<zelt::store::StoredRow> const& page(qint64 first) const;

    zelt::store::SessionReader* m_reader;
    qint64 m_session;
    int m_rows;
    QStringList m_columns;
    mutable QMap<qint64, QList<zelt::store::StoredRow>> m_pages; // by first sequence number
    mutable QList<qint64> m_recent; // least recently used first
};

} // namespace zelt::host
