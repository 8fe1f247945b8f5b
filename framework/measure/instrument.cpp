#include "measure/instrument.h"

namespace zelt::measure {

Instrument::Instrument(QObject* parent)
    : QObject(parent)
{
}

Instrument::~Instrument() = default;

} // namespace zelt::measure
