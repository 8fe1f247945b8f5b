#pragma once
// Edits the cells of the programmer's tables by what they hold: a number in a spin box with
// the decimals and bounds that the model gives (DecimalsRole, MinimumRole, MaximumRole), an
// output state in a combo box of "Off" and "On". A number the user did not change is not
// written back, so a cell keeps its full value although the editor shows it rounded.

#include "specific/zelt_specific_export.h"

#include <QStyledItemDelegate>

namespace zelt::specific::pxn3000s::programmer {

class ZELT_SPECIFIC_EXPORT FloatDelegate : public QStyledItemDelegate
{
    Q_OBJECT
public:
    explicit FloatDelegate(QObject* parent = nullptr);

    QWidget* createEditor(QWidget* parent, QStyleOptionViewItem const& option,
                          QModelIndex const& index) const override;
    void setEditorData(QWidget* editor, QModelIndex const& index) const override;
    void setModelData(QWidget* editor, QAbstractItemModel* model, QModelIndex const& index) const override;
};

} // namespace zelt::specific::pxn3000s::programmer
