#pragma once
// The error codes that the instrument queues for :SYSTem:ERRor?, with their texts.

#include <QString>

namespace kvrsim {

class ScpiError
{
public:
    static constexpr int kNone = 0;
    static constexpr int kDataType = -104;
    static constexpr int kParameterNotAllowed = -108;
    static constexpr int kMissingParameter = -109;
    static constexpr int kUndefinedHeader = -113;
    static constexpr int kSettingsConflict = -221;
    static constexpr int kOutOfRange = -222;
    static constexpr int kQueueOverflow = -350;

    static QString text(int code);
    // The answer form: -222,"Data out of range".
    static QString answer(int code);
};

} // namespace kvrsim
