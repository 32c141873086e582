#include "server/spool/SpoolFrame.h"

#include "server/database/SqlValue.h"

#include <QDataStream>
#include <QHash>
#include <QIODevice>

#include <algorithm>
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
    Text
};

using NamePair = std::pair<QString, QString>;

quint32 CheckOf(QByteArrayView frame)
{
    const QByteArrayView checked = frame.sliced(CheckedFrom);
    return static_cast<quint32>(
        crc32_z(0, reinterpret_cast<const Bytef*>(checked.data()), static_cast<z_size_t>(checked.size())));
}

/// Names are written once in a frame: the position of each value's names among them.
std::vector<quint32> WriteNames(QDataStream& out, std::span<const RecordedValue> values)
{
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
    out << names;
    return positions;
}

void WriteValue(QDataStream& out, const QVariant& value, qint32 state)
{
    const auto begin = [&](Kind kind) { out << static_cast<quint8>(kind | (state << 4)); };
    if (value.isNull()) return begin(Nothing);
    switch (value.typeId()) {
    case QMetaType::Int:
    case QMetaType::LongLong:
        begin(Integer);
        out << value.toLongLong();
        return;
    case QMetaType::Double:
        begin(Real);
        out << value.toDouble();
        return;
    default: begin(Text); out << value.toString();
    }
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

Variant ReadValue(QDataStream& in, quint8 kind)
{
    switch (kind) {
    case Integer: return FromInteger(Next<qint64>(in));
    case Real: return Next<double>(in);
    case Text: return Next<QString>(in);
    default: return Null{};
    }
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
    QDataStream out(&frame, QIODevice::WriteOnly);
    out.setVersion(Version);
    const auto [oldest, newest] = std::ranges::minmax(values, {}, &RecordedValue::Time);
    out << Magic << quint32{0} << quint32{0} << static_cast<quint32>(values.size()) << first
        << MicrosecondsSince1970(oldest.Time) << MicrosecondsSince1970(newest.Time) << quint32{0};
    const std::vector<quint32> names = WriteNames(out, values);
    for (std::size_t i = 0; i < values.size(); ++i) {
        out << names[i] << MicrosecondsSince1970(values[i].Time);
        WriteValue(out, ToSql(values[i].Value), values[i].State);
    }
    out.device()->seek(CheckedFrom);
    out << static_cast<quint32>(frame.size() - FrameHeader::Bytes);
    const quint32 check = CheckOf(frame);
    out.device()->seek(CheckedFrom - qsizetype{sizeof(check)});
    out << check;
    return frame;
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
    const auto names = Next<QList<NamePair>>(in);
    std::vector<RecordedValue> values;
    values.reserve(header->Count);
    while (values.size() < header->Count) {
        const auto name = static_cast<qsizetype>(Next<quint32>(in));
        const TimeStamp time{std::chrono::microseconds(Next<qint64>(in))};
        const auto mark = Next<quint8>(in);
        Variant value = ReadValue(in, mark & 0xF);
        if (in.status() != QDataStream::Ok || name >= names.size()) return std::nullopt;
        values.push_back({names[name].first, names[name].second, std::move(value), time, mark >> 4});
    }
    return values;
}

qint64 MicrosecondsSince1970(TimeStamp time)
{
    return std::chrono::floor<std::chrono::microseconds>(time.time_since_epoch()).count();
}
