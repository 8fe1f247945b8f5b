#include "system/system.h"

#include <QDesktopServices>
#include <QFileInfo>
#include <QUrl>

namespace zelt::system {

bool System::openFile(QString const& path)
{
    QFileInfo const info(path);
    if (path.isEmpty() || !info.isFile())
        return false;
    return QDesktopServices::openUrl(QUrl::fromLocalFile(info.absoluteFilePath()));
}

} // namespace zelt::system
