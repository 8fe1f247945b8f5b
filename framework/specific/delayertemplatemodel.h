#pragma once
// A read-only table of delayer rows (output state, time) on a list that the
// caller owns and keeps alive. The state shows as "On" or "Off" and is a bool
// in the edit role; the time shows Helper's decimals. The vertical header
// numbers the rows from 0, as the instrument's memory does.

#include "specific/programmerdata.h"

#include <QAbstractTableModel>

namespace zelt::specific::pxn3000s::programmer {

class DelayerTemplateModel : public QAbstractTableModel
{
    Q_OBJECT
public:
    enum Column { StateColumn, TimeColumn, ColumnCount };

    explicit DelayerTemplateModel(QList<DelayerData>& rows, QObject* parent = nullptr);

    // Shows this list from now on; also the way to announce that the list
    // shown has been refilled.
    void setSourceData(QList<DelayerData>& rows);

    int rowCount(QModelIndex const& parent = QModelIndex()) const override;
    int columnCount(QModelIndex const& parent = QModelIndex()) const override;
    QVariant data(QModelIndex const& index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;

protected:
    QList<DelayerData>* m_rows;
};

} // namespace zelt::specific::pxn3000s::programmer
