#include "measure/io/abstractio.h"

namespace zelt::measure::io {

AbstractIO::AbstractIO(QObject* parent)
    : QObject(parent)
{
}

AbstractIO::~AbstractIO() = default;

} // namespace zelt::measure::io
