#pragma once
// Lookups over widget trees.

#include <QList>
#include <QString>

class QObject;

namespace zelt::widget {

class WidgetHelper
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
