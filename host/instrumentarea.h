#pragma once
// The main window's multi-document area, which holds one sub-window per instrument and
// arranges them.

#include <QMdiArea>

namespace zelt::host {

class InstrumentArea : public QMdiArea
{
    Q_OBJECT
public:
    explicit InstrumentArea(QWidget* parent = nullptr);

    // Tiles the shown sub-windows in a grid as square as their count allows, every cell inside
    // the area, so that no scroll bar appears; a window smaller than its content scrolls inside.
    void tile();
};

} // namespace zelt::host
