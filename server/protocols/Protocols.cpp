#include "server/protocols/Protocols.h"

#include "server/sources/modbus/ModbusProtocol.h"
#include "server/sources/mqtt/MqttSource.h"
#include "server/sources/replay/ReplaySource.h"

std::span<const Protocol> Protocols()
{
    static const Protocol protocols[] = {
        {QStringLiteral("modbus-tcp"), &MakeModbusTcp},
        {QStringLiteral("modbus-rtu"), &MakeModbusRtu},
        {QStringLiteral("mqtt"), &MqttSource::Make},
        {QStringLiteral("replay"), &ReplaySource::Make},
    };
    return protocols;
}
