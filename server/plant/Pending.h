#pragma once

#include <QString>

#include <functional>
#include <memory>
#include <vector>

class Pending;
class SourceRound;
/// Null when there is nothing to wait for.
using PendingRef = std::shared_ptr<Pending>;

/// Things under way that a device has yet to answer, and what is to be done when the last one has ended.
class Pending
{
public:
    /// An empty text when all went well, else what failed first.
    using Action = std::function<void(const QString& failure)>;

    explicit Pending(int count)
        : m_Count(count)
    {
    }
    /// All of these together; those that are null have ended.
    static PendingRef All(const std::vector<PendingRef>& parts);

    /// One thing has ended.
    void End(const QString& failure = {});
    /// At once when everything has ended already.
    void Then(Action action);

private:
    int m_Count;
    QString m_Failure;
    std::vector<Action> m_Actions; ///< in the order in which they came
};

/// Begins to read what the round holds.
PendingRef BeginRound(SourceRound& round);
