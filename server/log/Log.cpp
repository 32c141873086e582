#include "server/log/Log.h"

#include "core/automation/Errors.h"
#include "server/log/LogFile.h"

#include <QDateTime>

#include <atomic>
#include <fcntl.h>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>

namespace {

std::atomic<LogLevel> s_Lowest = LogLevel::Info;
/// There is a log file, or should be one. Set, like the file, before there are threads.
bool s_HasFile = false;
std::unique_ptr<LogFile> s_File;
std::atomic<bool> s_IsStandardErrorRead = true;

const char* NameOf(LogLevel level)
{
    switch (level) {
    case LogLevel::Error: return "error";
    case LogLevel::Warning: return "warning";
    case LogLevel::Info: return "info";
    case LogLevel::Debug: return "debug";
    }
    return "";
}

/// A line break in a text must not look like a new log line.
QByteArray OneLine(QString text)
{
    return text.replace(u'\r', u' ').replace(u'\n', u' ').toUtf8();
}

/// The variable alone is not enough: children of a service inherit it, wherever their own standard error goes.
bool IsJournalListening()
{
    struct stat status
    {
    };
    if (fstat(STDERR_FILENO, &status) != 0) return false;
    return qgetenv("JOURNAL_STREAM") ==
           QByteArray::number(quint64{status.st_dev}) + ':' + QByteArray::number(quint64{status.st_ino});
}

QByteArray JournalPrefix(LogLevel level)
{
    return '<' + QByteArray::number(static_cast<int>(level)) + '>';
}

QByteArray FilePrefix(LogLevel level)
{
    return QDateTime::currentDateTime().toString(u"yyyy-MM-dd hh:mm:ss.zzz").toLatin1() + ' ' + NameOf(level) + ": ";
}

/// One write, so that lines of several threads do not mix. Failures cannot be reported anywhere.
void WriteToStandardError(const QByteArray& bytes)
{
    [[maybe_unused]] const auto written =
        write(STDERR_FILENO, bytes.constData(), static_cast<std::size_t>(bytes.size()));
}

} // namespace

void SetLogLevel(LogLevel level)
{
    s_Lowest = level;
}

void LogToFile(const QString& path)
{
    s_HasFile = true;
    try {
        s_File = std::make_unique<LogFile>(path);
    } catch (const DescribedError& error) {
        Log(LogLevel::Warning, error.Description());
    }
}

void LeaveStandardError()
{
    if (!s_HasFile) return;
    s_IsStandardErrorRead = false;
    if (s_File) return s_File->TakeStandardError();
    const int nothing = open("/dev/null", O_WRONLY | O_CLOEXEC);
    dup2(nothing, STDERR_FILENO);
    close(nothing);
}

void LogMistakes(const QString& lines)
{
    WriteToStandardError(lines.toUtf8() + '\n');
    if (!s_File) return;
    for (const QString& line : lines.split(u'\n')) s_File->Write(FilePrefix(LogLevel::Error) + line.toUtf8() + '\n');
}

void Log(LogLevel level, const QString& text)
{
    if (level > s_Lowest) return;
    static const bool toJournal = IsJournalListening();
    const QByteArray line = OneLine(text) + '\n';
    if (s_File) s_File->Write(FilePrefix(level) + line);
    if (s_IsStandardErrorRead) WriteToStandardError((toJournal ? JournalPrefix(level) : FilePrefix(level)) + line);
}
