#include "simulator/scpierror.h"

namespace kvrsim {

QString ScpiError::text(int code)
{
    switch (code) {
    case kNone:
        return QStringLiteral("No error");
    case kDataType:
        return QStringLiteral("Data type error");
    case kParameterNotAllowed:
        return QStringLiteral("Parameter not allowed");
    case kMissingParameter:
        return QStringLiteral("Missing parameter");
    case kUndefinedHeader:
        return QStringLiteral("Undefined header");
    case kSettingsConflict:
        return QStringLiteral("Settings conflict");
    case kOutOfRange:
        return QStringLiteral("Data out of range");
    case kQueueOverflow:
        return QStringLiteral("Queue overflow");
    default:
        return QStringLiteral("Error");
    }
}

QString ScpiError::answer(int code)
{
    return QStringLiteral("%1,\"%2\"").arg(code).arg(text(code));
}

} // namespace kvrsim
