#include "system/system.h"

#include <QApplication>
#include <QDesktopServices>
#include <QDir>
#include <QFileInfo>
#include <QMessageBox>
#include <QThread>
#include <QUrl>

namespace zelt::system {

namespace {

QString tr(char const* text)
{
    return QCoreApplication::translate("zelt::system::System", text);
}

void warn(QString const& text)
{
    // A console tool has no one to show a box to, and a box belongs to the GUI thread.
    auto const* app = qobject_cast<QApplication*>(QCoreApplication::instance());
    if (!app || QThread::currentThread() != app->thread())
        return;
    QMessageBox::warning(QApplication::activeWindow(), tr("Cannot Open File"), text);
}

} // namespace

bool System::openFile(QString const& path)
{
    if (path.isEmpty())
        return false;
    QFileInfo const info(path);
    QString const shown = QDir::toNativeSeparators(info.absoluteFilePath());
    if (!info.isFile()) {
        warn(tr("The file was not found:\n%1").arg(shown));
        return false;
    }
    if (QDesktopServices::openUrl(QUrl::fromLocalFile(info.absoluteFilePath())))
        return true;
    QString const type = info.suffix();
    warn(type.isEmpty() ? tr("No program is registered to open this file.\n%1").arg(shown)
                        : tr("No program is registered to open files of type \"%1\".\n%2").arg(type, shown));
    return false;
}

} // namespace zelt::system
