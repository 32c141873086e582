#include "server/sqlitehistory/RowBlock.h"

#include "server/sqlitehistory/Sqlite.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <sqlite3.h>

namespace {

using Type = SqlCell::Type;

// Each row begins with one byte: how its value is packed, its state, and what else follows.
enum Packing : quint8
{
    PackedNull,
    PackedInteger,
    PackedReal,
    PackedShortReal, ///< a float that is as exact
    PackedText,
    PackedBlob,
    PackedSame, ///< as the row before
    PackedRemoved
};
constexpr quint8 PackingBits = 7;
constexpr int StateShift = 3;
constexpr quint8 StateBits = 3;
constexpr quint8 ItemFollows = 1 << 5;
constexpr quint8 OffsetFollows = 1 << 6;
constexpr quint8 TimeTextFollows = 1 << 7;

bool IsShort(double number)
{
    const auto brief = static_cast<float>(number);
    return std::bit_cast<quint64>(static_cast<double>(brief)) == std::bit_cast<quint64>(number);
}

Packing PackingOf(const HistoryRow& row, const HistoryRow& last)
{
    if (row.IsRemoved) return PackedRemoved;
    if (row.Value == last.Value) return PackedSame;
    switch (row.Value.Kind) {
    case Type::Integer: return PackedInteger;
    case Type::Real: return IsShort(row.Value.Real) ? PackedShortReal : PackedReal;
    case Type::Text: return PackedText;
    case Type::Blob: return PackedBlob;
    default: return PackedNull;
    }
}

} // namespace

bool SqlCell::operator==(const SqlCell& other) const
{
    if (Kind != other.Kind) return false;
    if (Kind == Type::Integer) return Integer == other.Integer;
    if (Kind == Type::Real) return std::bit_cast<quint64>(Real) == std::bit_cast<quint64>(other.Real);
    return Kind == Type::Null || Bytes == other.Bytes;
}

SqlCell NumericCell(double number)
{
    constexpr double Beyond = 9223372036854774784.0; // the last double below 2^63
    if (std::isnan(number)) return {};
    if (std::abs(number) <= Beyond && std::trunc(number) == number)
        return {Type::Integer, static_cast<qint64>(number), 0.0, {}};
    return {Type::Real, 0, number, {}};
}

SqlCell NumericCell(QByteArrayView text)
{
    const SqlCell unchanged{Type::Text, 0, 0.0, text};
    const QByteArrayView number = text.trimmed();
    // Other spellings, such as "inf", are numbers to Qt alone.
    const auto isSign = [](char c) { return (c >= '0' && c <= '9') || QByteArrayView("+-.eE").contains(c); };
    if (number.isEmpty() || !std::all_of(number.begin(), number.end(), isSign)) return unchanged;
    const QByteArray digits = number.toByteArray();
    bool isNumber = false;
    const qint64 integer = digits.toLongLong(&isNumber);
    if (isNumber) return {Type::Integer, integer, 0.0, {}};
    const double real = digits.toDouble(&isNumber);
    return isNumber ? NumericCell(real) : unchanged;
}

void RowBlockWriter::Append(const HistoryRow& row)
{
    if (const qsizetype size = m_Last.Value.Bytes.size(); size > 0)
        m_Last.Value.Bytes = QByteArrayView(m_Bytes).sliced(m_LastBytesAt, size);
    const Packing packing = PackingOf(row, m_Last);
    quint8 head = static_cast<quint8>(packing | ((row.State & StateBits) << StateShift));
    ++m_Rows;
    if (row.IsRemoved) return void(m_Bytes.append(static_cast<char>(PackedRemoved)));
    if (row.Item != m_Last.Item) head |= ItemFollows;
    if (row.Offset != m_Last.Offset) head |= OffsetFollows;
    if (row.HasTimeText) head |= TimeTextFollows;
    m_Bytes.append(static_cast<char>(head));
    // Steps of time hardly change. Unsigned, because the keys of texts that are no times lie anywhere.
    const quint64 step = static_cast<quint64>(row.Local) - static_cast<quint64>(m_Last.Local);
    PutSigned(static_cast<qint64>(step - m_Step));
    m_Step = step;
    if (head & ItemFollows) PutSigned(row.Item - m_Last.Item);
    if (head & OffsetFollows) PutSigned(row.Offset);
    if (row.HasTimeText) PutTime(row.Time);
    const double number = row.Value.Real;
    const auto brief = static_cast<float>(number);
    if (packing == PackedInteger) PutSigned(row.Value.Integer);
    else if (packing == PackedReal) m_Bytes.append(reinterpret_cast<const char*>(&number), sizeof number);
    else if (packing == PackedShortReal) m_Bytes.append(reinterpret_cast<const char*>(&brief), sizeof brief);
    else if (packing == PackedText || packing == PackedBlob) Put(row.Value.Bytes);
    if (packing != PackedSame) m_LastBytesAt = m_Bytes.size() - row.Value.Bytes.size();
    m_Last = row;
}

void RowBlockWriter::Put(quint64 number)
{
    for (; number >= 0x80; number >>= 7) m_Bytes.append(static_cast<char>(number | 0x80));
    m_Bytes.append(static_cast<char>(number));
}

void RowBlockWriter::PutSigned(qint64 number)
{
    Put((static_cast<quint64>(number) << 1) ^ static_cast<quint64>(number >> 63));
}

void RowBlockWriter::Put(QByteArrayView bytes)
{
    Put(static_cast<quint64>(bytes.size()));
    m_Bytes.append(bytes);
}

void RowBlockWriter::PutTime(const SqlCell& time)
{
    m_Bytes.append(static_cast<char>(time.Kind));
    if (time.Kind != Type::Null) Put(time.Bytes);
}

bool RowBlockReader::Next(HistoryRow& row)
{
    if (m_Rest.isEmpty()) return false;
    const quint8 head = Byte();
    const auto packing = static_cast<quint8>(head & PackingBits);
    row.IsRemoved = packing == PackedRemoved;
    if (row.IsRemoved) return true;
    m_Step += static_cast<quint64>(Signed());
    m_Last.Local = static_cast<qint64>(static_cast<quint64>(m_Last.Local) + m_Step);
    m_Last.State = (head >> StateShift) & StateBits;
    if (head & ItemFollows) m_Last.Item += Signed();
    if (head & OffsetFollows) m_Last.Offset = static_cast<qint32>(Signed());
    m_Last.HasTimeText = (head & TimeTextFollows) != 0;
    m_Last.Time = m_Last.HasTimeText ? Time() : SqlCell{};
    if (packing != PackedSame) m_Last.Value = Value(packing);
    row = m_Last;
    return true;
}

void RowBlockReader::ThrowDamage()
{
    throw SqliteError(SQLITE_CORRUPT, QStringLiteral("A block of the history's rows is damaged."));
}

quint8 RowBlockReader::Byte()
{
    if (m_Rest.isEmpty()) ThrowDamage();
    const auto byte = static_cast<quint8>(m_Rest.front());
    m_Rest = m_Rest.sliced(1);
    return byte;
}

quint64 RowBlockReader::Number()
{
    quint64 number = 0;
    for (int shift = 0; shift < 64; shift += 7) {
        const quint8 byte = Byte();
        number |= static_cast<quint64>(byte & 0x7F) << shift;
        if (byte < 0x80) return number;
    }
    ThrowDamage();
}

qint64 RowBlockReader::Signed()
{
    const quint64 number = Number();
    return static_cast<qint64>((number >> 1) ^ (~(number & 1) + 1));
}

QByteArrayView RowBlockReader::Take(quint64 count)
{
    if (count > static_cast<quint64>(m_Rest.size())) ThrowDamage();
    const QByteArrayView bytes = m_Rest.first(static_cast<qsizetype>(count));
    m_Rest = m_Rest.sliced(bytes.size());
    return bytes;
}

SqlCell RowBlockReader::Value(quint8 packing)
{
    double number = 0.0;
    float brief = 0.0F;
    switch (packing) {
    case PackedInteger: return {Type::Integer, Signed(), 0.0, {}};
    case PackedReal: std::memcpy(&number, Take(sizeof number).data(), sizeof number); break;
    case PackedShortReal:
        std::memcpy(&brief, Take(sizeof brief).data(), sizeof brief);
        number = static_cast<double>(brief);
        break;
    case PackedText: return {Type::Text, 0, 0.0, Take(Number())};
    case PackedBlob: return {Type::Blob, 0, 0.0, Take(Number())};
    default: return {};
    }
    return {Type::Real, 0, number, {}};
}

SqlCell RowBlockReader::Time()
{
    const quint8 kind = Byte();
    if (kind == static_cast<quint8>(Type::Null)) return {};
    if (kind != static_cast<quint8>(Type::Text) && kind != static_cast<quint8>(Type::Blob)) ThrowDamage();
    return {static_cast<Type>(kind), 0, 0.0, Take(Number())};
}
