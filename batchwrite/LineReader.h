#pragma once

#include "core/automation/Errors.h"

#include <QFile>
#include <QString>

#include <optional>

/// Reads a text file line by line and keeps no more than a line in memory: lines end with CR LF or LF, the last one
/// perhaps with neither. A line is UTF-8, else in the local 8-bit encoding, else (where that is UTF-8 too, or does not
/// know it) Latin-1, so that no byte is lost.
class LineReader
{
public:
    /// Longer lines, in bytes, are refused.
    static constexpr qsizetype LongestLine = 64 * 1024 * 1024;

    /// Throws DescribedError when there is no such file or it cannot be read; anything but a plain file (a folder, a
    /// pipe, a device) is refused without waiting for it.
    explicit LineReader(const QString& path);

    /// The next line without its end; none after the last. Throws DescribedError when the file cannot be read on: its
    /// text names the file until a line has been read, and the line from then on.
    std::optional<QString> Next();
    /// "Invalid procedure call or argument: line 5, "abc", has no comma": describes a `fault` of the line read last and
    /// quotes the beginning of its `text`.
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
