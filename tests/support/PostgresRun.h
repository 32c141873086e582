#pragma once

#include <QProcess>
#include <QTemporaryDir>

/// A PostgreSQL server of the test's own, reached over a socket in a private folder only.
class PostgresRun
{
public:
    /// Makes the cluster and starts it. IsRunning says whether that went well, Problem why not.
    PostgresRun();
    ~PostgresRun() { Stop(); }

    bool IsRunning() const { return m_Problem.isEmpty(); }
    QString Problem() const { return m_Problem; }
    /// `user` is the database's superuser, or one that the test has made.
    QString ConnectionString(const QString& user = QStringLiteral("test")) const;

    void Start();
    void Stop();

private:
    /// PostgreSQL refuses to run as root: then as the user that its package made.
    void Run(QProcess& process, const QString& command) const;

    QTemporaryDir m_Folder;
    QString m_Programs;
    QProcess m_Server;
    QString m_Problem;
};
