#include "server/sources/modbus/Pdu.h"

namespace {

constexpr quint8 ExceptionFlag = 0x80;
constexpr quint16 CoilIsOn = 0xFF00;

struct Functions
{
    quint8 Read;
    quint8 WriteOne;
    quint8 WriteBlock;
};

/// In the order of Area; inputs cannot be written.
constexpr Functions FunctionsOf[] = {{1, 5, 15}, {2, 0, 0}, {4, 0, 0}, {3, 6, 16}};

const Functions& Of(Area area)
{
    return FunctionsOf[static_cast<std::size_t>(area)];
}

void Append(Pdu& pdu, qint32 number)
{
    pdu.push_back(static_cast<quint8>(number >> 8));
    pdu.push_back(static_cast<quint8>(number));
}

Pdu Head(quint8 function, qint32 first, qint32 second)
{
    Pdu pdu = {function};
    Append(pdu, first);
    Append(pdu, second);
    return pdu;
}

[[noreturn]] void Garbled(const QString& what)
{
    throw ModbusError(ModbusError::Kind::Garbled, QStringLiteral("its answer is garbled: %1").arg(what));
}

void CheckFunction(quint8 asked, std::span<const quint8> answer)
{
    if (answer.empty()) Garbled(QStringLiteral("it is empty"));
    if (answer[0] == asked) return;
    if (answer[0] != (asked | ExceptionFlag))
        Garbled(QStringLiteral("function %1 instead of %2").arg(answer[0]).arg(asked));
    if (answer.size() != 2) Garbled(QStringLiteral("an exception of %1 bytes").arg(answer.size()));
    throw ModbusError(ModbusError::Kind::Refused, ExceptionText(answer[1]), answer[1]);
}

} // namespace

QString ExceptionText(quint8 code)
{
    static const QString texts[] = {QStringLiteral("Exception"),
                                    QStringLiteral("Illegal function"),
                                    QStringLiteral("Illegal data address"),
                                    QStringLiteral("Illegal data value"),
                                    QStringLiteral("Device failure"),
                                    QStringLiteral("Acknowledged, not yet done"),
                                    QStringLiteral("Device busy"),
                                    QStringLiteral("Negative acknowledge"),
                                    QStringLiteral("Memory parity error"),
                                    QStringLiteral("Exception"),
                                    QStringLiteral("Gateway path unavailable"),
                                    QStringLiteral("No answer from the device behind the gateway")};
    return QStringLiteral("%1 (exception %2)").arg(code < std::size(texts) ? texts[code] : texts[0]).arg(code);
}

Pdu ReadRequest(const Span& where)
{
    return Head(Of(where.Place).Read, where.First, where.Count);
}

Pdu WriteOneRequest(Area area, quint16 first, quint16 value)
{
    return Head(Of(area).WriteOne, first, IsBits(area) && value ? CoilIsOn : value);
}

qint32 MostWritten(Area area)
{
    return IsBits(area) ? 1968 : 123;
}

Pdu WriteBlockRequest(Area area, quint16 first, std::span<const quint16> values)
{
    const std::size_t bytes = IsBits(area) ? (values.size() + 7) / 8 : 2 * values.size();
    Pdu pdu = Head(Of(area).WriteBlock, first, static_cast<qint32>(values.size()));
    pdu.push_back(static_cast<quint8>(bytes));
    if (!IsBits(area)) {
        for (const quint16 value : values) Append(pdu, value);
        return pdu;
    }
    const std::size_t head = pdu.size();
    pdu.resize(head + bytes);
    for (std::size_t i = 0; i < values.size(); ++i)
        if (values[i]) pdu[head + i / 8] = static_cast<quint8>(pdu[head + i / 8] | 1 << i % 8);
    return pdu;
}

std::vector<quint16> ReadAnswer(const Span& asked, std::span<const quint8> answer)
{
    CheckFunction(Of(asked.Place).Read, answer);
    const auto count = static_cast<std::size_t>(asked.Count);
    const std::size_t bytes = IsBits(asked.Place) ? (count + 7) / 8 : 2 * count;
    if (answer.size() != 2 + bytes || answer[1] != bytes)
        Garbled(QStringLiteral("%1 bytes instead of %2").arg(answer.size()).arg(2 + bytes));
    const auto data = answer.subspan(2);
    std::vector<quint16> values(count);
    for (std::size_t i = 0; i < count; ++i)
        values[i] =
            static_cast<quint16>(IsBits(asked.Place) ? data[i / 8] >> i % 8 & 1 : data[2 * i] << 8 | data[2 * i + 1]);
    return values;
}

void CheckWriteAnswer(const Pdu& request, std::span<const quint8> answer)
{
    CheckFunction(request[0], answer);
    // Function, register, and the value or how many.
    constexpr std::size_t Echoed = 5;
    if (answer.size() != Echoed || !std::equal(answer.begin(), answer.end(), request.begin()))
        Garbled(QStringLiteral("it confirms another writing"));
}
