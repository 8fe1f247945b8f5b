#include "measure/io/visa/messagelink.h"

namespace zelt::measure::io::visa {

MessageLink::~MessageLink() = default;

} // namespace zelt::measure::io::visa
