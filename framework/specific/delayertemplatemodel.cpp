#include "specific/delayertemplatemodel.h"

#include "specific/helper.h"

namespace zelt::specific::pxn3000s::programmer {

DelayerTemplateModel::DelayerTemplateModel(QList<DelayerData>& rows, QObject* parent)
    : RowTableModel(rows, {tr("State"), tr("Time(s)")}, parent)
{
}

QVariant DelayerTemplateModel::cellData(DelayerData const& row, int column, int role) const
{
    if (column == StateColumn) {
        if (role == Qt::DisplayRole)
            return row.state ? tr("On") : tr("Off");
        return role == Qt::EditRole ? QVariant(row.state) : QVariant();
    }
    Helper const& h = Helper::getInstance();
    return numberData(row.time, h.timeDecimals, h.rowTimeRange(), role);
}

} // namespace zelt::specific::pxn3000s::programmer
