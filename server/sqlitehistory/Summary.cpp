#include "server/sqlitehistory/Summary.h"

#include <algorithm>

namespace {

int Badness(qint64 state)
{
    return state == 0 ? 0 : state == 1 ? 2 : 1;
}

} // namespace

void Summary::Add(const HistoryRow& row)
{
    const bool counts = row.State == 0 && row.Value.IsNumber();
    const double number = row.Value.Number();
    const qint64 utc = row.Utc();
    Add(Summary{1, counts ? 1 : 0, number, number, number, number, number, utc, utc, row.State});
}

void Summary::Add(const Summary& other)
{
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

qint64 SpanBegin(qint64 utc, qint64 span)
{
    const qint64 rest = utc % span;
    return utc - (rest < 0 ? rest + span : rest);
}
