#include "server/sources/modbus/Form.h"

#include "core/automation/SafeArray.h"
#include "server/plant/Convert.h"

#include <QStringDecoder>

#include <array>
#include <bit>
#include <cmath>

namespace {

/// Numbers up to here, and all below, are exact in R8.
constexpr qint64 MostExact = qint64{1} << 53;
constexpr int MostRegisters = 4;

quint16 Swapped(quint16 number)
{
    return static_cast<quint16>((number << 8) | (number >> 8));
}

/// The registers of an element as one number, the most significant first.
quint64 Joined(const Form& form, std::span<const quint16> registers)
{
    quint64 bits = 0;
    const std::size_t count = registers.size();
    for (std::size_t i = 0; i < count; ++i) {
        const quint16 word = registers[form.Bytes.SwapsWords ? count - 1 - i : i];
        bits = bits << 16 | (form.Bytes.SwapsBytes ? Swapped(word) : word);
    }
    return bits;
}

void Split(const Form& form, quint64 bits, std::vector<quint16>& registers)
{
    std::array<quint16, MostRegisters> words{};
    const auto count = static_cast<std::size_t>(form.ElementSize());
    for (std::size_t i = 0; i < count; ++i, bits >>= 16) {
        const auto word = static_cast<quint16>(bits);
        words[form.Bytes.SwapsWords ? i : count - 1 - i] = form.Bytes.SwapsBytes ? Swapped(word) : word;
    }
    registers.insert(registers.end(), words.begin(), words.begin() + static_cast<std::ptrdiff_t>(count));
}

quint32 FromBcd(quint64 bits)
{
    quint32 number = 0;
    for (int shift = 28; shift >= 0; shift -= 4) {
        const auto digit = static_cast<quint32>(bits >> shift & 0xF);
        if (digit > 9) throw ValueError(QStringLiteral("0x%1 is not BCD").arg(bits, 0, 16));
        number = number * 10 + digit;
    }
    return number;
}

quint64 ToBcd(quint64 number)
{
    quint64 bits = 0;
    for (int shift = 0; number > 0; shift += 4, number /= 10) bits |= number % 10 << shift;
    return bits;
}

/// 64 bits, where R8, CY or a text says them exactly.
template <typename T>
Variant Exact(const Form& form, T number)
{
    constexpr qint64 MostAmount = std::numeric_limits<qint64>::max() / 10'000;
    const bool isWhole = form.Scale == 1.0 && form.Offset == 0.0;
    if (isWhole && form.Type == VT_BSTR) return QString::number(number);
    const bool isSmall = std::in_range<qint64>(number);
    const auto whole = static_cast<qint64>(number);
    if (isWhole && form.Type == VT_CY && isSmall && std::abs(whole) <= MostAmount) return Currency{whole * 10'000};
    if (isSmall && whole >= -MostExact && whole <= MostExact) return static_cast<double>(whole);
    throw ValueError(QStringLiteral("%1 is not exact in R8 or CY").arg(number));
}

Variant Plain(const Form& form, quint64 bits)
{
    switch (form.Element) {
    case Coding::Bool: return (form.Bit >= 0 ? bits >> form.Bit & 1 : bits) != 0;
    case Coding::I2: return static_cast<qint16>(bits);
    case Coding::UI2: return static_cast<quint16>(bits);
    case Coding::I4: return static_cast<qint32>(bits);
    case Coding::UI4: return static_cast<quint32>(bits);
    case Coding::I8: return Exact(form, static_cast<qint64>(bits));
    case Coding::UI8: return Exact(form, bits);
    case Coding::R4: return std::bit_cast<float>(static_cast<quint32>(bits));
    case Coding::R8: return std::bit_cast<double>(bits);
    case Coding::Bcd4: return static_cast<qint32>(FromBcd(bits));
    case Coding::Bcd8: return static_cast<qint32>(FromBcd(bits));
    case Coding::Text: break;
    }
    return {};
}

Variant DecodeElement(const Form& form, std::span<const quint16> registers)
{
    const Variant number = Plain(form, Joined(form, registers));
    if (form.Scale == 1.0 && form.Offset == 0.0) return number;
    // 358 / 10 is 35.8, and 358 * 0.1 is not.
    const double parts = std::nearbyint(1.0 / form.Scale);
    const double scaled = parts * form.Scale == 1.0 ? ToNumber(number) / parts : ToNumber(number) * form.Scale;
    return scaled + form.Offset;
}

/// Up to the first zero byte; bytes that are not UTF-8 are taken as Latin-1, which devices speak.
QString DecodeText(const Form& form, std::span<const quint16> registers)
{
    QByteArray bytes;
    for (std::size_t i = 0; i < registers.size(); ++i) {
        const quint16 word = registers[form.Bytes.SwapsWords ? registers.size() - 1 - i : i];
        const quint16 ordered = form.Bytes.SwapsBytes ? Swapped(word) : word;
        bytes.append(static_cast<char>(ordered >> 8)).append(static_cast<char>(ordered & 0xFF));
    }
    bytes.truncate(qstrnlen(bytes.constData(), static_cast<size_t>(bytes.size())));
    QStringDecoder utf8(QStringDecoder::Utf8);
    QString text = utf8.decode(bytes);
    return utf8.hasError() ? QString::fromLatin1(bytes) : text;
}

std::vector<quint16> EncodeText(const Form& form, const QString& text)
{
    const auto count = static_cast<std::size_t>(form.Count);
    QByteArray bytes = text.toUtf8();
    if (bytes.size() > 2 * form.Count)
        throw ValueError(
            QStringLiteral("%1 has more than %2 bytes").arg(Quoted(text), QString::number(2 * form.Count)));
    bytes.append(2 * form.Count - bytes.size(), '\0');
    std::vector<quint16> registers(count);
    for (std::size_t i = 0; i < count; ++i) {
        const auto at = static_cast<qsizetype>(2 * i);
        const auto word =
            static_cast<quint16>(static_cast<quint8>(bytes[at]) << 8 | static_cast<quint8>(bytes[at + 1]));
        registers[form.Bytes.SwapsWords ? count - 1 - i : i] = form.Bytes.SwapsBytes ? Swapped(word) : word;
    }
    return registers;
}

[[noreturn]] void RefuseNumber(const Variant& value)
{
    throw ValueError(QStringLiteral("%1 does not fit the device's registers").arg(Quoted(value)));
}

/// Rounded half to even.
double Whole(const Variant& value, double number, double lowest, double highest)
{
    const double rounded = std::nearbyint(number);
    if (!(rounded >= lowest && rounded <= highest)) RefuseNumber(value);
    return rounded;
}

/// An amount and the text of a whole number have more digits than R8.
template <typename T>
quint64 EncodeLong(const Form& form, const Variant& value, double number)
{
    constexpr double Beyond = std::is_signed_v<T> ? 9223372036854775808.0 : 18446744073709551616.0;
    bool isWhole = false;
    if (form.Scale == 1.0 && form.Offset == 0.0 && value.GetIf<QString>()) {
        const T whole = std::is_signed_v<T> ? static_cast<T>(value.Get<QString>().toLongLong(&isWhole))
                                            : static_cast<T>(value.Get<QString>().toULongLong(&isWhole));
        if (isWhole) return static_cast<quint64>(whole);
    }
    const double rounded = std::nearbyint(number);
    if (!(rounded >= (std::is_signed_v<T> ? -Beyond : 0.0) && rounded < Beyond)) RefuseNumber(value);
    return static_cast<quint64>(static_cast<T>(rounded));
}

quint64 EncodeBits(const Form& form, const Variant& value)
{
    const double number = (ToNumber(ConvertTo(value, VT_R8)) - form.Offset) / form.Scale;
    switch (form.Element) {
    case Coding::Bool: return number != 0.0;
    case Coding::I2: return static_cast<quint64>(static_cast<qint64>(Whole(value, number, -32768, 32767)));
    case Coding::UI2: return static_cast<quint64>(Whole(value, number, 0, 65535));
    case Coding::I4:
        return static_cast<quint64>(static_cast<qint64>(Whole(value, number, -2147483648.0, 2147483647.0)));
    case Coding::UI4: return static_cast<quint64>(Whole(value, number, 0, 4294967295.0));
    case Coding::I8: return EncodeLong<qint64>(form, value, number);
    case Coding::UI8: return EncodeLong<quint64>(form, value, number);
    case Coding::R4: return std::bit_cast<quint32>(ConvertTo(number, VT_R4).Get<float>());
    case Coding::R8: return std::bit_cast<quint64>(number);
    case Coding::Bcd4: return ToBcd(static_cast<quint64>(Whole(value, number, 0, 9999)));
    case Coding::Bcd8: return ToBcd(static_cast<quint64>(Whole(value, number, 0, 99'999'999)));
    case Coding::Text: break;
    }
    return 0;
}

} // namespace

int Form::ElementSize() const
{
    switch (Element) {
    case Coding::I4:
    case Coding::UI4:
    case Coding::R4:
    case Coding::Bcd8: return 2;
    case Coding::I8:
    case Coding::UI8:
    case Coding::R8: return MostRegisters;
    default: return 1;
    }
}

quint16 Form::BitMask() const
{
    const auto mask = static_cast<quint16>(1 << Bit);
    return Bytes.SwapsBytes ? Swapped(mask) : mask;
}

Variant Decode(const Form& form, std::span<const quint16> registers)
{
    if (form.Element == Coding::Text) return DecodeText(form, registers);
    if (!form.IsArray) return DecodeElement(form, registers);
    const auto size = static_cast<std::size_t>(form.ElementSize());
    QList<Variant> elements;
    elements.reserve(static_cast<qsizetype>(registers.size() / size));
    for (std::size_t at = 0; at < registers.size(); at += size)
        elements.append(DecodeElement(form, registers.subspan(at, size)));
    const VarType type = form.Type != VT_VARIANT ? form.Type : elements.first().Type();
    return ConvertTo(SafeArray(std::move(elements)), ArrayOf(type));
}

std::vector<quint16> Encode(const Form& form, const Variant& value)
{
    if (form.Element == Coding::Text) return EncodeText(form, ConvertTo(value, VT_BSTR).Get<QString>());
    if (form.Bit >= 0) return {static_cast<quint16>(EncodeBits(form, value))};
    std::vector<quint16> registers;
    if (!form.IsArray) {
        Split(form, EncodeBits(form, value), registers);
        return registers;
    }
    const qsizetype count = form.Count / form.ElementSize();
    if (!value.IsArray() || value.Array().Count() != count)
        throw ValueError(QStringLiteral("it takes an array of %1 values").arg(count));
    for (qsizetype i = 0; i < count; ++i) Split(form, EncodeBits(form, value.Array().At(i)), registers);
    return registers;
}
