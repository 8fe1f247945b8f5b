#pragma once
// The catalogue of an instrument family: what a plug-in tells the host about the
// models it drives and about its own versions.

#include "widget/equipmentviewinfo.h"
#include "widget/updateinfo.h"
#include "widget/zelt_widget_export.h"

#include <QList>
#include <QString>

namespace zelt::widget {

class ZELT_WIDGET_EXPORT ModelInfo
{
public:
    QString familyName;
    QList<EquipmentViewInfo> viewInfos; // one row per model, in display order
    QList<UpdateInfo> updateInfos; // version history, oldest first

    void setUpdateInfos(QList<UpdateInfo> const& infos) { updateInfos = infos; }

    // Position of the row whose model text equals model (case-sensitive), or -1.
    int indexOfModel(QString const& model) const;
    bool hasModel(QString const& model) const { return indexOfModel(model) >= 0; }
    // Version of the newest entry of the history, empty without history.
    QString latestVersion() const;

    friend bool operator==(ModelInfo const& a, ModelInfo const& b)
    {
        return a.familyName == b.familyName && a.viewInfos == b.viewInfos && a.updateInfos == b.updateInfos;
    }
    friend bool operator!=(ModelInfo const& a, ModelInfo const& b) { return !(a == b); }
};

} // namespace zelt::widget
