#pragma once
// The delayer table's delegate: FloatDelegate's editors, the output state among them, under
// the name that table knows them by.

#include "specific/floatdelegate.h"

namespace zelt::specific::pxn3000s::programmer {

class ComboBoxDelegate : public FloatDelegate
{
    Q_OBJECT
public:
    explicit ComboBoxDelegate(QObject* parent = nullptr)
        : FloatDelegate(parent)
    {
    }
};

} // namespace zelt::specific::pxn3000s::programmer
