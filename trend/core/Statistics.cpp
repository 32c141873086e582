#include "trend/core/Statistics.h"

#include <algorithm>
#include <cmath>

namespace {

/// What is drawn between two values that follow each other, or the part of it
/// within the span.
struct Piece
{
    Micros From;
    Micros To;
    double First;
    double Last;

    double Seconds() const { return static_cast<double>(To - From) / static_cast<double>(MicrosASecond); }
};

/// Calls `take` for each piece in order, gaps left out.
template <typename Taker>
void ForPieces(const Series& series, const Span& span, Drawing drawing, Taker take)
{
    const std::size_t inside = series.Find(span.From);
    for (std::size_t i = inside > 0 ? inside - 1 : 0; i < series.Count(); ++i) {
        const Micros begin = std::max(series.TimeAt(i), span.From);
        const bool isLast = i + 1 == series.Count();
        const Micros end = std::min(isLast ? series.HeldUntil() : series.TimeAt(i + 1), span.To);
        if (series.TimeAt(i) >= span.To) return;
        const bool isOver = end == begin && series.TimeAt(i) < begin; // where the span begins
        if (series.IsGap(i) || end < begin || isOver) continue;
        const double first = series.ValueAt(i);
        const bool holds = drawing == Drawing::Step || isLast || series.IsGap(i + 1);
        if (holds) {
            take(Piece{begin, end, first, first});
            continue;
        }
        const auto length = static_cast<double>(series.TimeAt(i + 1) - series.TimeAt(i));
        const auto at = [&](Micros time) {
            const double part = length > 0 ? static_cast<double>(time - series.TimeAt(i)) / length : 0;
            return std::lerp(first, series.ValueAt(i + 1), part);
        };
        take(Piece{begin, end, at(begin), at(end)});
    }
}

/// The squared distance from the mean, times the time.
double SquaresOf(const Piece& piece, double mean)
{
    const double a = piece.First - mean;
    const double b = piece.Last - mean;
    return (a * a + a * b + b * b) / 3 * piece.Seconds();
}

std::size_t CountIn(const Series& series, const Span& span)
{
    std::size_t count = 0;
    for (std::size_t i = series.Find(span.From), end = series.Find(span.To); i < end; ++i) count += !series.IsGap(i);
    return count;
}

/// Follows a series past a limit.
class LimitWatch
{
public:
    LimitWatch(double limit, std::size_t most)
        : m_Limit(limit)
        , m_Most(most)
    {
    }

    void Pass(const Piece& piece)
    {
        if (piece.From != m_Time) m_Side = 0; // what lies between is not known
        Reach(piece.First, piece.From);
        const double slope = (piece.Last - piece.First) / static_cast<double>(piece.To - piece.From);
        Reach(piece.Last, slope != 0 ? piece.From + std::llround((m_Limit - piece.First) / slope) : piece.To);
        m_Time = piece.To;
    }

    std::vector<Micros> Crossings;

private:
    void Reach(double value, Micros crossing)
    {
        const int side = (value > m_Limit) - (value < m_Limit);
        if (side == 0) return;
        if (m_Side == -side && Crossings.size() < m_Most) Crossings.push_back(crossing);
        m_Side = side;
    }

    const double m_Limit;
    const std::size_t m_Most;
    int m_Side = 0; ///< where it last was: below -1, above 1
    std::optional<Micros> m_Time;
};

} // namespace

std::optional<Statistics> StatisticsOf(const Series& series, const Span& span, Drawing drawing)
{
    Statistics figures;
    std::optional<Piece> first;
    Piece last{};
    ForPieces(series, span, drawing, [&](const Piece& piece) {
        if (!first) first = piece;
        last = piece;
        figures.Values.Add(piece.First);
        figures.Values.Add(piece.Last);
        figures.Covered += piece.To - piece.From;
        figures.Integral += (piece.First + piece.Last) / 2 * piece.Seconds();
    });
    if (!first) return std::nullopt;
    const double seconds = static_cast<double>(figures.Covered) / static_cast<double>(MicrosASecond);
    // Not beyond the extremes by rounding.
    figures.Mean = seconds > 0 ? std::clamp(figures.Integral / seconds, figures.Values.Smallest, figures.Values.Largest)
                               : last.Last;
    double squares = 0;
    ForPieces(series, span, drawing, [&](const Piece& piece) { squares += SquaresOf(piece, figures.Mean); });
    figures.Spread = seconds > 0 ? std::sqrt(squares / seconds) : 0;
    const Piece whole{first->From, last.To, first->First, last.Last};
    figures.Rate = whole.To > whole.From ? (whole.Last - whole.First) / whole.Seconds() : 0;
    figures.Count = CountIn(series, span);
    return figures;
}

std::vector<Micros> CrossingsOf(const Series& series, const Span& span, Drawing drawing, double limit, std::size_t most)
{
    LimitWatch watch(limit, most);
    ForPieces(series, span, drawing, [&](const Piece& piece) { watch.Pass(piece); });
    return watch.Crossings;
}
