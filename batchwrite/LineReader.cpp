#include "batchwrite/LineReader.h"

#include "core/DisplayText.h"

#include <QFileInfo>
#include <QStringDecoder>

#include <algorithm>
#include <cstring>
#include <iconv.h>
#include <langinfo.h>

namespace {

constexpr qint64 ChunkSize = 64 * 1024;
constexpr qsizetype MostQuoted = 40;
/// Some editors put this before UTF-8 text; it is not part of the first name.
const QByteArrayView ByteOrderMark("\xEF\xBB\xBF", 3);

QStringView Beginning(QStringView text)
{
    if (text.size() <= MostQuoted) return text;
    return text.first(text[MostQuoted - 1].isHighSurrogate() ? MostQuoted - 1 : MostQuoted);
}

/// UTF-8 without its last character, which may be incomplete.
QByteArrayView WithoutTornEnd(QByteArrayView bytes)
{
    const auto isContinuation = [](char byte) { return (static_cast<uchar>(byte) & 0xC0) == 0x80; };
    while (!bytes.isEmpty() && isContinuation(bytes.back())) bytes.chop(1);
    if (!bytes.isEmpty() && static_cast<uchar>(bytes.back()) >= 0xC0) bytes.chop(1);
    return bytes;
}

/// Null when the bytes are not text in this encoding.
QString DecodeAs(const char* encoding, QByteArrayView bytes)
{
    const iconv_t converter = iconv_open("UTF-16LE", encoding);
    if (converter == reinterpret_cast<iconv_t>(-1)) return {};
    QByteArray utf16(4 * bytes.size(), Qt::Uninitialized);
    char* from = const_cast<char*>(bytes.data());
    char* to = utf16.data();
    auto left = static_cast<size_t>(bytes.size());
    auto room = static_cast<size_t>(utf16.size());
    const bool fits = iconv(converter, &from, &left, &to, &room) != static_cast<size_t>(-1);
    iconv_close(converter);
    utf16.chop(static_cast<qsizetype>(room));
    return fits ? QString(QStringDecoder(QStringDecoder::Utf16LE)(utf16)) : QString();
}

QString DecodeLocal(QByteArrayView bytes)
{
    const char* encoding = nl_langinfo(CODESET);
    const bool isNarrow = std::strcmp(encoding, "UTF-8") != 0 && std::strcmp(encoding, "ANSI_X3.4-1968") != 0;
    return isNarrow ? DecodeAs(encoding, bytes) : QString();
}

QString DecodeText(QByteArrayView bytes)
{
    // A byte order mark within the file is a character like any other.
    QStringDecoder utf8(QStringDecoder::Utf8,
                        QStringDecoder::Flag::Stateless | QStringDecoder::Flag::ConvertInitialBom);
    QString text = utf8(bytes);
    if (!utf8.hasError()) return text;
    text = DecodeLocal(bytes);
    return text.isNull() ? QString::fromLatin1(bytes) : text;
}

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
    ++m_Number;
    qsizetype searched = m_Position;
    while (true) {
        const qsizetype end = m_Buffer.indexOf('\n', searched);
        if (end >= 0) return TakeLine(end - m_Position, end + 1);
        searched = m_Buffer.size() - m_Position; // Fill moves the rest to the front
        Fill();
        if (m_Buffer.size() == searched) break;
        if (m_Buffer.size() > LongestLine) throw FaultOfUnread(QStringLiteral("is too long"));
    }
    return m_Buffer.isEmpty() ? std::nullopt : TakeLine(m_Buffer.size(), m_Buffer.size());
}

/// Drops the lines already taken and reads on; adds nothing at the end of the file.
void LineReader::Fill()
{
    m_Buffer.remove(0, m_Position);
    m_Position = 0;
    const qsizetype rest = m_Buffer.size();
    m_Buffer.resize(rest + ChunkSize);
    const qint64 read = m_File.read(m_Buffer.data() + rest, ChunkSize);
    m_Buffer.resize(rest + std::max<qint64>(read, 0));
    if (read >= 0) return;
    if (m_Number == 1) ThrowUnreadable(m_File.fileName(), m_File.errorString());
    throw FaultOfUnread(QStringLiteral("cannot be read: ") + m_File.errorString());
}

std::optional<QString> LineReader::TakeLine(qsizetype length, qsizetype end)
{
    QByteArrayView line = QByteArrayView(m_Buffer).sliced(m_Position, length);
    if (line.endsWith('\r')) line.chop(1);
    if (m_Number == 1 && line.startsWith(ByteOrderMark)) line = line.sliced(ByteOrderMark.size());
    QString text = DecodeText(line);
    m_Position = end;
    return text;
}

ValueError LineReader::FaultOf(QStringView text, const QString& fault) const
{
    return ValueError::InvalidCall(QStringLiteral("line %1, \"%2\", %3")
                                       .arg(QString::number(m_Number), OneLine(Beginning(text).toString()), fault));
}

/// For a line of which only a part is in the buffer.
ValueError LineReader::FaultOfUnread(const QString& fault) const
{
    const QByteArrayView part = QByteArrayView(m_Buffer).first(std::min(m_Buffer.size(), 4 * MostQuoted));
    return FaultOf(DecodeText(WithoutTornEnd(part)), fault);
}
