#pragma once
// Registers the programmer's types with Qt's meta-type system under the names
// that stored settings and signal signatures use, so that the template lists
// pass through QVariant and QSettings and the rows travel in signals.

#include "specific/zelt_specific_export.h"

namespace zelt::specific::pxn3000s::programmer {

// Runs when the library loads; idempotent. Registers the template lists as
// "QVector<programmer::ListTemplateParam>" and
// "QVector<programmer::DelayerTemplateParam>" with their stream operators, the
// conversions to sequential iterables and their mutable views; and
// "programmer::ProgrammerData", "QList<programmer::ListData>",
// "QList<programmer::ListData>&", "QList<programmer::DelayerData>",
// "QList<programmer::DelayerData>&" and "UploadParam".
ZELT_SPECIFIC_EXPORT void registerMetaTypes();

} // namespace zelt::specific::pxn3000s::programmer
