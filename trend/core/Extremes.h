#pragma once

#include <cstddef>
#include <limits>
#include <span>
#include <vector>

/// The smallest and the largest of some values; NaNs do not count.
struct Extreme
{
    static constexpr double Infinity = std::numeric_limits<double>::infinity();

    bool IsEmpty() const { return Smallest > Largest; }
    void Add(double value)
    {
        Smallest = value < Smallest ? value : Smallest;
        Largest = value > Largest ? value : Largest;
    }
    void Add(const Extreme& other)
    {
        Smallest = other.Smallest < Smallest ? other.Smallest : Smallest;
        Largest = other.Largest > Largest ? other.Largest : Largest;
    }

    double Smallest = Infinity;
    double Largest = -Infinity;
};

/// The extremes of values in steps: of each 16 values, of each 16 of these and
/// so on, so that those of any run of values are found by looking at a few.
class Extremes
{
public:
    /// So many make one of the next step.
    static constexpr std::size_t Together = 16;

    /// `value` now stands behind the others.
    void Append(double value);
    /// The values from `changed` on are now these.
    void Update(std::span<const double> values, std::size_t changed);
    /// Of the values from `begin` until before `end`.
    Extreme Of(std::span<const double> values, std::size_t begin, std::size_t end) const;

private:
    std::size_t m_Count = 0;
    std::vector<std::vector<Extreme>> m_Levels;
};
