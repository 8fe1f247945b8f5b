#include "measure/io/visa/messagesession.h"

namespace zelt::measure::io::visa {

MessageSession::~MessageSession() = default;

} // namespace zelt::measure::io::visa
