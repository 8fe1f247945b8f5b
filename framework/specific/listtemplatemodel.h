#pragma once
// A read-only table of list rows (voltage, current, time). Texts show Helper's decimals, the
// edit role the full value.

#include "specific/programmerdata.h"
#include "specific/rowtablemodel.h"
#include "specific/zelt_specific_export.h"

namespace zelt::specific::pxn3000s::programmer {

class ZELT_SPECIFIC_EXPORT ListTemplateModel : public RowTableModel<ListData>
{
    Q_OBJECT
public:
    enum Column { VoltageColumn, CurrentColumn, TimeColumn, ColumnCount };

    explicit ListTemplateModel(QList<ListData>& rows, QObject* parent = nullptr);

protected:
    QVariant cellData(ListData const& row, int column, int role) const override;
};

} // namespace zelt::specific::pxn3000s::programmer
