#include "server/log/Log.h"

#include <QDateTime>

#include <atomic>
#include <sys/stat.h>
#include <unistd.h>

namespace {

std::atomic<LogLevel> s_Lowest = LogLevel::Info;

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

/// A line break in a text must not look like a line of the server.
QByteArray OneLine(QString text)
{
    return text.replace(u'\r', u' ').replace(u'\n', u' ').toUtf8();
}

/// The variable alone says little: children of a service inherit it, wherever their own standard error goes.
bool IsJournalListening()
{
    struct stat status
    {
    };
    if (fstat(STDERR_FILENO, &status) != 0) return false;
    return qgetenv("JOURNAL_STREAM") ==
           QByteArray::number(quint64{status.st_dev}) + ':' + QByteArray::number(quint64{status.st_ino});
}

QByteArray Prefix(LogLevel level)
{
    static const bool toJournal = IsJournalListening();
    if (toJournal) return '<' + QByteArray::number(static_cast<int>(level)) + '>';
    return QDateTime::currentDateTime().toString(u"yyyy-MM-dd hh:mm:ss.zzz").toLatin1() + ' ' + NameOf(level) + ": ";
}

} // namespace

void SetLogLevel(LogLevel level)
{
    s_Lowest = level;
}

void Log(LogLevel level, const QString& text)
{
    if (level > s_Lowest) return;
    const QByteArray line = Prefix(level) + OneLine(text) + '\n';
    // One write, so that lines of several threads do not mix. Nobody can be told when it fails.
    [[maybe_unused]] const auto written = write(STDERR_FILENO, line.constData(), static_cast<std::size_t>(line.size()));
}
