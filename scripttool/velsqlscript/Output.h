#pragma once

#include <QString>

enum class Stream
{
    Output,
    Error
};

/// From now on lines for standard error go to standard output, marked as for velsqlscript --mark-errors, so that the
/// reader gets all lines in order.
void MarkErrors();

/// Writes bytes to standard output at once, unbuffered; ends the process as WriteLine does.
void WriteOutput(const QByteArray& bytes);

/// Writes a line as UTF-8 at once, unbuffered. When the reader of a pipe has gone, the process ends silently, as with
/// SIGPIPE.
void WriteLine(Stream stream, const QString& line);
