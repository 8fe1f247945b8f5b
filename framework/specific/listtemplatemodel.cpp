#include "specific/listtemplatemodel.h"

#include "specific/helper.h"

namespace zelt::specific::pxn3000s::programmer {

ListTemplateModel::ListTemplateModel(QList<ListData>& rows, QObject* parent)
    : RowTableModel(rows, {tr("Voltage(V)"), tr("Current(A)"), tr("Time(s)")}, parent)
{
}

QVariant ListTemplateModel::cellData(ListData const& row, int column, int role) const
{
    Helper const& h = Helper::getInstance();
    switch (column) {
    case VoltageColumn:
        return numberData(row.voltage, h.voltageDecimals, getVRangeOfChannel(h.channel), role);
    case CurrentColumn:
        return numberData(row.current, h.currentDecimals, getCRangeOfChannel(h.channel), role);
    default:
        return numberData(row.time, h.timeDecimals, h.rowTimeRange(), role);
    }
}

} // namespace zelt::specific::pxn3000s::programmer
