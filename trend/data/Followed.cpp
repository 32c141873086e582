#include "trend/data/Followed.h"

#include "trend/core/IntervalSamples.h"

#include <algorithm>
#include <cmath>

namespace {

/// Recorded values are written with a delay.
constexpr Micros WritingTime = 10 * MicrosASecond;
/// A text takes as much memory as so many numbers.
constexpr std::size_t NumbersAText = 16;
/// What is missed again so soon is asked for as one.
constexpr Micros MissedTogether = MicrosASecond;
constexpr std::size_t MostMissedPieces = 1000;

bool IsSame(double a, double b)
{
    return a == b || (std::isnan(a) && std::isnan(b));
}

/// What lies in each interval of a run of values, as the history would tell it.
std::vector<IntervalFigures> FiguresOf(const Series& series, std::size_t begin, std::size_t end, Micros interval)
{
    std::vector<IntervalFigures> figures;
    while (begin < end) {
        const Span column = Aligned({series.TimeAt(begin), series.TimeAt(begin) + 1}, interval);
        const std::size_t next = std::min(series.Find(column.To, begin), end);
        const Extreme extreme = series.Steps().Of(series.Values(), begin, next);
        IntervalFigures of{column.From,     series.ValueAt(begin),    extreme.Smallest,
                           extreme.Largest, series.ValueAt(next - 1), series.HasGap(begin, next)};
        if (extreme.IsEmpty()) of.Smallest = of.Largest = std::nan("");
        if (std::isnan(of.First)) of.First = of.Smallest;
        if (std::isnan(of.Last)) of.Last = of.Largest;
        figures.push_back(of);
        begin = next;
    }
    return figures;
}

} // namespace

void Followed::Take(const LiveNews& news, Micros now)
{
    m_Pen->IsOld = false;
    m_Pen->Note = news.Note;
    if (!news.Note.isEmpty()) return Break(now);
    if (news.Unit && m_Pen->Settings.Unit.isEmpty()) m_Pen->Settings.Unit = *news.Unit;
    if (news.Value.Kind) m_Pen->Kind = *news.Value.Kind;
    if (news.IsFirst) Begin(news);
    if (m_Pen->Kind == PenKind::Texts) AppendText(news);
    else AppendNumber(news);
    m_Pen->Present = news.Value.Text;
    m_Pen->State = news.State;
    m_Pen->Time = news.Time;
    if (news.MissedSince) NoteMissed({*news.MissedSince, news.Time});
}

void Followed::NoteMissed(Span missed)
{
    if (missed.From - m_MissedUntil < MissedTogether) missed.From = std::min(missed.From, m_MissedUntil);
    m_Missed.Add(missed, Coverage::Exact);
    m_MissedUntil = missed.To;
}

void Followed::Begin(const LiveNews& news)
{
    if (m_Break && news.Time <= *m_Break) m_Pen->Values.Replace({*m_Break, *m_Break + 1}, {});
    m_Break.reset();
    m_Live = m_Seam = news.Time;
    m_Known.Add({news.Time, news.Time + 1}, Coverage::Exact);
}

void Followed::AppendNumber(const LiveNews& news)
{
    Series& values = m_Pen->Values;
    const double value = news.State == PenState::Good ? news.Value.Number : std::nan("");
    if (!news.IsFirst && values.Count() > 0) {
        const std::size_t last = values.Count() - 1;
        if (IsSame(values.ValueAt(last), value)) return;
        // Where it last had the value before, so that a line does not rise too soon.
        if (m_Pen->Time > values.TimeAt(last) && m_Pen->Time < news.Time && !values.IsGap(last))
            values.Append({m_Pen->Time, values.ValueAt(last)});
    }
    values.Append({news.Time, value});
}

void Followed::AppendText(const LiveNews& news)
{
    const bool isSame = !news.IsFirst && news.Value.Text == m_Pen->Present && news.State == m_Pen->State;
    if (isSame) return;
    m_Pen->Texts.Append(
        {news.Time, news.State == PenState::Good ? news.Value.Text : QStringLiteral("(no good value)")});
}

void Followed::Take(const HistoryAnswer& answer, Micros now)
{
    Hold(now); // what was heard meanwhile is not for the history to replace
    // The last interval may not be over yet.
    const Span known{answer.Known.From, std::min(answer.Known.To, now)};
    if (answer.HasTexts && m_Pen->Time == 0 && m_Pen->Values.Count() == 0) m_Pen->Kind = PenKind::Texts;
    if (answer.IsFresh) return TakeMissed(answer, now);
    for (const Span& piece : m_Known.Missing(known, answer.Interval)) Replace(piece, answer);
}

/// Whole intervals, for nobody knows where in them the values lie.
void Followed::TakeMissed(const HistoryAnswer& answer, Micros now)
{
    for (const Span& piece : m_Missed.Within(answer.Known)) {
        const Span whole = answer.Interval > 0 ? Aligned(piece, answer.Interval) : piece;
        Replace({std::max(whole.From, answer.Known.From), std::min(whole.To, answer.Known.To)}, answer);
        m_Missed.Forget(piece);
    }
    m_LacksMissed = !m_Missed.Within({Span::Earliest, now - WritingTime}).empty();
}

void Followed::Replace(const Span& piece, const HistoryAnswer& answer)
{
    const auto isBefore = [](const Sample& sample, Micros time) { return sample.Time < time; };
    const auto begin = std::lower_bound(answer.Samples.begin(), answer.Samples.end(), piece.From, isBefore);
    const auto end = std::lower_bound(begin, answer.Samples.end(), piece.To, isBefore);
    if (m_Pen->Kind != PenKind::Texts) m_Pen->Values.Replace(piece, {begin, end});
    std::vector<Marks::Mark> texts;
    std::copy_if(answer.Texts.begin(), answer.Texts.end(), std::back_inserter(texts),
                 [&](const Marks::Mark& mark) { return piece.Holds(mark.Time); });
    m_Pen->Texts.Replace(piece, texts);
    m_Known.Add(piece, answer.Interval);
}

void Followed::Break(Micros now)
{
    if (!m_Live) return;
    Hold(now);
    m_Live.reset();
    m_Break = now;
    m_Pen->Values.Append({now, std::nan("")});
}

void Followed::Hold(Micros now)
{
    if (!m_Live) return;
    m_Pen->Values.HoldUntil(now);
    if (now <= *m_Live) return;
    m_Known.Add({*m_Live, now}, Coverage::Exact);
    m_Live = now;
}

void Followed::DoubtSeam()
{
    if (m_Seam) m_Known.Forget({*m_Seam - WritingTime, *m_Seam});
    m_Seam.reset();
}

bool Followed::IsSettled(const Span& span) const
{
    return IsHeard() && (!m_Seam || *m_Seam - WritingTime >= span.To);
}

std::vector<Span> Followed::Missing(Span span, Micros interval, Micros now) const
{
    // An item that is not heard of is asked for now and then.
    const Micros latest = m_Live ? *m_Live : now - now % WritingTime;
    span.To = std::min(span.To, latest);
    return span.Length() > 0 ? m_Known.Missing(span, interval) : std::vector<Span>();
}

Span Followed::Missed(const Span& span) const
{
    const std::vector<Span> pieces = m_Missed.Within(span);
    return pieces.empty() ? Span{0, 0} : Span{pieces.front().From, pieces.back().To};
}

void Followed::Thin(const Span& shown, Micros interval, std::size_t most)
{
    if (m_Missed.Pieces() > MostMissedPieces) m_Missed.Add(Missed({Span::Earliest, Span::Latest}), Coverage::Exact);
    Series& values = m_Pen->Values;
    ThinTexts(shown, most / NumbersAText);
    if (values.Count() <= most) return;
    Forget({Span::Earliest, shown.From - shown.Length() / 2});
    if (shown.To < m_Live.value_or(Span::Latest))
        Forget({shown.To + shown.Length() / 2, m_Live.value_or(Span::Latest)});
    if (values.Count() <= most / 2) return;
    const std::size_t end = values.Count() - most / 8;
    const Span old = {values.TimeAt(0), Aligned({0, values.TimeAt(end)}, interval).To - interval};
    const std::vector<Sample> samples = SamplesOf(FiguresOf(values, 0, values.Find(old.To), interval), old.To);
    values.Replace(old, samples);
    m_Known.Add(old, interval);
}

/// Older ones are then asked of the history when they are looked at.
void Followed::ThinTexts(const Span& shown, std::size_t most)
{
    const auto all = [this] { return m_Pen->Texts.Within({Span::Earliest, Span::Latest}); };
    if (all().size() <= most) return;
    Forget({Span::Earliest, shown.From - shown.Length() / 2});
    if (all().size() > most) Forget({Span::Earliest, all()[all().size() - most / 2].Time});
}

void Followed::Forget(const Span& span)
{
    m_Pen->Values.Replace(span, {});
    m_Pen->Texts.Replace(span, {});
    m_Known.Forget(span);
    m_Missed.Forget(span);
}
