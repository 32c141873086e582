#pragma once

#include "trend/core/Extremes.h"
#include "trend/core/Span.h"

#include <optional>
#include <span>

/// A value at a moment; NaN where there is none: the state was not good, or it
/// was no number.
struct Sample
{
    Micros Time = 0;
    double Value = 0;
};

/// How a pen goes from one value to the next.
enum class Drawing
{
    Step, ///< a value holds until the next
    Line  ///< straight from value to value; the last one holds
};

/// What is known of the values of one pen, in the order of time. Values at the
/// same moment keep the order in which they came.
class Series
{
public:
    /// At most so many; Append then drops the oldest half.
    explicit Series(std::size_t most = 4'000'000)
        : m_Most(most)
    {
    }

    std::size_t Count() const { return m_Times.size(); }
    Micros TimeAt(std::size_t index) const { return m_Times[index]; }
    double ValueAt(std::size_t index) const { return m_Values[index]; }
    bool IsGap(std::size_t index) const { return m_Values[index] != m_Values[index]; }
    /// Whether one of these is a gap.
    bool HasGap(std::size_t begin, std::size_t end) const;
    std::span<const Micros> Times() const { return m_Times; }
    std::span<const double> Values() const { return m_Values; }
    const Extremes& Steps() const { return m_Steps; }
    /// The first one not before `time`. Quick if it is near `hint`.
    std::size_t Find(Micros time, std::size_t hint) const;
    std::size_t Find(Micros time) const;

    /// Adds what has just come; a value that is older than the last one goes
    /// where it belongs.
    void Append(const Sample& sample);
    /// From now on exactly these values, which are in order, lie in the span.
    void Replace(const Span& span, std::span<const Sample> samples);
    /// The last value is known to hold until then.
    void HoldUntil(Micros time) { m_HeldUntil = time; }
    /// No value holds after this.
    Micros HeldUntil() const;

    /// The value at a moment as it is drawn; nothing before the first value, in a
    /// gap, and after HeldUntil.
    std::optional<double> At(Micros time, Drawing drawing) const;
    /// The same when the first value behind `time` (or at it) is known to be this
    /// one.
    std::optional<double> Between(std::size_t next, Micros time, Drawing drawing) const;

private:
    void Changed(std::size_t from);
    void DropOldest();

    std::size_t m_Most;
    std::vector<Micros> m_Times;
    std::vector<double> m_Values;
    std::vector<std::size_t> m_Gaps; ///< where they are, in order
    Extremes m_Steps;
    std::optional<Micros> m_HeldUntil;
};
