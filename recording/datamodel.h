#pragma once
// Table models of the recorded samples: one row a sample, every cell computed from the
// shared sample when a view or an export asks for it.

#include "driver/dmmdata.h"

#include <QAbstractTableModel>
#include <QList>
#include <QSharedPointer>
#include <QString>

// One column of a history table: the translated header title and the plain key that an
// export may write instead.
struct Column
{
    QString title;
    QString key;
    int tag = 1;
};

class DataModel : public QAbstractTableModel
{
    Q_OBJECT
public:
    // The key of a column, beside its title under Qt::DisplayRole.
    static constexpr int KeyRole = Qt::UserRole + 1;

    // The columns are not owned: they outlive every model that shows them.
    DataModel(QList<Column*> columns, QObject* parent = nullptr);
    ~DataModel() override;

    int rowCount(QModelIndex const& parent = QModelIndex()) const override;
    int columnCount(QModelIndex const& parent = QModelIndex()) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;
    Qt::ItemFlags flags(QModelIndex const& index) const override;

    void addData(QSharedPointer<DmmData> data);
    void addData(QList<QSharedPointer<DmmData>> const& datas);
    // Removes every row; the remove signals come also when there is none.
    void clear();

    QList<Column*> const& columns() const { return m_columns; }
    // The channel of a column where each channel has three columns from firstColumn on.
    int getChannelIndex(int column, int firstColumn) const;
    // The display text of column 2 of a row, the mode in a single-channel table.
    QVariant getMainValue(int row) const;

protected:
    // The sample of a valid index, or null: what every cell starts from.
    DmmData const* sampleAt(QModelIndex const& index) const;

    QList<QSharedPointer<DmmData>> m_datas;
    QList<Column*> m_columns;
};

// One channel with its power mode and the values of its parallel or series group.
class SingleChannelDataModel : public DataModel
{
    Q_OBJECT
public:
    SingleChannelDataModel(QList<Column*> columns, int channel, QObject* parent = nullptr);
    ~SingleChannelDataModel() override;

    QVariant data(QModelIndex const& index, int role = Qt::DisplayRole) const override;

private:
    int m_channel = 0;
};

// Voltage, current and power of up to six channels side by side.
class AllChannelDataModel : public DataModel
{
    Q_OBJECT
public:
    AllChannelDataModel(QList<Column*> columns, QObject* parent = nullptr);
    ~AllChannelDataModel() override;

    QVariant data(QModelIndex const& index, int role = Qt::DisplayRole) const override;
};
