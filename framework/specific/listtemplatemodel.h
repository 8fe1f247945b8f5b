#pragma once
// A read-only table of list rows (voltage, current, time) on a list that the
// caller owns and keeps alive. Texts show Helper's decimals, the edit role the
// full value; the vertical header numbers the rows from 0, as the instrument's
// memory does.

#include "specific/programmerdata.h"

#include <QAbstractTableModel>

namespace zelt::specific::pxn3000s::programmer {

class ListTemplateModel : public QAbstractTableModel
{
    Q_OBJECT
public:
    enum Column { VoltageColumn, CurrentColumn, TimeColumn, ColumnCount };

    explicit ListTemplateModel(QList<ListData>& rows, QObject* parent = nullptr);

    // Shows this list from now on; also the way to announce that the list
    // shown has been refilled.
    void setSourceData(QList<ListData>& rows);

    int rowCount(QModelIndex const& parent = QModelIndex()) const override;
    int columnCount(QModelIndex const& parent = QModelIndex()) const override;
    QVariant data(QModelIndex const& index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;

protected:
    QList<ListData>* m_rows;
};

} // namespace zelt::specific::pxn3000s::programmer
