#pragma once

#include "server/sources/simulated/Signal.h"

struct ReplayedValue
{
    double Seconds; ///< since a fixed point
    Variant Value;
};

/// Replays recorded values at their recorded intervals; the first one begins with the plant.
class ReplaySignal : public Signal
{
public:
    /// `values` are not empty and in the order of their times. A signal that does not repeat stays at its last value;
    /// one that does shows the last value for as long as the one before.
    ReplaySignal(std::vector<ReplayedValue> values, bool repeats);
    Variant Next(double seconds, VarType type) override;

private:
    std::vector<ReplayedValue> m_Values;
    /// Of one turn, in seconds; 0 when it does not repeat.
    double m_Length;
};
