#include "util/word.h"

#include <utility>

namespace zelt::util {

Word::Word(QSharedPointer<Code> code, int time)
    : m_code(std::move(code))
    , m_time(time)
{
}

} // namespace zelt::util
