#pragma once
// Bridges to the desktop the application runs on.

#include "system/zelt_system_export.h"

#include <QString>

namespace zelt::system {

class ZELT_SYSTEM_EXPORT System
{
public:
    // Hands the file to the desktop's default application for its type. False
    // when the file doesn't exist or no application takes it; in a widget
    // application the user is then told why, in a warning over the active
    // window. An empty path is false without a word.
    static bool openFile(QString const& path);
};

} // namespace zelt::system
