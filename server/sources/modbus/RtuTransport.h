#pragma once

#include "server/sources/modbus/Transport.h"

struct _modbus;

/// Modbus on a serial line. Nothing tells a late answer from the one that is expected: after each answer that did not
/// come the line is left quiet for a while, and emptied.
class RtuTransport : public Transport
{
public:
    RtuTransport(const LineSettings& settings, std::stop_token stop);

    void Connect() override;
    void Close() override { m_Line.reset(); }
    bool IsConnected() const override { return m_Line != nullptr; }
    Pdu Exchange(quint8 unit, const Pdu& request, Milliseconds timeout) override;

private:
    struct Closer
    {
        void operator()(_modbus* line) const;
    };
    void Empty();
    [[noreturn]] void Fail(int error);

    const LineSettings m_Settings;
    const std::stop_token m_Stop;
    std::unique_ptr<_modbus, Closer> m_Line;
};
