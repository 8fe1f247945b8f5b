#pragma once
// What a queue word carries: a polymorphic payload, and the bytes that go on the wire for it.

#include "util/zelt_util_export.h"

#include <QByteArray>
#include <QString>

namespace zelt::util {

class ZELT_UTIL_EXPORT Code
{
public:
    virtual ~Code();

    // The bytes that the queue writes for this code, terminator included.
    virtual QByteArray const& frame() const = 0;

protected:
    Code() = default;
    Code(Code const&) = default;
    Code& operator=(Code const&) = default;
};

// A text command. Its wire form is computed once, at construction, so that
// sending the same word again and again costs no conversion: the text without
// trailing white space, then a line feed. A template filled with an empty
// argument ("CMD %1" with "") therefore reaches the instrument as the bare command.
class ZELT_UTIL_EXPORT StringCode : public Code
{
public:
    explicit StringCode(QString text);

    QString const& data() const { return m_text; }
    QByteArray const& frame() const override { return m_frame; }

private:
    QString m_text;
    QByteArray m_frame;
};

} // namespace zelt::util
