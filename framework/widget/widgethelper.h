#pragma once
// Lookups over widget trees.

#include "widget/zelt_widget_export.h"

#include <QList>
#include <QString>

class QObject;

namespace zelt::widget {

class ZELT_WIDGET_EXPORT WidgetHelper
{
public:
    // The children of parent that inherit one of the classes named in classNames
    // (QObject::inherits, so "QAbstractSpinBox" matches a QDoubleSpinBox too), in
    // the order of a depth-first walk that follows the children's order. With
    // recursive, all descendants are searched, also below a child that doesn't
    // match; otherwise only the direct children. parent itself is never included.
    static QList<QObject*> getChildren(QObject* parent, QList<QString> const& classNames, bool recursive);
};

} // namespace zelt::widget
