#include "specific/metatypes.h"

#include "specific/programmerdata.h"
#include "specific/templateparams.h"
#include "specific/uploadparam.h"

#include <QMetaType>

namespace zelt::specific::pxn3000s::programmer {

void registerMetaTypes()
{
    // Qt normalises "QVector<" to "QList<", so the first two names are stored
    // as "QList<programmer::...>" aliases; both spellings resolve.
    qRegisterMetaType<QList<ListTemplateParam>>("QVector<programmer::ListTemplateParam>");
    qRegisterMetaType<QList<DelayerTemplateParam>>("QVector<programmer::DelayerTemplateParam>");
    qRegisterMetaType<ProgrammerData>("programmer::ProgrammerData");
    qRegisterMetaType<QList<ListData>>("QList<programmer::ListData>");
    qRegisterMetaType<QList<ListData>>("QList<programmer::ListData>&");
    qRegisterMetaType<QList<DelayerData>>("QList<programmer::DelayerData>");
    qRegisterMetaType<QList<DelayerData>>("QList<programmer::DelayerData>&");
    qRegisterMetaType<UploadParam>("UploadParam");
}

} // namespace zelt::specific::pxn3000s::programmer
