#pragma once
// Edits the delayer table: the output state in a combo box of "Off" and "On",
// the numbers as FloatDelegate does.

#include "specific/floatdelegate.h"

namespace zelt::specific::pxn3000s::programmer {

class ComboBoxDelegate : public FloatDelegate
{
    Q_OBJECT
public:
    explicit ComboBoxDelegate(QObject* parent = nullptr);

    QWidget* createEditor(QWidget* parent, QStyleOptionViewItem const& option,
                          QModelIndex const& index) const override;
    void setEditorData(QWidget* editor, QModelIndex const& index) const override;
    void setModelData(QWidget* editor, QAbstractItemModel* model, QModelIndex const& index) const override;
};

} // namespace zelt::specific::pxn3000s::programmer
