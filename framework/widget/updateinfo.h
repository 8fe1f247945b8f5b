#pragma once
// One released version of a plug-in, for the host's version history.

#include "widget/zelt_widget_export.h"

#include <QDate>
#include <QList>
#include <QString>

namespace zelt::widget {

struct ZELT_WIDGET_EXPORT UpdateInfo
{
    UpdateInfo() = default;
    UpdateInfo(QDate const& date, QString const& version, QList<QString> const& notes);

    QDate date;
    QString version;
    QList<QString> notes;

    friend bool operator==(UpdateInfo const& a, UpdateInfo const& b)
    {
        return a.date == b.date && a.version == b.version && a.notes == b.notes;
    }
    friend bool operator!=(UpdateInfo const& a, UpdateInfo const& b) { return !(a == b); }
};

} // namespace zelt::widget
