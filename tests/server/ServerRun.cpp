#include "tests/server/ServerRun.h"

#include <gtest/gtest.h>
#include <QRegularExpression>

using namespace Qt::StringLiterals;

namespace {

QStringList LinesOf(const QByteArray& log)
{
    static const QRegularExpression time(u"^\\d{4}-\\d\\d-\\d\\d [\\d:.]{12} "_s);
    return QString::fromUtf8(log).split(u'\n', Qt::SkipEmptyParts).replaceInStrings(time, QString());
}

QByteArray ContentOf(const QString& path)
{
    QFile file(path);
    EXPECT_TRUE(file.open(QIODevice::ReadOnly));
    return file.readAll();
}

} // namespace

ServerRun::ServerRun(const QStringList& arguments, const std::function<void()>& inChild)
{
    EXPECT_TRUE(m_Log.open());
    Process().setProcessChannelMode(QProcess::SeparateChannels);
    Process().setStandardErrorFile(m_Log.fileName());
    if (inChild) Process().setChildProcessModifier(inChild);
    Start(arguments);
}

double ServerRun::MemoryMB() const
{
    const QString status = QString::fromLatin1(ContentOf(u"/proc/%1/status"_s.arg(ProcessId())));
    return status.section(u"VmRSS:"_s, 1).trimmed().section(u' ', 0, 0).toDouble() / 1024.0;
}

QStringList ServerRun::Log() const
{
    return LinesOf(ContentOf(m_Log.fileName()));
}

QStringList EndOfServer(const QStringList& arguments)
{
    QProcess process;
    process.start(RealServer::Program(), arguments);
    process.waitForFinished();
    return QStringList(QString::number(process.exitCode())) + LinesOf(process.readAllStandardError());
}

void WriteFile(const QString& path, const QByteArray& bytes)
{
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(bytes);
}
