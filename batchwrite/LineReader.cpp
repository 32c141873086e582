#include "batchwrite/LineReader.h"

#include "batchwrite/LocalText.h"
#include "core/automation/Errors.h"

#include <QFileInfo>

#include <algorithm>

namespace {

constexpr qint64 ChunkSize = 64 * 1024;
/// What some editors put before UTF-8 text; it belongs to no name.
const QByteArrayView ByteOrderMark("\xEF\xBB\xBF", 3);

[[noreturn]] void ThrowUnreadable(const QString& path, const QString& reason)
{
    throw DescribedError(QStringLiteral("The file cannot be read: %1: %2").arg(path, reason));
}

} // namespace

LineReader::LineReader(const QString& path)
    : m_File(path)
{
    const QFileInfo file(path);
    if (file.exists() && !file.isFile()) ThrowUnreadable(path, QStringLiteral("Not a file"));
    if (!m_File.open(QIODevice::ReadOnly | QIODevice::Unbuffered)) ThrowUnreadable(path, m_File.errorString());
}

std::optional<QString> LineReader::Next()
{
    qsizetype searched = m_Position;
    while (true) {
        const qsizetype end = m_Buffer.indexOf('\n', searched);
        if (end >= 0) return TakeLine(end - m_Position, end + 1);
        searched = m_Buffer.size() - m_Position; // Fill moves the rest to the front
        Fill();
        if (m_Buffer.size() == searched) break;
        if (m_Buffer.size() > LongestLine) ThrowUnreadable(m_File.fileName(), QStringLiteral("A line is too long"));
    }
    return m_Buffer.isEmpty() ? std::nullopt : TakeLine(m_Buffer.size(), m_Buffer.size());
}

/// Drops the lines taken and reads on; at the end of the file nothing is added.
void LineReader::Fill()
{
    m_Buffer.remove(0, m_Position);
    m_Position = 0;
    const qsizetype rest = m_Buffer.size();
    m_Buffer.resize(rest + ChunkSize);
    const qint64 read = m_File.read(m_Buffer.data() + rest, ChunkSize);
    m_Buffer.resize(rest + std::max<qint64>(read, 0));
    if (read < 0) ThrowUnreadable(m_File.fileName(), m_File.errorString());
}

std::optional<QString> LineReader::TakeLine(qsizetype length, qsizetype end)
{
    QByteArrayView line = QByteArrayView(m_Buffer).sliced(m_Position, length);
    if (line.endsWith('\r')) line.chop(1);
    if (std::exchange(m_AtStart, false) && line.startsWith(ByteOrderMark)) line = line.sliced(ByteOrderMark.size());
    QString text = DecodeText(line);
    m_Position = end;
    return text;
}
