#pragma once
// A PostgreSQL server of the test's own: initdb in a temporary folder, pg_ctl on a free
// loopback port, trust authentication, stopped and removed at the end.

#include <QString>
#include <QStringList>
#include <QTemporaryDir>

class PgServer
{
public:
    PgServer();
    ~PgServer();
    PgServer(PgServer const&) = delete;
    PgServer& operator=(PgServer const&) = delete;

    // False with why() when no server can run here.
    bool start();
    bool stop();
    bool restart(); // start() after stop(): the same folder and port
    QString why() const { return m_why; }
    int port() const { return m_port; }
    // A new database of the superuser's, and a login role without any right.
    bool createDatabase(QString const& name);
    bool createRole(QString const& name);
    // postgresql://USER@127.0.0.1:PORT/DB
    QString url(QString const& user, QString const& database) const;

private:
    bool run(QString const& program, QStringList const& arguments, bool asServerUser);

    QString m_bin;
    QTemporaryDir m_dir;
    QString m_data;
    int m_port = 0;
    bool m_running = false;
    QString m_why;
};
