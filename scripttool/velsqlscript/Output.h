#pragma once

#include <QString>

enum class Stream
{
    Output,
    Error
};

/// Writes a line as UTF-8, at once, so that whoever reads a pipe sees it when it was printed. A reader that has gone ends the
/// process without a word, as SIGPIPE does.
void WriteLine(Stream stream, const QString& line);
