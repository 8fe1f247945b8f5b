#pragma once
// A read-only table of delayer rows (output state, time). The state shows as "On" or "Off" and
// is a bool in the edit role; the time shows Helper's decimals.

#include "specific/programmerdata.h"
#include "specific/rowtablemodel.h"
#include "specific/zelt_specific_export.h"

namespace zelt::specific::pxn3000s::programmer {

class ZELT_SPECIFIC_EXPORT DelayerTemplateModel : public RowTableModel<DelayerData>
{
    Q_OBJECT
public:
    enum Column { StateColumn, TimeColumn, ColumnCount };

    explicit DelayerTemplateModel(QList<DelayerData>& rows, QObject* parent = nullptr);

protected:
    QVariant cellData(DelayerData const& row, int column, int role) const override;
};

} // namespace zelt::specific::pxn3000s::programmer
