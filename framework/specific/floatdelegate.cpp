#include "specific/floatdelegate.h"

#include "specific/itemroles.h"

#include <QDoubleSpinBox>

namespace zelt::specific::pxn3000s::programmer {

namespace {

// The editor's value as setEditorData left it, to tell an edit from a look.
char const* const kShownProperty = "zeltShownValue";

bool isNumber(QModelIndex const& index)
{
    return index.data(Qt::EditRole).typeId() == QMetaType::Double;
}

} // namespace

FloatDelegate::FloatDelegate(QObject* parent)
    : QStyledItemDelegate(parent)
{
}

QWidget* FloatDelegate::createEditor(QWidget* parent, QStyleOptionViewItem const& option,
                                     QModelIndex const& index) const
{
    if (!isNumber(index))
        return QStyledItemDelegate::createEditor(parent, option, index);
    auto* box = new QDoubleSpinBox(parent);
    box->setFrame(false);
    box->setAlignment(Qt::AlignCenter);
    QVariant const decimals = index.data(DecimalsRole);
    box->setDecimals(decimals.isValid() ? decimals.toInt() : 3);
    QVariant const lo = index.data(MinimumRole), hi = index.data(MaximumRole);
    box->setRange(lo.isValid() ? lo.toDouble() : 0.0, hi.isValid() ? hi.toDouble() : 1e9);
    return box;
}

void FloatDelegate::setEditorData(QWidget* editor, QModelIndex const& index) const
{
    auto* box = qobject_cast<QDoubleSpinBox*>(editor);
    if (!box) {
        QStyledItemDelegate::setEditorData(editor, index);
        return;
    }
    box->setValue(index.data(Qt::EditRole).toDouble());
    box->setProperty(kShownProperty, box->value());
}

void FloatDelegate::setModelData(QWidget* editor, QAbstractItemModel* model, QModelIndex const& index) const
{
    auto* box = qobject_cast<QDoubleSpinBox*>(editor);
    if (!box) {
        QStyledItemDelegate::setModelData(editor, model, index);
        return;
    }
    box->interpretText();
    QVariant const shown = box->property(kShownProperty);
    if (shown.isValid() && shown.toDouble() == box->value())
        return;
    model->setData(index, box->value(), Qt::EditRole);
}

} // namespace zelt::specific::pxn3000s::programmer
