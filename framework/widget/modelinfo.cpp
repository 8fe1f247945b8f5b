#include "widget/modelinfo.h"

namespace zelt::widget {

int ModelInfo::indexOfModel(QString const& model) const
{
    for (int i = 0; i < viewInfos.size(); ++i) {
        if (viewInfos.at(i).model == model)
            return i;
    }
    return -1;
}

QString ModelInfo::latestVersion() const
{
    return updateInfos.isEmpty() ? QString() : updateInfos.constLast().version;
}

} // namespace zelt::widget
