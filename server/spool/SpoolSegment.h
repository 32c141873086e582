#pragma once

#include "server/spool/SpoolFrame.h"

#include <QFile>

#include <memory>

/// Values of one spool that follow each other.
struct SpoolBatch
{
    quint64 Spool = 0;
    quint64 First = 0; ///< sequence of the first value
    std::vector<RecordedValue> Values;

    /// The position once the first `count` values have been written.
    SpoolPosition After(std::size_t count) const { return {Spool, First + count - 1}; }
    SpoolPosition Last() const { return After(Values.size()); }
    /// Forgets the values up to a sequence.
    void SkipTo(quint64 sequence);
};

/// A file of frames, which grows at its end only.
class SpoolSegment
{
public:
    /// A new one, that begins with this sequence.
    SpoolSegment(const QString& folder, quint64 spool, quint64 first);
    /// One that is there. What a server that was killed has left half-written at its end does not count. Throws
    /// DescribedError.
    SpoolSegment(const QString& path, quint64 spool);

    QString Path() const { return m_File.fileName(); }
    quint64 Spool() const { return m_Spool; }
    bool IsDone(quint64 written) const { return m_Last <= written; }
    /// How many values are behind a sequence.
    quint64 CountBehind(quint64 done) const { return m_Last <= done ? 0 : std::min(m_Count, m_Last - done); }
    qint64 Bytes() const { return m_Bytes; }
    qint64 Begin() const { return m_Begin; }
    qint64 End() const { return m_End; }

    /// Adds a frame whole or not at all. Throws DescribedError. `waitsForDisk`: it then survives a power cut.
    void Append(const QByteArray& frame, bool waitsForDisk);
    /// Values that follow each other, the first of them behind `done`; `most` is exceeded by one frame at most. Empty
    /// when there are none behind it. Frames that are damaged are left out. Throws, DescribedError among others, when it
    /// cannot be read at present; then nothing has been read.
    SpoolBatch Read(quint64 done, std::size_t most);
    /// It will not grow any more.
    void Finish() { m_File.close(); }
    /// From the disk; when it was found damaged it is set aside beside the folder instead, and the log says so. Returns
    /// false when it cannot be removed: then it stays, and the log says why.
    bool Remove();

private:
    void Count(const FrameHeader& header);
    SpoolBatch ReadOn(quint64 done, std::size_t most);
    /// Returns false when the file is gone.
    bool Open();
    QByteArray BytesAt(qint64 at, qint64 count);
    /// Of the frame that is read next, behind damage; empty at the end.
    std::optional<FrameHeader> NextHeader();
    void NoteDamage(const FrameHeader& header);

    const quint64 m_Spool;
    QFile m_File;
    quint64 m_Last = 0;
    quint64 m_Count = 0;
    qint64 m_Bytes = 0; ///< of whole frames
    qint64 m_Begin = 0;
    qint64 m_End = 0;
    qint64 m_ReadAt = 0; ///< the frame that is read next
    bool m_IsDamaged = false;
};

using SpoolSegmentRef = std::shared_ptr<SpoolSegment>;
