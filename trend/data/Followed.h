#pragma once

#include "trend/data/Coverage.h"
#include "trend/data/HistoryFeed.h"

/// A pen, and how what is heard of its item and what the history knows become one line.
class Followed
{
public:
    explicit Followed(std::shared_ptr<Pen> pen)
        : m_Pen(std::move(pen))
    {
    }

    void Take(const LiveNews& news, Micros now);
    void Take(const HistoryAnswer& answer, Micros now);
    /// Nothing is heard any more.
    void Break(Micros now);
    /// What was heard last holds until now.
    void Hold(Micros now);
    bool IsHeard() const { return m_Live || !m_Pen->Note.isEmpty(); }
    /// When everything that was heard last is known, without a hole.
    Span Heard() const { return m_Known.LastExact(); }
    /// Whether what lies in the span will stay as it is.
    bool IsSettled(const Span& span) const;
    /// What is recorded just before the first value that was heard may not have been written when it was asked for.
    void DoubtSeam();
    /// What has to be asked for, so that this span is known in such intervals.
    std::vector<Span> Missing(Span span, Micros interval, Micros now) const;
    /// Where it had more values than were heard, up to now, and the history has not been read yet; may be empty.
    Span Missed(const Span& span) const;
    /// Whether the history does not have what was missed some time ago: the item is not recorded.
    bool LacksMissed() const { return m_LacksMissed; }
    /// Keeps at most so many values: those around `shown`, older ones interval by interval.
    void Thin(const Span& shown, Micros interval, std::size_t most);

private:
    void AppendNumber(const LiveNews& news);
    void AppendText(const LiveNews& news);
    void Begin(const LiveNews& news);
    void NoteMissed(Span missed);
    void TakeMissed(const HistoryAnswer& answer, Micros now);
    void Replace(const Span& piece, const HistoryAnswer& answer);
    void ThinTexts(const Span& shown, std::size_t most);
    void Forget(const Span& span);

    std::shared_ptr<Pen> m_Pen;
    Coverage m_Known;
    std::optional<Micros> m_Live;  ///< everything is known from here on
    std::optional<Micros> m_Break; ///< the gap that was put where the server went
    std::optional<Micros> m_Seam;
    Coverage m_Missed; ///< where only some of the values were heard
    Micros m_MissedUntil = Span::Earliest;
    bool m_LacksMissed = false;
};
