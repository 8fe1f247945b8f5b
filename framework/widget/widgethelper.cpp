#include "widget/widgethelper.h"

#include <QObject>

namespace zelt::widget {

namespace {

void collect(QObject* parent, QList<QString> const& classNames, bool recursive, QList<QObject*>& found)
{
    for (QObject* child : parent->children()) {
        for (QString const& name : classNames) {
            if (child->inherits(name.toLatin1().constData())) {
                found.append(child);
                break;
            }
        }
        if (recursive)
            collect(child, classNames, recursive, found);
    }
}

} // namespace

QList<QObject*> WidgetHelper::getChildren(QObject* parent, QList<QString> const& classNames, bool recursive)
{
    QList<QObject*> found;
    if (parent)
        collect(parent, classNames, recursive, found);
    return found;
}

} // namespace zelt::widget
