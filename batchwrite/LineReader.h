#pragma once

#include "core/automation/Errors.h"

#include <QFile>
#include <QString>

#include <optional>

/// Reads a text file line by line and keeps only one line in memory. Lines end with CR LF or LF; the last one may lack
/// both. A line is UTF-8, else in the local 8-bit encoding, else (where that is UTF-8 too, or cannot decode it)
/// Latin-1, so that no byte is lost.
class LineReader
{
public:
    /// In bytes; longer lines are refused.
    static constexpr qsizetype LongestLine = 64 * 1024 * 1024;

    /// Throws DescribedError when the file does not exist or cannot be read. Anything but a plain file (a folder, a
    /// pipe, a device) is refused at once.
    explicit LineReader(const QString& path);

    /// The next line without its end; empty after the last. Throws DescribedError when reading fails: its text names
    /// the file until a line has been read, and the line from then on.
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
    /// Number of the line being read or read last, from 1.
    qint64 m_Number = 0;
};
