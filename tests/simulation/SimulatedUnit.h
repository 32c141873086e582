#pragma once

#include "tests/simulation/SimulatedPeer.h"

#include <array>

/// Modbus units that have the same holding registers, in which anybody may write.
class SimulatedUnit final : public SimulatedPeer
{
public:
    static constexpr quint16 Port = 502;
    static constexpr quint16 Count = 100;

    using SimulatedPeer::SimulatedPeer;
    ~SimulatedUnit() override { Close(); }

    quint16 Register(int number) const { return m_Registers[static_cast<std::size_t>(number)]; }
    /// Whether a register has ever had that value.
    bool HasHad(int number, quint16 value) const { return value == 0 || m_Had.contains({number, value}); }
    /// One of them changes by itself.
    void Change() { Set(Chance().Between(0, Count - 1), static_cast<quint16>(Chance().Next())); }

private:
    void Serve(int socket) override;
    QByteArray Do(const QByteArray& request);
    void Set(int number, quint16 value);

    std::array<quint16, Count> m_Registers{};
    std::set<std::pair<int, quint16>> m_Had;
};
