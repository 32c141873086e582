#pragma once

#include "server/sources/modbus/Transport.h"

#include <QByteArray>

/// Modbus over TCP. Answers are known by their transaction numbers, so that a late one is never taken for another.
class TcpTransport : public Transport
{
public:
    TcpTransport(const LineSettings& settings, std::stop_token stop);
    ~TcpTransport() override;

    void Connect() override;
    void Close() override;
    bool IsConnected() const override { return m_Socket >= 0; }
    Pdu Exchange(quint8 unit, const Pdu& request, Milliseconds timeout) override;

private:
    using Clock = std::chrono::steady_clock;

    void ConnectTo(const struct addrinfo& address, Clock::time_point deadline);
    void Send(const Pdu& frame, Clock::time_point deadline);
    bool Wait(short events, Clock::time_point deadline);
    void Fill(std::size_t size, Clock::time_point deadline);
    [[noreturn]] void Break(const QString& what);

    const LineSettings m_Settings;
    const std::stop_token m_Stop;
    int m_Socket = -1;
    quint16 m_Transaction = 0;
    std::vector<quint8> m_Received; ///< not yet taken apart
};
