#include "host/instrumentarea.h"

#include <QMdiSubWindow>

namespace zelt::host {

InstrumentArea::InstrumentArea(QWidget* parent)
    : QMdiArea(parent)
{
    setHorizontalScrollBarPolicy(Qt::ScrollBarAsNeeded);
    setVerticalScrollBarPolicy(Qt::ScrollBarAsNeeded);
}

void InstrumentArea::tile()
{
    QList<QMdiSubWindow*> windows;
    for (QMdiSubWindow* window : subWindowList()) {
        if (!window->isHidden())
            windows.append(window);
    }
    if (windows.isEmpty())
        return;
    int const count = int(windows.size());
    int columns = 1;
    while (columns * columns < count)
        ++columns;
    int const rows = (count + columns - 1) / columns;
    QSize const area = viewport()->size();
    for (int i = 0; i < count; ++i) {
        QMdiSubWindow* window = windows.at(i);
        int const row = i / columns;
        int const column = i % columns;
        // The last row's windows share its width.
        int const inRow = row == rows - 1 ? count - row * columns : columns;
        int const x0 = column * area.width() / inRow;
        int const x1 = (column + 1) * area.width() / inRow;
        int const y0 = row * area.height() / rows;
        int const y1 = (row + 1) * area.height() / rows;
        window->showNormal();
        window->setMinimumSize(0, 0);
        window->setGeometry(x0, y0, x1 - x0, y1 - y0);
    }
}

} // namespace zelt::host
