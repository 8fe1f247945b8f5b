#pragma once
// One entry of the command queue: a code and how long the queue waits for its answer.

#include "util/code.h"
#include "util/zelt_util_export.h"

#include <QSharedPointer>

namespace zelt::util {

class ZELT_UTIL_EXPORT Word
{
public:
    // time: milliseconds to wait for the response; 0 awaits none.
    Word(QSharedPointer<Code> code, int time);

    QSharedPointer<Code> const& code() const { return m_code; }
    int time() const { return m_time; }
    bool needResponse() const { return m_time > 0; }

private:
    QSharedPointer<Code> m_code;
    int m_time = 0;
};

} // namespace zelt::util
