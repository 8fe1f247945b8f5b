#include "widget/updateinfo.h"

namespace zelt::widget {

UpdateInfo::UpdateInfo(QDate const& date, QString const& version, QList<QString> const& notes)
    : date(date)
    , version(version)
    , notes(notes)
{
}

} // namespace zelt::widget
