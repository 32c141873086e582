#include "server/sources/modbus/Transport.h"

#include "server/sources/modbus/RtuTransport.h"
#include "server/sources/modbus/TcpTransport.h"

Transport::~Transport() = default;

QString LineSettings::Place() const
{
    return Serial.isEmpty() ? QStringLiteral("%1:%2").arg(Host, QString::number(Port)) : Serial;
}

std::unique_ptr<Transport> MakeTransport(const LineSettings& settings, const std::stop_token& stop)
{
    if (settings.Serial.isEmpty()) return std::make_unique<TcpTransport>(settings, stop);
    return std::make_unique<RtuTransport>(settings, stop);
}
