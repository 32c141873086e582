#include "server/database/Summary.h"

#include <algorithm>

void Summary::Add(const Summary& other)
{
    Start = Rows == 0 ? other.Start : std::min(Start, other.Start);
    Rows += other.Rows;
    if (Badness(other.WorstState) > Badness(WorstState)) WorstState = other.WorstState;
    if (other.Numbers == 0) return;
    const bool isFirst = Numbers == 0;
    if (isFirst || other.FirstUtc < FirstUtc) {
        First = other.First;
        FirstUtc = other.FirstUtc;
    }
    if (isFirst || other.LastUtc >= LastUtc) {
        Last = other.Last;
        LastUtc = other.LastUtc;
    }
    Smallest = isFirst ? other.Smallest : std::min(Smallest, other.Smallest);
    Largest = isFirst ? other.Largest : std::max(Largest, other.Largest);
    Sum += other.Sum;
    Numbers += other.Numbers;
}

std::optional<double> Summary::Mean() const
{
    return Numbers > 0 ? std::optional(Sum / static_cast<double>(Numbers)) : std::nullopt;
}

int Badness(qint64 state)
{
    return state == 0 ? 0 : state == 1 ? 2 : 1;
}
