#pragma once

#include "core/automation/Errors.h"

#include <QFile>
#include <QString>

#include <optional>

/// Reads a text file line by line in memory for one line: lines end with CR LF or LF, the last one also without. A line is UTF-8; one
/// that is not is taken for the local 8-bit encoding.
class LineReader
{
public:
    /// Longer lines, in bytes, are refused.
    static constexpr qsizetype LongestLine = 64 * 1024 * 1024;

    /// Throws DescribedError when there is no such file or it cannot be read; what is no plain file (a folder, a pipe, a device) is
    /// refused without waiting for it.
    explicit LineReader(const QString& path);

    /// The next line without its end; none behind the last. Throws DescribedError when the file cannot be read on: what says so names
    /// the file as long as nothing was read, and then the line.
    std::optional<QString> Next();
    /// "Invalid procedure call or argument: line 5, "abc", has no comma": the description of a `fault` of the line read last, of whose
    /// `text` the beginning is quoted.
    ValueError FaultOf(QStringView text, const QString& fault) const;

private:
    void Fill();
    std::optional<QString> TakeLine(qsizetype length, qsizetype end);
    ValueError FaultOfUnread(const QString& fault) const;

    QFile m_File;
    QByteArray m_Buffer;
    /// Where in the buffer the next line starts.
    qsizetype m_Position = 0;
    /// Of the line read last, or being read; from 1.
    qint64 m_Number = 0;
};
