#include "server/spool/SpoolFrame.h"

#include "core/automation/ValueTypes.h"
#include "server/database/SqlValue.h"
#include "velsqllib/ValueText.h"

#include <QDataStream>
#include <QHash>
#include <QtEndian>

#include <algorithm>
#include <bit>
#include <limits>
#include <zlib.h>

namespace {

constexpr quint32 Magic = 0x56534c31;
constexpr char MagicBytes[] = "VSL1";
constexpr qsizetype CheckedFrom = 8; // behind the mark and the check itself
constexpr auto Version = QDataStream::Qt_6_4;

enum Kind : quint8
{
    Nothing,
    Integer,
    Real,
    Text,
    Scalar, ///< a type code and what stands for the value in 64 bits
    Typed   ///< a typed text
};

using NamePair = std::pair<QString, QString>;

/// Writes what QDataStream of that version reads, without its calls for each number: every value passes here.
class FrameOut
{
public:
    /// What is in `bytes` goes; their memory stays.
    explicit FrameOut(QByteArray& bytes)
        : m_Bytes(bytes)
    {
        m_Bytes.resize(0);
    }

    template <typename T>
        requires std::is_integral_v<T>
    FrameOut& operator<<(T number)
    {
        const T bigEndian = qToBigEndian(number);
        m_Bytes.append(reinterpret_cast<const char*>(&bigEndian), sizeof(bigEndian));
        return *this;
    }
    FrameOut& operator<<(double number) { return *this << std::bit_cast<quint64>(number); }
    FrameOut& operator<<(const QString& text)
    {
        if (text.isNull()) return *this << ~quint32{0};
        const qsizetype bytes = text.size() * qsizetype{sizeof(QChar)};
        *this << static_cast<quint32>(bytes);
        const qsizetype at = m_Bytes.size();
        m_Bytes.resize(at + bytes);
        qToBigEndian<char16_t>(text.utf16(), text.size(), m_Bytes.data() + at);
        return *this;
    }
    FrameOut& operator<<(const NamePair& name) { return *this << name.first << name.second; }

private:
    QByteArray& m_Bytes;
};

void WriteAt(QByteArray& bytes, qsizetype at, quint32 number)
{
    qToBigEndian(number, bytes.data() + at);
}

quint32 CheckOf(QByteArrayView frame)
{
    const QByteArrayView checked = frame.sliced(CheckedFrom);
    return static_cast<quint32>(
        crc32_z(0, reinterpret_cast<const Bytef*>(checked.data()), static_cast<z_size_t>(checked.size())));
}

/// Names are written once in a frame: the position of each value's names among them.
std::vector<quint32> WriteNames(FrameOut& out, std::span<const RecordedValue> values)
{
    if (values.size() == 1) {
        out << quint32{1} << values[0].Controller << values[0].Item;
        return {0};
    }
    QHash<NamePair, quint32> known;
    QList<NamePair> names;
    std::vector<quint32> positions;
    positions.reserve(values.size());
    for (const RecordedValue& value : values) {
        const NamePair name = {value.Controller, value.Item};
        auto found = known.find(name);
        if (found == known.end()) {
            found = known.insert(name, static_cast<quint32>(names.size()));
            names.append(name);
        }
        positions.push_back(*found);
    }
    out << static_cast<quint32>(names.size());
    for (const NamePair& name : names) out << name;
    return positions;
}

template <typename T>
qint64 BitsOf(const T& value)
{
    if constexpr (std::is_same_v<T, std::monostate>) return 0;
    else if constexpr (std::is_same_v<T, Currency>) return value.TenThousandths;
    else if constexpr (std::is_same_v<T, Date>) return std::bit_cast<qint64>(value.Days);
    else if constexpr (std::is_same_v<T, float>) return std::bit_cast<qint32>(value);
    else return value;
}

/// The other way round. Throws ValueError for a type that has no such bits.
Variant FromBits(VarType type, qint64 bits)
{
    return VisitType(type, [bits]<typename T>(std::type_identity<T>) -> Variant {
        if constexpr (std::is_same_v<T, std::monostate>) return {};
        else if constexpr (std::is_same_v<T, Currency>) return Currency{bits};
        else if constexpr (std::is_same_v<T, Date>) return Date{std::bit_cast<double>(bits)};
        else if constexpr (std::is_same_v<T, float>) return std::bit_cast<float>(static_cast<qint32>(bits));
        else if constexpr (std::is_integral_v<T>) return static_cast<T>(bits);
        else throw ValueError::TypeMismatch();
    });
}

/// Empty for elements that have no text by which they could be read again, such as objects and dates far away.
std::optional<QString> TypedTextOf(const Variant& array)
{
    try {
        const QString text = WriteTypedText(array);
        ReadTypedText(text);
        return text;
    } catch (const ValueError&) {
        return std::nullopt;
    }
}

void WriteArray(FrameOut& out, const Variant& array, qint32 state)
{
    const auto typed = TypedTextOf(array);
    out << static_cast<quint8>((typed ? Typed : Text) | (state << 4)) << (typed ? *typed : ToSql(array).toString());
}

void WriteValue(FrameOut& out, const Variant& value, qint32 state)
{
    const auto begin = [&](Kind kind) -> FrameOut& { return out << static_cast<quint8>(kind | (state << 4)); };
    std::visit(
        [&]<typename T>(const T& payload) {
            if constexpr (std::is_same_v<T, Null> || std::is_same_v<T, ObjectRef>) begin(Nothing);
            else if constexpr (std::is_same_v<T, qint32>) begin(Integer) << qint64{payload};
            else if constexpr (std::is_same_v<T, double>) begin(Real) << payload;
            else if constexpr (std::is_same_v<T, QString>) begin(Text) << payload;
            else if constexpr (std::is_same_v<T, SafeArrayRef>) WriteArray(out, value, state);
            else begin(Scalar) << value.Type() << BitsOf(payload);
        },
        value.Data());
}

template <typename T>
T Next(QDataStream& in)
{
    T value{};
    in >> value;
    return value;
}

Variant FromInteger(qint64 value)
{
    if (value > std::numeric_limits<qint32>::max()) return static_cast<quint32>(value);
    return static_cast<qint32>(value);
}

/// Throws ValueError for what nobody has written so.
Variant ReadValue(QDataStream& in, quint8 kind)
{
    switch (kind) {
    case Integer: return FromInteger(Next<qint64>(in));
    case Real: return Next<double>(in);
    case Text: return Next<QString>(in);
    case Scalar: {
        const auto type = Next<VarType>(in);
        return FromBits(type, Next<qint64>(in));
    }
    case Typed: return ReadTypedText(Next<QString>(in));
    default: return Null{};
    }
}

/// Empty when they are not whole. Throws as ReadValue.
std::optional<std::vector<RecordedValue>> ReadValues(QDataStream& in, quint32 count)
{
    const auto names = Next<QList<NamePair>>(in);
    std::vector<RecordedValue> values;
    values.reserve(count);
    while (values.size() < count) {
        const auto name = static_cast<qsizetype>(Next<quint32>(in));
        const TimeStamp time{std::chrono::microseconds(Next<qint64>(in))};
        const auto mark = Next<quint8>(in);
        Variant value = ReadValue(in, mark & 0xF);
        if (in.status() != QDataStream::Ok || name >= names.size()) return std::nullopt;
        values.push_back({names[name].first, names[name].second, std::move(value), time, mark >> 4});
    }
    return values;
}

} // namespace

std::optional<FrameHeader> FrameHeader::Read(QByteArrayView bytes)
{
    if (bytes.size() < Bytes) return std::nullopt;
    QDataStream in(QByteArray::fromRawData(bytes.data(), Bytes));
    FrameHeader header;
    const auto mark = Next<quint32>(in);
    in >> header.Check >> header.PayloadBytes >> header.Count >> header.First >> header.Begin >> header.End;
    return mark == Magic && header.Count > 0 ? std::optional(header) : std::nullopt;
}

QByteArray EncodeFrame(quint64 first, std::span<const RecordedValue> values)
{
    QByteArray frame;
    frame.reserve(FrameHeader::Bytes + static_cast<qsizetype>(values.size()) * 24);
    EncodeFrame(first, values, frame);
    return frame;
}

void EncodeFrame(quint64 first, std::span<const RecordedValue> values, QByteArray& frame)
{
    FrameOut out(frame);
    const auto [oldest, newest] = std::ranges::minmax(values, {}, &RecordedValue::Time);
    out << Magic << quint32{0} << quint32{0} << static_cast<quint32>(values.size()) << first
        << MicrosecondsSince1970(oldest.Time) << MicrosecondsSince1970(newest.Time) << quint32{0};
    const std::vector<quint32> names = WriteNames(out, values);
    for (std::size_t i = 0; i < values.size(); ++i) {
        out << names[i] << MicrosecondsSince1970(values[i].Time);
        WriteValue(out, values[i].Value, values[i].State);
    }
    WriteAt(frame, CheckedFrom, static_cast<quint32>(frame.size() - FrameHeader::Bytes));
    WriteAt(frame, CheckedFrom - qsizetype{sizeof(quint32)}, CheckOf(frame));
}

qsizetype FindFrame(QByteArrayView bytes, qsizetype at)
{
    for (qsizetype begin = at; begin >= 0; begin = bytes.indexOf(QByteArrayView(MagicBytes, 4), begin + 1)) {
        if (begin >= bytes.size()) return -1;
        const auto header = FrameHeader::Read(bytes.sliced(begin));
        if (!header || begin + header->FrameBytes() > bytes.size()) continue;
        // What only looks like a beginning stands within a value.
        if (begin == at || CheckOf(bytes.sliced(begin, header->FrameBytes())) == header->Check) return begin;
    }
    return -1;
}

std::optional<std::vector<RecordedValue>> DecodeFrame(QByteArrayView frame)
{
    const auto header = FrameHeader::Read(frame);
    if (!header || frame.size() != header->FrameBytes()) return std::nullopt;
    if (CheckOf(frame) != header->Check) return std::nullopt;
    QDataStream in(QByteArray::fromRawData(frame.data(), frame.size()));
    in.setVersion(Version);
    in.skipRawData(static_cast<int>(FrameHeader::Bytes));
    try {
        return ReadValues(in, header->Count);
    } catch (const ValueError&) {
        return std::nullopt;
    }
}

qint64 MicrosecondsSince1970(TimeStamp time)
{
    return std::chrono::floor<std::chrono::microseconds>(time.time_since_epoch()).count();
}
