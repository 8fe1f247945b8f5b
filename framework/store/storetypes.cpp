#include "store/storetypes.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QStandardPaths>
#include <QUrl>

namespace zelt::store {

bool StoreTarget::parse(QString const& text, StoreTarget* target, QString* error)
{
    auto fail = [error](QString const& reason) {
        if (error)
            *error = reason;
        return false;
    };
    StoreTarget result;
    QString const trimmed = text.trimmed();
    if (trimmed.isEmpty()) {
        result.path = defaultPath();
    } else if (trimmed.startsWith(QLatin1String("postgresql://"))
               || trimmed.startsWith(QLatin1String("postgres://"))) {
        QUrl const url(trimmed, QUrl::StrictMode);
        QString const database = url.path().mid(1);
        if (!url.isValid() || url.host().isEmpty() || url.userName().isEmpty() || database.isEmpty()
            || database.contains(u'/'))
            return fail(QCoreApplication::translate("zelt::store::StoreTarget",
                                                    "%1 is not of the form postgresql://USER@HOST[:PORT]/DB.")
                            .arg(trimmed));
        if (!url.password().isEmpty())
            return fail(QCoreApplication::translate("zelt::store::StoreTarget",
                                                    "Keep the password out of the store URL; "
                                                    "put it in ~/.pgpass."));
        result.kind = Kind::Postgres;
        result.user = url.userName();
        result.host = url.host();
        result.port = url.port(5432);
        result.database = database;
        result.url = trimmed;
        // One spool per lab store, so that two stores never forward each other's rows.
        QString const key
            = QStringLiteral("%1@%2:%3/%4").arg(result.user, result.host).arg(result.port).arg(database);
        result.path = QDir(QFileInfo(defaultPath()).absolutePath())
                          .filePath(QStringLiteral("spool-%1.sqlite").arg(QString::number(qHash(key), 16)));
    } else if (trimmed.startsWith(QLatin1String("sqlite://"))) {
        result.path = QUrl(trimmed).path();
        result.url = trimmed;
    } else if (trimmed.contains(QLatin1String("://"))) {
        return fail(QCoreApplication::translate("zelt::store::StoreTarget",
                                                "%1: only postgresql:// and sqlite:// stores are known.")
                        .arg(trimmed));
    } else {
        result.path = QFileInfo(trimmed).absoluteFilePath();
        result.url = trimmed;
    }
    if (result.path.isEmpty())
        return fail(
            QCoreApplication::translate("zelt::store::StoreTarget", "%1 names no file.").arg(trimmed));
    if (target)
        *target = result;
    return true;
}

QString StoreTarget::defaultPath()
{
    return QDir(QStandardPaths::writableLocation(QStandardPaths::AppDataLocation))
        .filePath(QStringLiteral("sessions.sqlite"));
}

QString StoreTarget::describe() const
{
    if (kind == Kind::Postgres)
        return QStringLiteral("postgresql://%1@%2:%3/%4").arg(user, host).arg(port).arg(database);
    return QDir::toNativeSeparators(path);
}

} // namespace zelt::store
