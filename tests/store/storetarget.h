#pragma once
// What the store suites share: a SQLite target, and a table as a window keeps and exports it.

#include "store/storetypes.h"
#include "tests/common/table.h"

inline zelt::store::StoreTarget sqliteTarget(QString const& path)
{
    zelt::store::StoreTarget target;
    target.path = path;
    return target;
}
