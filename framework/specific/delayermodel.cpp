#include "specific/delayermodel.h"

#include "specific/helper.h"

namespace zelt::specific::pxn3000s::programmer {

DelayerModel::DelayerModel(QList<DelayerData>& rows, QObject* parent)
    : EditableRowsModel(rows, parent)
{
}

DelayerData DelayerModel::freshRow() const
{
    return DelayerData(true, Helper::getInstance().rowTimeRange().min);
}

bool DelayerModel::storeCell(DelayerData& row, QModelIndex const& index, QVariant const& value)
{
    if (index.column() == TimeColumn) {
        double v = 0.0;
        if (!boundedNumber(index, value, v))
            return false;
        row.time = v;
        return true;
    }
    if (value.typeId() == QMetaType::QString) {
        QString const text = value.toString();
        if (text != tr("On") && text != tr("Off"))
            return false;
        row.state = text == tr("On");
        return true;
    }
    if (!value.canConvert<bool>())
        return false;
    row.state = value.toBool();
    return true;
}

} // namespace zelt::specific::pxn3000s::programmer
