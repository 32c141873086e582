#include "scripttool/velsqlscript/Output.h"

#include <QByteArray>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <poll.h>
#include <unistd.h>

namespace {

bool s_MarksErrors = false;

/// The connection to the server needs SIGPIPE to be ignored, so the signal is raised by hand.
[[noreturn]] void EndQuietly()
{
    signal(SIGPIPE, SIG_DFL);
    raise(SIGPIPE);
    std::_Exit(EXIT_FAILURE);
}

[[noreturn]] void EndWithoutOutput(int error)
{
    s_MarksErrors = false;
    WriteLine(Stream::Error, QStringLiteral("velsqlscript: the output cannot be written: %1")
                                 .arg(QString::fromLocal8Bit(std::strerror(error))));
    std::_Exit(EXIT_FAILURE);
}

/// Descriptors that are shared with other processes may be non-blocking.
void WaitUntilWritable(int descriptor)
{
    pollfd waiting{descriptor, POLLOUT, 0};
    poll(&waiting, 1, -1);
}

void WriteBytes(int descriptor, const QByteArray& bytes)
{
    for (qsizetype written = 0; written < bytes.size();) {
        const ssize_t count =
            write(descriptor, bytes.constData() + written, static_cast<size_t>(bytes.size() - written));
        if (count >= 0) written += count;
        else if (errno == EAGAIN) WaitUntilWritable(descriptor);
        else if (errno == EPIPE) EndQuietly();
        else if (errno != EINTR && descriptor == STDOUT_FILENO) EndWithoutOutput(errno);
        else if (errno != EINTR) return;
    }
}

} // namespace

void MarkErrors()
{
    s_MarksErrors = true;
}

void WriteOutput(const QByteArray& bytes)
{
    WriteBytes(STDOUT_FILENO, bytes);
}

void WriteLine(Stream stream, const QString& line)
{
    const bool isMarked = s_MarksErrors && stream == Stream::Error;
    // UTF-8 text never contains these bytes.
    WriteBytes(stream == Stream::Output || isMarked ? STDOUT_FILENO : STDERR_FILENO,
               isMarked ? '\xFE' + line.toUtf8() + "\n\xFF" : line.toUtf8() + '\n');
}
