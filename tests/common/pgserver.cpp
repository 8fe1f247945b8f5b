#include "tests/common/pgserver.h"

#include <QDir>
#include <QFileInfo>
#include <QProcess>
#include <QStandardPaths>
#include <QTcpServer>

#include <pwd.h>
#include <unistd.h>

namespace {

QString findBin()
{
    QProcess config;
    config.start(QStringLiteral("pg_config"), {QStringLiteral("--bindir")});
    if (config.waitForFinished(5000) && config.exitCode() == 0) {
        QString const dir = QString::fromLocal8Bit(config.readAllStandardOutput()).trimmed();
        if (QFileInfo::exists(dir + QStringLiteral("/pg_ctl")))
            return dir;
    }
    QStringList versions
        = QDir(QStringLiteral("/usr/lib/postgresql")).entryList(QDir::Dirs | QDir::NoDotAndDotDot);
    std::sort(versions.begin(), versions.end(),
              [](QString const& a, QString const& b) { return a.toInt() > b.toInt(); });
    for (QString const& version : versions) {
        QString const dir = QStringLiteral("/usr/lib/postgresql/%1/bin").arg(version);
        if (QFileInfo::exists(dir + QStringLiteral("/pg_ctl")))
            return dir;
    }
    return {};
}

} // namespace

PgServer::PgServer()
    : m_bin(findBin())
    , m_dir(QDir::tempPath() + QStringLiteral("/zelt-pg-XXXXXX"))
{
}

PgServer::~PgServer()
{
    stop();
}

bool PgServer::run(QString const& program, QStringList const& arguments, bool asServerUser)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    QString const path = m_bin + u'/' + program;
    // The server refuses to run as root: it runs as the postgres user then.
    if (asServerUser && ::geteuid() == 0)
        process.start(
            QStringLiteral("runuser"),
            QStringList {QStringLiteral("-u"), QStringLiteral("postgres"), QStringLiteral("--"), path}
                + arguments);
    else
        process.start(path, arguments);
    if (!process.waitForFinished(60000) || process.exitStatus() != QProcess::NormalExit
        || process.exitCode() != 0) {
        m_why = QStringLiteral("%1 failed: %2")
                    .arg(program, QString::fromLocal8Bit(process.readAll()).trimmed());
        return false;
    }
    return true;
}

bool PgServer::start()
{
    if (m_bin.isEmpty()) {
        m_why = QStringLiteral("no PostgreSQL server programs (pg_config, /usr/lib/postgresql/*/bin)");
        return false;
    }
    if (!m_dir.isValid()) {
        m_why = QStringLiteral("no temporary folder");
        return false;
    }
    if (::geteuid() == 0) {
        passwd const* user = ::getpwnam("postgres");
        if (!user || ::chown(qPrintable(m_dir.path()), user->pw_uid, user->pw_gid) != 0) {
            m_why = QStringLiteral("running as root without a postgres user to run the server");
            return false;
        }
    }
    m_data = m_dir.filePath(QStringLiteral("data"));
    QTcpServer probe;
    if (!probe.listen(QHostAddress::LocalHost, 0)) {
        m_why = QStringLiteral("no free loopback port");
        return false;
    }
    m_port = probe.serverPort();
    probe.close();
    if (!run(QStringLiteral("initdb"),
             {QStringLiteral("-D"), m_data, QStringLiteral("-U"), QStringLiteral("postgres"),
              QStringLiteral("-A"), QStringLiteral("trust"), QStringLiteral("--no-sync"),
              QStringLiteral("-E"), QStringLiteral("UTF8")},
             true))
        return false;
    return restart();
}

bool PgServer::restart()
{
    QString const options = QStringLiteral("-p %1 -k %2 -c listen_addresses=127.0.0.1 -c fsync=off")
                                .arg(m_port)
                                .arg(m_dir.path());
    m_running = run(QStringLiteral("pg_ctl"),
                    {QStringLiteral("-D"), m_data, QStringLiteral("-o"), options, QStringLiteral("-l"),
                     m_dir.filePath(QStringLiteral("log")), QStringLiteral("-w"), QStringLiteral("start")},
                    true);
    return m_running;
}

bool PgServer::stop()
{
    if (!m_running)
        return true;
    m_running = !run(QStringLiteral("pg_ctl"),
                     {QStringLiteral("-D"), m_data, QStringLiteral("-m"), QStringLiteral("fast"),
                      QStringLiteral("-w"), QStringLiteral("stop")},
                     true);
    return !m_running;
}

bool PgServer::createDatabase(QString const& name)
{
    return run(QStringLiteral("createdb"),
               {QStringLiteral("-h"), QStringLiteral("127.0.0.1"), QStringLiteral("-p"),
                QString::number(m_port), QStringLiteral("-U"), QStringLiteral("postgres"), name},
               false);
}

bool PgServer::createRole(QString const& name)
{
    return run(QStringLiteral("createuser"),
               {QStringLiteral("-h"), QStringLiteral("127.0.0.1"), QStringLiteral("-p"),
                QString::number(m_port), QStringLiteral("-U"), QStringLiteral("postgres"), name},
               false);
}

QString PgServer::url(QString const& user, QString const& database) const
{
    return QStringLiteral("postgresql://%1@127.0.0.1:%2/%3").arg(user).arg(m_port).arg(database);
}
