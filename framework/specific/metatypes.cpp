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

// QSettings parses and rewrites whole files; a stored template list whose type is not yet
// known when that happens is lost. So the types are there as soon as the library is.
Q_CONSTRUCTOR_FUNCTION(registerMetaTypes)

} // namespace zelt::specific::pxn3000s::programmer
