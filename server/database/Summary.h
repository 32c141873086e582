#pragma once

#include <QtGlobal>

#include <optional>

/// What was recorded of an item in a minute, an hour or a day of UTC, or in several of them. Only good values that are
/// numbers are summed up.
struct Summary
{
    bool operator==(const Summary&) const = default;
    void Add(const Summary& other);
    std::optional<double> Mean() const;
    /// Whether nothing but good numbers was recorded, so that they say all.
    bool IsComplete() const { return Rows == Numbers; }

    qint64 Start = 0;   ///< as all moments in microseconds since 1970-01-01 UTC
    qint64 Rows = 0;    ///< of any kind
    qint64 Numbers = 0; ///< good ones; the rest counts only when there are any
    double Smallest = 0.0;
    double Largest = 0.0;
    double Sum = 0.0;
    double First = 0.0;
    double Last = 0.0;
    qint64 FirstUtc = 0;
    qint64 LastUtc = 0;
    qint64 WorstState = 0;
};

/// How bad a state is: failed (1) is worse than undefined (2), and that than good (0).
int Badness(qint64 state);
