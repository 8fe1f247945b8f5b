#pragma once
// The history table's cells, drawn once and then copied. A new row scrolls the whole table,
// and the rows already shown come back the same at new places: a copy costs a fraction of
// laying out and drawing their texts again.

#include <QCache>
#include <QPixmap>
#include <QStyledItemDelegate>

class QAbstractItemView;

// What a cell's look depends on: its text, size, state and palette, wherever it stands.
struct CellKey
{
    QString text;
    int width = 0;
    int height = 0;
    int state = 0;
    int features = 0;
    int alignment = 0;
    qint64 palette = 0;
    size_t font = 0;
    qreal ratio = 1.0;

    bool operator==(CellKey const& other) const
    {
        return text == other.text && width == other.width && height == other.height && state == other.state
            && features == other.features && alignment == other.alignment && palette == other.palette
            && font == other.font && qFuzzyCompare(ratio, other.ratio);
    }
};

size_t qHash(CellKey const& key, size_t seed = 0) noexcept;

class CellCacheDelegate : public QStyledItemDelegate
{
public:
    // The cache holds about as many cells as the view shows.
    explicit CellCacheDelegate(QAbstractItemView* view);
    ~CellCacheDelegate() override;

    void paint(QPainter* painter, QStyleOptionViewItem const& option,
               QModelIndex const& index) const override;

private:
    QAbstractItemView* m_view;
    mutable QCache<CellKey, QPixmap> m_cells;
};
