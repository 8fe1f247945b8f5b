#pragma once
// A table model with titles in its horizontal header, as the window's record keeps and exports
// it, and a row of any model as text.

#include "util/character.h"

#include <QAbstractTableModel>
#include <QFile>

// Rows are appended, a Clear removes them all.
class Table : public QAbstractTableModel
{
public:
    explicit Table(QStringList columns, QList<QStringList> rows = {})
        : m_columns(std::move(columns))
        , m_rows(std::move(rows))
    {
    }
    void append(QStringList const& cells)
    {
        beginInsertRows({}, rowCount(), rowCount());
        m_rows << cells;
        endInsertRows();
    }
    void clear()
    {
        beginRemoveRows({}, 0, rowCount() - 1);
        m_rows.clear();
        endRemoveRows();
    }
    int rowCount(QModelIndex const& = {}) const override { return int(m_rows.size()); }
    int columnCount(QModelIndex const& = {}) const override { return int(m_columns.size()); }
    QVariant data(QModelIndex const& index, int role) const override
    {
        return role == Qt::DisplayRole ? QVariant(m_rows.at(index.row()).at(index.column())) : QVariant();
    }
    QVariant headerData(int section, Qt::Orientation, int role) const override
    {
        return role == Qt::DisplayRole ? QVariant(m_columns.at(section)) : QVariant();
    }

    // The file the window's Export writes, read back; empty when it could not.
    QByteArray csv(QString const& path)
    {
        QFile file(path);
        if (!zelt::util::character::Character::csvSave(path, this, false) || !file.open(QIODevice::ReadOnly))
            return {};
        return file.readAll();
    }

private:
    QStringList m_columns;
    QList<QStringList> m_rows;
};

// The display texts of a row's cells.
inline QStringList rowTexts(QAbstractItemModel const& model, int row)
{
    QStringList cells;
    for (int c = 0; c < model.columnCount(); ++c)
        cells << model.data(model.index(row, c)).toString();
    return cells;
}
