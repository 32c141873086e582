#pragma once

#include <QString>

enum class Stream
{
    Output,
    Error
};

/// From now on lines for standard error go to standard output, marked as velsqlscript --mark-errors says, so that
/// whoever reads them gets all lines in their order.
void MarkErrors();

/// Writes a line as UTF-8, at once, so that whoever reads a pipe sees it when it was printed. A reader that has gone
/// ends the process without a word, as SIGPIPE does.
void WriteLine(Stream stream, const QString& line);
