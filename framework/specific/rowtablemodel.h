#pragma once
// What the programmer's four tables share. RowTableModel shows rows of one kind on a list that
// the caller owns and keeps alive, one column a field, centred, and numbers the rows from 0 in
// the vertical header, as the instrument's memory does. EditableRowsModel makes such a table
// editable: cells take values within the bounds the model gives (MinimumRole, MaximumRole),
// and rows are inserted and removed in the list shown.

#include "specific/itemroles.h"

#include <QAbstractTableModel>
#include <QList>
#include <QStringList>

#include <algorithm>
#include <climits>
#include <cmath>
#include <utility>

namespace zelt::specific::pxn3000s::programmer {

template<typename Row> class RowTableModel : public QAbstractTableModel
{
public:
    using RowType = Row;

    // Shows this list from now on; also the way to announce that the list shown has been
    // refilled.
    void setSourceData(QList<Row>& rows)
    {
        beginResetModel();
        m_rows = &rows;
        endResetModel();
    }

    int rowCount(QModelIndex const& parent = QModelIndex()) const override
    {
        return parent.isValid() ? 0 : int(m_rows->size());
    }
    int columnCount(QModelIndex const& parent = QModelIndex()) const override
    {
        return parent.isValid() ? 0 : int(m_titles.size());
    }

    QVariant data(QModelIndex const& index, int role = Qt::DisplayRole) const override
    {
        if (!checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid))
            return {};
        if (role == Qt::TextAlignmentRole)
            return int(Qt::AlignCenter);
        return cellData(m_rows->at(index.row()), index.column(), role);
    }

    QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override
    {
        if (role != Qt::DisplayRole)
            return {};
        if (orientation == Qt::Vertical)
            return section;
        return section >= 0 && section < m_titles.size() ? QVariant(m_titles.at(section)) : QVariant();
    }

protected:
    RowTableModel(QList<Row>& rows, QStringList titles, QObject* parent)
        : QAbstractTableModel(parent)
        , m_rows(&rows)
        , m_titles(std::move(titles))
    {
    }

    virtual QVariant cellData(Row const& row, int column, int role) const = 0;

    // A number cell: its text at the decimals, the full value to edit, and the bounds of an edit.
    static QVariant numberData(double value, int decimals, Range_t const& bounds, int role)
    {
        switch (role) {
        case Qt::DisplayRole:
            return QString::number(value, 'f', decimals);
        case Qt::EditRole:
            return value;
        case DecimalsRole:
            return decimals;
        case MinimumRole:
            return editRange(bounds).min;
        case MaximumRole:
            return editRange(bounds).max;
        default:
            return {};
        }
    }

    QList<Row>* m_rows;

private:
    QStringList m_titles;
};

template<typename Base> class EditableRowsModel : public Base
{
public:
    using Row = typename Base::RowType;

    Qt::ItemFlags flags(QModelIndex const& index) const override
    {
        Qt::ItemFlags f = Base::flags(index);
        if (index.isValid())
            f |= Qt::ItemIsEditable;
        return f;
    }

    // Stores the value as given, without rounding to the decimals shown, and emits dataChanged
    // for the cell; a value that the cell does not take changes nothing.
    bool setData(QModelIndex const& index, QVariant const& value, int role = Qt::EditRole) override
    {
        using Check = QAbstractItemModel::CheckIndexOption;
        if (role != Qt::EditRole || !this->checkIndex(index, Check::IndexIsValid | Check::ParentIsInvalid)
            || !storeCell((*this->m_rows)[index.row()], index, value))
            return false;
        Q_EMIT this->dataChanged(index, index, {Qt::DisplayRole, Qt::EditRole});
        return true;
    }

    // New rows are freshRow()s.
    bool insertRows(int row, int count, QModelIndex const& parent = QModelIndex()) override
    {
        if (parent.isValid() || count <= 0 || row < 0 || row > this->m_rows->size() || count > INT_MAX - row)
            return false;
        this->beginInsertRows(QModelIndex(), row, row + count - 1);
        this->m_rows->insert(row, count, freshRow());
        this->endInsertRows();
        return true;
    }

    bool removeRows(int row, int count, QModelIndex const& parent = QModelIndex()) override
    {
        if (parent.isValid() || count <= 0 || row < 0 || qsizetype(row) + count > this->m_rows->size())
            return false;
        this->beginRemoveRows(QModelIndex(), row, row + count - 1);
        this->m_rows->remove(row, count);
        this->endRemoveRows();
        return true;
    }

    // Add the rows to the list shown, at its end or before row (0 to rowCount()). False, and
    // nothing changes, for no rows or a row out of range.
    bool appendRows(QList<Row> const& rows) { return insertRows(int(this->m_rows->size()), rows); }
    bool insertRows(int row, QList<Row> const& rows)
    {
        if (rows.isEmpty() || row < 0 || row > this->m_rows->size())
            return false;
        // Copy first: rows may be the very list shown.
        QList<Row> const copy = rows;
        this->beginInsertRows(QModelIndex(), row, row + int(copy.size()) - 1);
        this->m_rows->insert(row, copy.size(), Row());
        std::copy(copy.cbegin(), copy.cend(), this->m_rows->begin() + row);
        this->endInsertRows();
        return true;
    }

protected:
    using Base::Base;

    virtual Row freshRow() const = 0;
    // Writes value into the field of the index's column; false when the cell does not take it.
    virtual bool storeCell(Row& row, QModelIndex const& index, QVariant const& value) = 0;

    // The value as a number that lies within the cell's MinimumRole..MaximumRole.
    static bool boundedNumber(QModelIndex const& index, QVariant const& value, double& number)
    {
        bool ok = false;
        number = value.toDouble(&ok);
        return ok && std::isfinite(number) && number >= index.data(MinimumRole).toDouble()
            && number <= index.data(MaximumRole).toDouble();
    }
};

} // namespace zelt::specific::pxn3000s::programmer
