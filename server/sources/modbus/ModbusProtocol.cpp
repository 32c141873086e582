#include "server/sources/modbus/ModbusProtocol.h"

#include "server/sources/modbus/ModbusDevice.h"

using std::chrono::milliseconds;

namespace {

constexpr qint32 Minute = 60'000;

milliseconds Time(SourceSettings& settings, const char* key, qint32 lowest, milliseconds fallback)
{
    return milliseconds(settings.Seconds(key, lowest, Minute, static_cast<qint32>(fallback.count())));
}

/// Registers or bytes of a number: the most significant one first, as a rule.
bool IsLowFirst(SourceSettings& settings, const char* key)
{
    return settings.Choice(key, {QStringLiteral("high-first"), QStringLiteral("low-first")}, 0) == 1;
}

UnitSettings ReadUnit(const QString& name, SourceSettings& settings)
{
    UnitSettings unit;
    unit.Name = name;
    unit.Number = static_cast<quint8>(settings.Integer("unit", 0, 255, 1));
    unit.Timeout = Time(settings, "timeout", 1, unit.Timeout);
    unit.Pause = Time(settings, "request_pause", 0, unit.Pause);
    unit.Retries = settings.Integer("retries", 0, 100, unit.Retries);
    unit.Limits.Registers = settings.Integer("largest_block", 4, 125, unit.Limits.Registers);
    unit.Limits.Bits = settings.Integer("largest_bit_block", 1, 2000, unit.Limits.Bits);
    unit.Limits.Gap = settings.Integer("gap", 0, 2000, unit.Limits.Gap);
    unit.FirstAddress = settings.Integer("first_address", 0, 1, 0);
    unit.Bytes.SwapsWords = IsLowFirst(settings, "word_order");
    unit.Bytes.SwapsBytes = IsLowFirst(settings, "byte_order");
    unit.TakesWrites = settings.Flag("write", false);
    return unit;
}

void ReadLine(SourceSettings& settings, LineSettings& line)
{
    line.ConnectPause = Time(settings, "connect_pause", 0, line.ConnectPause);
    line.LongestPause = Time(settings, "retry_pause", 100, line.LongestPause);
}

SourceRef Make(const QString& protocol, const LineSettings& line, UnitSettings unit, const char* key,
               SourceSettings& settings)
{
    try {
        return std::make_shared<ModbusDevice>(protocol, std::move(unit), Line::At(line));
    } catch (const DescribedError& error) {
        settings.Refuse(key, error.Description());
        return nullptr;
    }
}

} // namespace

SourceRef MakeModbusTcp(const QString& name, SourceSettings& settings)
{
    LineSettings line;
    line.Host = settings.Name("host");
    line.Port = settings.Integer("port", 1, 65535, line.Port);
    line.Connections = settings.Integer("connections", 1, 16, line.Connections);
    line.ConnectTimeout = Time(settings, "connect_timeout", 1, line.ConnectTimeout);
    ReadLine(settings, line);
    UnitSettings unit = ReadUnit(name, settings);
    if (line.Host.isEmpty()) return nullptr;
    return Make(QStringLiteral("modbus-tcp"), line, std::move(unit), "host", settings);
}

SourceRef MakeModbusRtu(const QString& name, SourceSettings& settings)
{
    LineSettings line;
    line.Serial = settings.Name("serial");
    line.Baud = settings.Integer("baud", 50, 4'000'000, line.Baud);
    constexpr char parities[] = {'E', 'O', 'N'};
    line.Parity =
        parities[settings.Choice("parity", {QStringLiteral("even"), QStringLiteral("odd"), QStringLiteral("none")}, 0)];
    line.DataBits = settings.Integer("data_bits", 7, 8, line.DataBits);
    line.StopBits = settings.Integer("stop_bits", 1, 2, line.StopBits);
    line.Quiet = Time(settings, "quiet", 0, line.Quiet);
    ReadLine(settings, line);
    UnitSettings unit = ReadUnit(name, settings);
    if (line.Serial.isEmpty()) return nullptr;
    return Make(QStringLiteral("modbus-rtu"), line, std::move(unit), "serial", settings);
}
