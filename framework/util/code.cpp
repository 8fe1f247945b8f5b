#include "util/code.h"

#include <utility>

namespace zelt::util {

Code::~Code() = default;

StringCode::StringCode(QString text)
    : m_text(std::move(text))
{
    qsizetype end = m_text.size();
    while (end > 0 && m_text.at(end - 1).isSpace())
        --end;
    m_frame = QStringView(m_text).left(end).toUtf8();
    m_frame.append('\n');
}

} // namespace zelt::util
