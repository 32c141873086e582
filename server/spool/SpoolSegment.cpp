#include "server/spool/SpoolSegment.h"

#include "core/automation/Errors.h"
#include "server/log/Log.h"

#include <QDateTime>
#include <QDir>
#include <QFileInfo>

#include <unistd.h>

namespace {

QString TimeText(qint64 microseconds)
{
    return QDateTime::fromMSecsSinceEpoch(microseconds / 1000).toString(u"yyyy-MM-dd hh:mm:ss");
}

QString PathOf(const QString& folder, quint64 first)
{
    return folder + QStringLiteral("/%1.values").arg(first, 20, 10, QChar(u'0'));
}

} // namespace

void SpoolBatch::SkipTo(quint64 sequence)
{
    if (sequence < First) return;
    const auto count = std::min<quint64>(sequence - First + 1, Values.size());
    Values.erase(Values.begin(), Values.begin() + static_cast<std::ptrdiff_t>(count));
    First += count;
}

SpoolSegment::SpoolSegment(const QString& folder, quint64 spool, quint64 first)
    : m_Spool(spool)
    , m_File(PathOf(folder, first))
{
    if (!m_File.open(QIODevice::ReadWrite | QIODevice::NewOnly | QIODevice::Unbuffered,
                     QFileDevice::ReadOwner | QFileDevice::WriteOwner))
        throw DescribedError(QStringLiteral("%1: %2").arg(m_File.fileName(), m_File.errorString()));
}

SpoolSegment::SpoolSegment(const QString& path, quint64 spool)
    : m_Spool(spool)
    , m_File(path)
{
    if (!m_File.open(QIODevice::ReadOnly))
        throw DescribedError(QStringLiteral("%1: %2").arg(path, m_File.errorString()));
    const QByteArray bytes = m_File.readAll();
    if (m_File.error() != QFile::NoError)
        throw DescribedError(QStringLiteral("%1: %2").arg(path, m_File.errorString()));
    m_File.close();
    for (qsizetype at = FindFrame(bytes, 0); at >= 0; at = FindFrame(bytes, m_Bytes)) {
        const auto header = FrameHeader::Read(QByteArrayView(bytes).sliced(at));
        m_IsDamaged = m_IsDamaged || at != m_Bytes;
        m_Bytes = at + header->FrameBytes();
        Count(*header);
    }
}

void SpoolSegment::Append(const QByteArray& frame, bool waitsForDisk)
{
    m_File.seek(m_Bytes);
    bool isWritten = m_File.write(frame) == frame.size();
    QString problem = m_File.errorString();
    if (isWritten && waitsForDisk && fdatasync(m_File.handle()) != 0) {
        isWritten = false;
        problem = qt_error_string(errno);
    }
    if (!isWritten) {
        m_File.resize(m_Bytes);
        throw DescribedError(QStringLiteral("%1: %2").arg(m_File.fileName(), problem));
    }
    m_Bytes += frame.size();
    Count(*FrameHeader::Read(frame));
}

SpoolBatch SpoolSegment::Read(quint64 done, std::size_t most)
{
    const qint64 before = m_ReadAt;
    try {
        return ReadOn(done, most);
    } catch (...) {
        m_ReadAt = before;
        throw;
    }
}

SpoolBatch SpoolSegment::ReadOn(quint64 done, std::size_t most)
{
    SpoolBatch batch;
    batch.Spool = m_Spool;
    while (batch.Values.size() < most) {
        const auto header = NextHeader();
        if (!header) break;
        if (!batch.Values.empty() && header->First != batch.Last().Sequence + 1) break;
        const qint64 at = std::exchange(m_ReadAt, m_ReadAt + header->FrameBytes());
        if (header->Last() <= done) continue;
        auto values = DecodeFrame(BytesAt(at, header->FrameBytes()));
        if (!values) {
            NoteDamage(*header);
            continue;
        }
        if (batch.Values.empty()) batch.First = header->First;
        std::move(values->begin(), values->end(), std::back_inserter(batch.Values));
    }
    batch.SkipTo(done);
    return batch;
}

bool SpoolSegment::Remove()
{
    const QFileInfo file(m_File);
    const QString aside = QStringLiteral("%1-%2.damaged").arg(file.path(), file.completeBaseName());
    const bool isGone = (m_IsDamaged ? m_File.rename(aside) : m_File.remove()) || !file.exists();
    if (!isGone)
        Log(LogLevel::Warning, QStringLiteral("%1 is of no use any more and cannot be removed: %2")
                                   .arg(file.filePath(), m_File.errorString()));
    else if (m_IsDamaged)
        Log(LogLevel::Error,
            QStringLiteral("Values that waited on disk are damaged: their file is set aside as %1.").arg(aside));
    return isGone;
}

void SpoolSegment::Count(const FrameHeader& header)
{
    if (m_Count == 0) m_Begin = header.Begin;
    m_Begin = std::min(m_Begin, header.Begin);
    m_End = std::max(m_End, header.End);
    m_Last = std::max(m_Last, header.Last());
    m_Count += header.Count;
}

bool SpoolSegment::Open()
{
    if (m_File.isOpen() || m_File.open(QIODevice::ReadOnly | QIODevice::Unbuffered)) return true;
    if (m_File.exists()) throw DescribedError(QStringLiteral("%1: %2").arg(m_File.fileName(), m_File.errorString()));
    return false;
}

QByteArray SpoolSegment::BytesAt(qint64 at, qint64 count)
{
    m_File.seek(at);
    return m_File.read(count);
}

std::optional<FrameHeader> SpoolSegment::NextHeader()
{
    if (m_ReadAt >= m_Bytes) return std::nullopt;
    if (!Open()) {
        Log(LogLevel::Error,
            QStringLiteral("Values that waited on disk are lost: %1: %2").arg(m_File.fileName(), m_File.errorString()));
        m_ReadAt = m_Bytes;
        return std::nullopt;
    }
    const auto header = FrameHeader::Read(BytesAt(m_ReadAt, FrameHeader::Bytes));
    if (header && m_ReadAt + header->FrameBytes() <= m_Bytes) return header;
    const QByteArray rest = BytesAt(m_ReadAt, m_Bytes - m_ReadAt);
    const qsizetype next = FindFrame(rest, 1);
    m_IsDamaged = true;
    m_ReadAt = next < 0 ? m_Bytes : m_ReadAt + next;
    return next < 0 ? std::nullopt : FrameHeader::Read(QByteArrayView(rest).sliced(next));
}

void SpoolSegment::NoteDamage(const FrameHeader& header)
{
    m_IsDamaged = true;
    Log(LogLevel::Error, QStringLiteral("%1 values from %2 to %3 that waited on disk are damaged and left out.")
                             .arg(header.Count)
                             .arg(TimeText(header.Begin), TimeText(header.End)));
}
