#pragma once

#include "tests/server/Outcome.h"
#include "tests/support/RealServer.h"

#include <QRegularExpression>
#include <QTemporaryFile>

#include <gtest/gtest.h>

#include <functional>

inline void WriteFile(const QString& path, const QByteArray& bytes)
{
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(bytes);
}

inline QString ContentOf(const QString& path)
{
    QFile file(path);
    EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << path.toStdString();
    return QString::fromUtf8(file.readAll());
}

/// The lines of a server's log without their times.
inline QStringList LinesOf(const QString& log)
{
    static const QRegularExpression time(u"^\\d{4}-\\d\\d-\\d\\d [\\d:.]{12} "_s);
    return log.split(u'\n', Qt::SkipEmptyParts).replaceInStrings(time, QString());
}

/// A running server whose log is kept in a file, and which may be started under limits of its own.
class ServerRun : public RealServer
{
public:
    explicit ServerRun(const QStringList& arguments = {}, const std::function<void()>& inChild = {})
    {
        EXPECT_TRUE(m_Log.open());
        Process().setProcessChannelMode(QProcess::SeparateChannels);
        Process().setStandardErrorFile(m_Log.fileName());
        if (inChild) Process().setChildProcessModifier(inChild);
        Start(arguments);
    }

    bool HasEnded() { return Process().waitForFinished(0) || Process().state() == QProcess::NotRunning; }
    /// What it has written until now.
    QStringList Log() const { return LinesOf(ContentOf(m_Log.fileName())); }

private:
    QTemporaryFile m_Log;
};

/// How a server ends that cannot start: its exit code, then the lines of its log.
inline QStringList EndOfServer(const QStringList& arguments)
{
    QProcess process;
    process.start(RealServer::Program(), arguments);
    process.waitForFinished();
    return QStringList(QString::number(process.exitCode())) +
           LinesOf(QString::fromUtf8(process.readAllStandardError()));
}
