#pragma once

#include "tests/support/RealServer.h"

#include <QTemporaryFile>

#include <functional>

/// A running server whose log is kept in a file, and which may be started under limits of its own.
class ServerRun : public RealServer
{
public:
    explicit ServerRun(const QStringList& arguments = {}, const std::function<void()>& inChild = {});

    bool HasEnded() { return Process().waitForFinished(0) || Process().state() == QProcess::NotRunning; }
    /// What it keeps in memory now, in MB.
    double MemoryMB() const;
    /// What it has written until now, line by line without the times.
    QStringList Log() const;

private:
    QTemporaryFile m_Log;
};

/// How a server ends that cannot start: its exit code, then the lines of its log.
QStringList EndOfServer(const QStringList& arguments);

void WriteFile(const QString& path, const QByteArray& bytes);
