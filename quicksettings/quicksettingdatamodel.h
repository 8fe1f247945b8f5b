#pragma once
// The quick-settings table: row number, voltage, current and a button column, shown and
// edited directly on a list of rows that the window owns.

#include "quicksettings/dpdata.h"

#include <QAbstractTableModel>

class QuickSettingDataModel : public QAbstractTableModel
{
    Q_OBJECT
public:
    // The model edits datas in place and must not outlive it.
    QuickSettingDataModel(QList<QSharedPointer<DPData>>& datas, QObject* parent = nullptr);
    ~QuickSettingDataModel() override;

    QModelIndex index(int row, int column, QModelIndex const& parent = QModelIndex()) const override;
    int rowCount(QModelIndex const& parent = QModelIndex()) const override;
    int columnCount(QModelIndex const& parent = QModelIndex()) const override;
    QVariant data(QModelIndex const& index, int role = Qt::DisplayRole) const override;
    // Columns 1 and 2 take any value as a number, a text that is none as 0.0; nothing is
    // range-checked here, the instrument judges the values when a row is executed.
    bool setData(QModelIndex const& index, QVariant const& value, int role = Qt::EditRole) override;
    QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;
    // New rows hold 0 V and 0 A.
    bool insertRows(int row, int count, QModelIndex const& parent = QModelIndex()) override;
    bool removeRows(int row, int count, QModelIndex const& parent = QModelIndex()) override;
    Qt::ItemFlags flags(QModelIndex const& index) const override;

    void append(QSharedPointer<DPData> const& data);
    // Announces a single new row however many come: attach no view that needs exact
    // ranges while appending several rows at once.
    void append(QList<QSharedPointer<DPData>> const& datas);

private:
    QList<QSharedPointer<DPData>>& m_datas;
};
