#pragma once
// Bridges to the desktop the application runs on.

#include <QString>

namespace zelt::system {

class System
{
public:
    // Hands the file to the desktop's default application for its type. False,
    // doing nothing, when the file doesn't exist or no application takes it.
    static bool openFile(QString const& path);
};

} // namespace zelt::system
