#include "recording/celldelegate.h"

#include <QAbstractItemView>
#include <QPainter>

#include <algorithm>
#include <memory>
#include <utility>

namespace {

// What a cell's look depends on beside its text, its size and its palette.
constexpr QStyle::State kDrawnStates = QStyle::State_Enabled | QStyle::State_Active | QStyle::State_Selected
    | QStyle::State_HasFocus | QStyle::State_MouseOver;

} // namespace

size_t qHash(CellKey const& key, size_t seed) noexcept
{
    return qHashMulti(seed, key.text, key.width, key.height, key.state, key.features, key.alignment,
                      key.palette, key.ratio);
}

CellCacheDelegate::CellCacheDelegate(QAbstractItemView* view)
    : QStyledItemDelegate(view)
    , m_view(view)
{
}

CellCacheDelegate::~CellCacheDelegate() = default;

void CellCacheDelegate::paint(QPainter* painter, QStyleOptionViewItem const& option,
                              QModelIndex const& index) const
{
    qreal const ratio = painter->device() ? painter->device()->devicePixelRatio() : 1.0;
    QSize const size = option.rect.size();
    if (size.isEmpty() || !painter->transform().isIdentity()) {
        QStyledItemDelegate::paint(painter, option, index);
        return;
    }
    CellKey key {index.data(Qt::DisplayRole).toString(),
                 size.width(),
                 size.height(),
                 int(option.state & kDrawnStates),
                 int(option.features),
                 index.data(Qt::TextAlignmentRole).toInt(),
                 option.palette.cacheKey(),
                 qHash(option.font),
                 ratio};
    if (QPixmap const* cell = m_cells.object(key)) {
        painter->drawPixmap(option.rect.topLeft(), *cell);
        return;
    }

    auto cell = std::make_unique<QPixmap>(size * ratio);
    cell->setDevicePixelRatio(ratio);
    // The view's background under the cell, as the view paints it before its cells.
    QPalette::ColorGroup const group = !(option.state & QStyle::State_Enabled) ? QPalette::Disabled
        : (option.state & QStyle::State_Active)                                ? QPalette::Active
                                                                               : QPalette::Inactive;
    cell->fill(m_view->viewport()->palette().color(group, m_view->viewport()->backgroundRole()));
    {
        QPainter cellPainter(cell.get());
        cellPainter.setRenderHints(painter->renderHints());
        cellPainter.setFont(painter->font());
        cellPainter.setPen(painter->pen());
        cellPainter.translate(-option.rect.topLeft());
        QStyledItemDelegate::paint(&cellPainter, option, index);
    }
    painter->drawPixmap(option.rect.topLeft(), *cell);

    // About one view's worth of cells: the rows that scrolled away go first.
    QSize const area = m_view->viewport()->size() * ratio;
    m_cells.setMaxCost(std::max(1, area.width() * area.height() * 5 / 4));
    qsizetype const cost = qsizetype(cell->width()) * cell->height();
    m_cells.insert(std::move(key), cell.release(), cost);
}
