#pragma once
// The delayer table's delegate: FloatDelegate's editors, the output state among them, under
// the name that table knows them by.

#include "specific/floatdelegate.h"
#include "specific/zelt_specific_export.h"

namespace zelt::specific::pxn3000s::programmer {

class ZELT_SPECIFIC_EXPORT ComboBoxDelegate : public FloatDelegate
{
    Q_OBJECT
public:
    explicit ComboBoxDelegate(QObject* parent = nullptr)
        : FloatDelegate(parent)
    {
    }
};

} // namespace zelt::specific::pxn3000s::programmer
