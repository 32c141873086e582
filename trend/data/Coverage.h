#pragma once

#include "trend/core/Span.h"

#include <vector>

/// Of which times the values of a pen are known, and how exactly.
class Coverage
{
public:
    /// Every value is known.
    static constexpr Micros Exact = 0;

    /// In this span the values are now known interval by interval.
    void Add(const Span& span, Micros interval);
    void Forget(const Span& span);
    /// The parts of a span that are not known, or known in longer intervals only.
    std::vector<Span> Missing(const Span& span, Micros interval) const;
    /// The parts of a span of which something is known.
    std::vector<Span> Within(const Span& span) const;
    std::size_t Pieces() const { return m_Pieces.size(); }
    /// The last of the times of which every value is known, without a hole; empty if there is none.
    Span LastExact() const;
    bool IsEmpty() const { return m_Pieces.empty(); }

private:
    struct Piece
    {
        Span Of;
        Micros Interval;
    };

    void Merge();

    std::vector<Piece> m_Pieces; ///< in order, apart from each other
};

/// The interval for a picture that shows so much time in a column of pixels: a round one that is not longer, so that
/// pictures of the same scale ask for the same intervals.
Micros RoundInterval(Micros column);

/// The span made longer until both its ends are borders between such intervals.
Span Aligned(const Span& span, Micros interval);
