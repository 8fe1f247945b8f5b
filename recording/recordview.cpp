#include "recording/recordview.h"

#include "recording/recordrowheader.h"

#include <QScrollBar>

RecordView::RecordView(QWidget* parent)
    : QTableView(parent)
{
    // QTableView connects its header by slot names, so a header set here connects to ours.
    setVerticalHeader(new RecordRowHeader(this));
}

RecordView::~RecordView() = default;

void RecordView::rowCountChanged(int oldCount, int newCount)
{
    // A table that cannot be seen lays out once, when it shows again.
    if (newCount <= oldCount || oldCount == 0 || !isVisible()) {
        QTableView::rowCountChanged(oldCount, newCount);
        return;
    }
    updateGeometries();
    if (verticalScrollMode() == ScrollPerItem)
        verticalHeader()->setOffsetToSectionPosition(verticalScrollBar()->value());
    else
        verticalHeader()->setOffset(verticalScrollBar()->value());
    // The rows above are unchanged; a scroll to the new rows moves them with the view's pixels.
    int const top = rowViewportPosition(oldCount);
    QRect const added(0, top, viewport()->width(), viewport()->height() - top);
    if (added.isValid())
        viewport()->update(added);
}
