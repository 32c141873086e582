#pragma once

#include "server/sources/modbus/Pdu.h"

#include <functional>

/// A value on its way into a unit.
struct WriteJob
{
    quint64 Number = 0; ///< by which the unit's device knows it
    Form Where;
    std::vector<quint16> Registers;

    /// Writes it with as many requests as that takes; `ask` sends one and returns the answer. Throws ModbusError.
    void Do(const std::function<Pdu(const Pdu& request)>& ask) const;
};
