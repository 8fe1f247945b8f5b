#pragma once
// The instruments that were open when the host last quit, kept in its settings so that the next
// start can offer to reopen them.

#include "host/connectdialog.h"

#include <QList>

namespace zelt::host {

class LastInstruments
{
public:
    static QList<ConnectRequest> load();
    // Replaces what was kept. A simulated instrument is kept by its model only: it gets a new
    // port at each start.
    static void save(QList<ConnectRequest> const& requests);
};

} // namespace zelt::host
