#pragma once

#include "trend/data/Coverage.h"
#include "trend/data/FeedThread.h"
#include "trend/data/HistoryFeed.h"

#include <QElapsedTimer>
#include <QHash>

class Followed;

/// The pens of a trend with what is known of their values: the present as it comes, and of the past what is shown.
class TrendData : public QObject
{
    Q_OBJECT

public:
    /// Numbers kept of all pens together.
    static constexpr std::size_t MostValues = 4'000'000;

    explicit TrendData(const MakeLibrary& make, QObject* parent = nullptr);
    ~TrendData() override;

    const std::vector<std::shared_ptr<Pen>>& Pens() const { return m_Pens; }
    /// Does nothing and returns false for an item that has a pen already.
    bool Add(const PenSettings& settings);
    void Remove(std::size_t pen);
    /// The pen at `from` goes to `to`.
    void Move(std::size_t from, std::size_t to);

    /// The time now, as the server's clock has it.
    Micros Now() const;
    /// Asks for what is not known of this span in columns of `width` pixels.
    void Show(const Span& shown, int width);
    /// The time, up to the present or to when the server went, of which each value of a pen was heard or read.
    Span Heard(const Pen& pen) const;
    /// Whether each item has said its value, or why it has none.
    bool HasHeardAll() const;
    /// Whether all that is shown is known as exactly as it was asked for, or cannot be.
    bool IsComplete();
    /// Whether something has been asked for and has not come yet.
    bool IsWaiting() const { return m_IsWaiting; }
    /// Why the server, or its history, cannot be asked at present; mostly empty.
    const QString& Absence() const { return m_Absence; }
    QString HistoryTrouble() const;

Q_SIGNALS:
    /// There are other values to be shown.
    void Changed();
    /// Pens were added, removed or moved.
    void PensChanged();

private:
    void ConnectFeeds();
    void WatchAll();
    void TakeNews(const QList<LiveNews>& news);
    void TakeAnswers(const QList<HistoryAnswer>& answers);
    void TakeAbsence(const QString& absence);
    void TakeEnd(const QString& trouble);
    void NoteClock(Micros newest);
    void HoldPresent();
    void AskForMissing();
    Micros Interval() const;
    QList<HistoryQuestion> Missing() const;
    QList<HistoryQuestion> Missed() const;
    void Thin();

    std::vector<std::shared_ptr<Pen>> m_Pens;
    QHash<QString, std::shared_ptr<Followed>> m_Followed; ///< key: the pen's name
    Span m_Shown;
    int m_Width = 1;
    Micros m_ClockOffset = 0; ///< the server's clock is so much ahead
    QString m_Absence;
    QString m_HistoryTrouble;
    bool m_IsWaiting = false;
    QList<HistoryQuestion> m_Asked;
    QElapsedTimer m_SinceAsked;
    QElapsedTimer m_SinceMissed; ///< was asked for
    qint64 m_MissedPauseMs = 0;  ///< until it is asked for again
    QTimer m_AskSoon;
    QTimer m_Thin;
    FeedThread<LiveFeed> m_Live;
    FeedThread<HistoryFeed> m_History;
};
