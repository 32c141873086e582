#pragma once

#include <QtGlobal>

#include <vector>

class SubscriptionServer;

/// All subscribers, and all events that wait for them. When these are too many, the subscriber that has been silent for
/// the longest time loses its events: one that reads never misses events because others do not.
class Subscribers
{
public:
    static constexpr std::size_t Most = 10'000;
    static constexpr qint64 MostWaiting = 1'000'000;

    /// Throws ServerError when there are too many.
    void Add(SubscriptionServer& subscriber);
    void Remove(SubscriptionServer& subscriber);

    std::size_t Count() const { return m_Subscribers.size(); }
    qint64 Waiting() const { return m_Waiting; }
    void AddWaiting(qint64 change) { m_Waiting += change; }
    /// Events that have been sent but not answered.
    void AddUnanswered(qint32 change) { m_Unanswered += change; }
    /// The most of them that each subscriber may have at present.
    qint32 MostUnanswered() const { return m_Unanswered < ManyUnanswered ? 512 : 4; }
    /// Counts answers: a subscriber with a lower number has been silent for longer.
    quint64 NextSign() { return ++m_Signs; }
    /// Whether there is room for one more event of `subscriber`, after others have given up theirs where that is fair.
    bool HasRoomFor(const SubscriptionServer& subscriber);

private:
    static constexpr qint32 ManyUnanswered = 50'000;

    SubscriptionServer* MostSilent() const;

    std::vector<SubscriptionServer*> m_Subscribers;
    qint64 m_Waiting = 0;
    qint32 m_Unanswered = 0;
    quint64 m_Signs = 0;
};
