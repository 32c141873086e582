#include "server/postgreshistory/CopyFeed.h"

#include "server/postgreshistory/RowColumns.h"

#include <bit>
#include <cstring>
#include <QStringConverter>
#include <QtEndian>

namespace {

/// In microseconds: the database counts from 2000 on.
constexpr qint64 Year2000 = qint64{946'684'800} * 1'000'000;

constexpr QByteArrayView Signature("PGCOPY\n\377\r\n\0", 11);

QByteArray Escaped(const QString& text)
{
    QByteArray escaped = Storable(text).toUtf8();
    const bool isPlain = std::all_of(escaped.begin(), escaped.end(),
                                     [](char c) { return static_cast<unsigned char>(c) >= ' ' && c != '\\'; });
    if (isPlain) return escaped;
    return escaped.replace('\\', "\\\\").replace('\n', "\\n").replace('\r', "\\r").replace('\t', "\\t");
}

/// Puts fields where there is room for them.
class FieldWriter
{
public:
    explicit FieldWriter(char* at)
        : m_At(at)
    {
    }

    /// At most this many bytes.
    static std::size_t RoomFor(QStringView text) { return sizeof(qint32) + static_cast<std::size_t>(text.size()) * 3; }

    template <typename Number>
    void Put(Number number)
    {
        qToBigEndian(number, m_At);
        m_At += sizeof(number);
    }
    template <typename Number>
    void PutField(Number number)
    {
        Put(static_cast<qint32>(sizeof(number)));
        Put(number);
    }
    void PutNull() { Put(qint32{-1}); }
    void PutText(const QString& text)
    {
        char* const begin = m_At + sizeof(qint32);
        char* const end = m_Encoder.appendToBuffer(begin, text.contains(QChar(u'\0')) ? Storable(text) : text);
        Put(static_cast<qint32>(end - begin));
        m_At = end;
    }
    char* End() const { return m_At; }

private:
    char* m_At;
    QStringEncoder m_Encoder{QStringConverter::Utf8, QStringConverter::Flag::Stateless};
};

} // namespace

CopyFeed::CopyFeed(const DatabaseSession& session, QString statement)
    : m_Stream(session)
    , m_Statement(std::move(statement))
{
}

void CopyFeed::Begin(const QString& table)
{
    m_Stream.Begin(m_Statement.arg(table));
    WriteBegin();
}

void CopyFeed::End()
{
    WriteEnd();
    m_Stream.End();
}

TextCopyFeed::TextCopyFeed(const DatabaseSession& session, bool isOwn)
    : CopyFeed(session, QStringLiteral("COPY %1 (") + RowColumns(isOwn) + QStringLiteral(") FROM STDIN"))
    , m_IsOwn(isOwn)
{
}

void TextCopyFeed::Add(const PostgresRow& row)
{
    QByteArray line = Escaped(row.Controller) + '\t' + Escaped(row.Item) + '\t';
    line += row.Value ? Escaped(*row.Value) : "\\N";
    line += '\t' + m_Clock.Spell(row.Local).toLatin1();
    if (m_IsOwn) {
        line += '\t' + (row.Number ? SpelledNumber(*row.Number).toLatin1() : QByteArray("\\N"));
        line += '\t' + QByteArray::number(row.Utc) + '\t' + QByteArray::number(row.State);
    }
    Stream().Append(line + '\n');
}

BinaryCopyFeed::BinaryCopyFeed(const DatabaseSession& session)
    : CopyFeed(session, QStringLiteral("COPY %1 (") + RowColumns(true) + QStringLiteral(") FROM STDIN (FORMAT binary)"))
{
}

void BinaryCopyFeed::Add(const PostgresRow& row)
{
    static const QString none;
    const QString& value = row.Value ? *row.Value : none;
    constexpr std::size_t OfNumbers = 64; // of the row's count of fields and its four numbers, each with its length
    char* const room = Stream().Room(OfNumbers + FieldWriter::RoomFor(row.Controller) + FieldWriter::RoomFor(row.Item) +
                                     FieldWriter::RoomFor(value));
    FieldWriter writer(room);
    writer.Put(qint16{7});
    writer.PutText(row.Controller);
    writer.PutText(row.Item);
    if (row.Value) writer.PutText(value);
    else writer.PutNull();
    writer.PutField(row.Local - Year2000);
    if (row.Number) writer.PutField(std::bit_cast<qint64>(*row.Number));
    else writer.PutNull();
    writer.PutField(row.Utc);
    writer.PutField(row.State);
    Stream().Take(static_cast<std::size_t>(writer.End() - room));
}

void BinaryCopyFeed::WriteBegin()
{
    Stream().Append(Signature);
    Stream().Append(QByteArray(8, '\0')); // no flags, nothing more in the header
}

void BinaryCopyFeed::WriteEnd()
{
    Stream().Append(QByteArray(2, '\xff'));
}
