#include "specific/comboboxdelegate.h"

#include <QComboBox>

namespace zelt::specific::pxn3000s::programmer {

ComboBoxDelegate::ComboBoxDelegate(QObject* parent)
    : FloatDelegate(parent)
{
}

QWidget* ComboBoxDelegate::createEditor(QWidget* parent, QStyleOptionViewItem const& option,
                                        QModelIndex const& index) const
{
    if (index.data(Qt::EditRole).typeId() != QMetaType::Bool)
        return FloatDelegate::createEditor(parent, option, index);
    auto* combo = new QComboBox(parent);
    combo->addItem(tr("Off"), false);
    combo->addItem(tr("On"), true);
    return combo;
}

void ComboBoxDelegate::setEditorData(QWidget* editor, QModelIndex const& index) const
{
    if (auto* combo = qobject_cast<QComboBox*>(editor))
        combo->setCurrentIndex(combo->findData(index.data(Qt::EditRole).toBool()));
    else
        FloatDelegate::setEditorData(editor, index);
}

void ComboBoxDelegate::setModelData(QWidget* editor, QAbstractItemModel* model,
                                    QModelIndex const& index) const
{
    if (auto* combo = qobject_cast<QComboBox*>(editor))
        model->setData(index, combo->currentData().toBool(), Qt::EditRole);
    else
        FloatDelegate::setModelData(editor, model, index);
}

} // namespace zelt::specific::pxn3000s::programmer
