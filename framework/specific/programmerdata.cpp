#include "specific/programmerdata.h"

namespace zelt::specific::pxn3000s::programmer {

// Out of line, so that the vtable and the type information that dynamic_cast
// needs live in this library only.
ProgrammerData::~ProgrammerData() = default;

} // namespace zelt::specific::pxn3000s::programmer
