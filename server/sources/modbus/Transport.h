#pragma once

#include "server/sources/modbus/Pdu.h"

#include <chrono>
#include <memory>
#include <stop_token>

/// Where a line goes, as the plant file says it.
struct LineSettings
{
    /// A host and a port, or a serial line.
    QString Host;
    qint32 Port = 502;
    QString Serial;
    qint32 Baud = 19200;
    char Parity = 'E';
    qint32 DataBits = 8;
    qint32 StopBits = 1;
    qint32 Connections = 1;
    std::chrono::milliseconds ConnectTimeout{3000};
    std::chrono::milliseconds ConnectPause{0};    ///< after connecting, before the first request
    std::chrono::milliseconds LongestPause{2000}; ///< between attempts to reach what does not answer
    std::chrono::milliseconds Quiet{200};         ///< of a serial line after an answer that did not come

    bool operator==(const LineSettings&) const = default;
    /// "HOST:PORT" or the path of the serial line.
    QString Place() const;
};

/// One connection of a line: carries requests and answers, one at a time.
class Transport
{
public:
    using Milliseconds = std::chrono::milliseconds;

    Transport() = default;
    Transport(const Transport&) = delete;
    Transport& operator=(const Transport&) = delete;
    virtual ~Transport();

    /// Waits no longer than is set, and no longer than until a stop is requested. Throws ModbusError.
    virtual void Connect() = 0;
    virtual void Close() = 0;
    virtual bool IsConnected() const = 0;
    /// The answer to a request. Throws ModbusError; after Broken it is closed.
    virtual Pdu Exchange(quint8 unit, const Pdu& request, Milliseconds timeout) = 0;
};

std::unique_ptr<Transport> MakeTransport(const LineSettings& settings, const std::stop_token& stop);
