#include "scripttool/OutputPipe.h"

#include "core/automation/Errors.h"

#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

OutputPipe::OutputPipe()
{
    if (pipe2(m_Ends, O_CLOEXEC) != 0) throw DescribedError(qt_error_string(errno));
    fcntl(ReadingEnd(), F_SETFL, O_NONBLOCK); // the writing end blocks
}

OutputPipe::~OutputPipe()
{
    CloseWritingEnd();
    close(ReadingEnd());
}

void OutputPipe::CloseWritingEnd()
{
    if (m_Ends[1] >= 0) close(m_Ends[1]);
    m_Ends[1] = -1;
}

QByteArray OutputPipe::Read(qsizetype bytes)
{
    QByteArray text(bytes, Qt::Uninitialized);
    qsizetype length = 0;
    // A writer of short lines fills the pipe in small pieces.
    while (length < bytes) {
        const ssize_t part = read(ReadingEnd(), text.data() + length, static_cast<size_t>(bytes - length));
        if (part < 0 && errno == EINTR) continue;
        if (part == 0 || (part < 0 && errno != EAGAIN)) m_AtEnd = true;
        if (part <= 0) break;
        length += part;
    }
    text.truncate(length);
    return text;
}
