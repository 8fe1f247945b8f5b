#include "specific/floatdelegate.h"

#include "specific/itemroles.h"

#include <QComboBox>
#include <QDoubleSpinBox>

namespace zelt::specific::pxn3000s::programmer {

namespace {

// The editor's value as setEditorData left it, to tell an edit from a look.
char const* const kShownProperty = "zeltShownValue";

} // namespace

FloatDelegate::FloatDelegate(QObject* parent)
    : QStyledItemDelegate(parent)
{
}

QWidget* FloatDelegate::createEditor(QWidget* parent, QStyleOptionViewItem const& option,
                                     QModelIndex const& index) const
{
    int const type = index.data(Qt::EditRole).typeId();
    if (type == QMetaType::Bool) {
        auto* combo = new QComboBox(parent);
        combo->addItem(tr("Off"), false);
        combo->addItem(tr("On"), true);
        return combo;
    }
    if (type != QMetaType::Double)
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
    if (auto* combo = qobject_cast<QComboBox*>(editor)) {
        combo->setCurrentIndex(combo->findData(index.data(Qt::EditRole).toBool()));
    } else if (auto* box = qobject_cast<QDoubleSpinBox*>(editor)) {
        box->setValue(index.data(Qt::EditRole).toDouble());
        box->setProperty(kShownProperty, box->value());
    } else {
        QStyledItemDelegate::setEditorData(editor, index);
    }
}

void FloatDelegate::setModelData(QWidget* editor, QAbstractItemModel* model, QModelIndex const& index) const
{
    if (auto* combo = qobject_cast<QComboBox*>(editor)) {
        model->setData(index, combo->currentData().toBool(), Qt::EditRole);
    } else if (auto* box = qobject_cast<QDoubleSpinBox*>(editor)) {
        box->interpretText();
        QVariant const shown = box->property(kShownProperty);
        if (!shown.isValid() || shown.toDouble() != box->value())
            model->setData(index, box->value(), Qt::EditRole);
    } else {
        QStyledItemDelegate::setModelData(editor, model, index);
    }
}

} // namespace zelt::specific::pxn3000s::programmer
