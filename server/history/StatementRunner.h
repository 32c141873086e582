#pragma once

#include "server/database/HistoryDestination.h"
#include "server/history/StatementRun.h"

#include <kj/timer.h>

#include <list>

/// A user of the history, for as long as it holds anything of it. Each user has its own limits, so that nobody takes
/// the history away from the others.
class HistoryUser
{
public:
    static constexpr qint32 MostResults = 256;
    static constexpr qint32 MostStatements = 32;

    /// Counts one more result, for as long as the return value lives.
    std::shared_ptr<void> HoldResult() { return m_Results; }
    qint32 HeldResults() const { return static_cast<qint32>(m_Results.use_count() - 1); }

private:
    const std::shared_ptr<void> m_Results = std::make_shared<char>();
};

using HistoryUserRef = std::shared_ptr<HistoryUser>;

/// Runs SQL statements, each on a thread and a connection of its own, so that no statement waits for another, and the
/// event loop for none.
class StatementRunner
{
public:
    /// Of all users together: each statement has a thread.
    static constexpr std::size_t MostStatements = 512;

    StatementRunner(const StatementLimits& limits, kj::Timer& timer);
    ~StatementRunner();

    /// The result, as soon as its columns are known; its rows follow. Reading ends when the last reference to the
    /// result is dropped. Throws DescribedError when too many statements are running; the promise fails with the
    /// database's description.
    kj::Promise<ResultSpoolRef> Run(const HistoryDestination& destination, Inquiry asked, const HistoryUserRef& user);
    /// The running statements, one text each: its number, how long it has been running, how many rows it has returned,
    /// and the statement itself, shortened.
    QStringList Describe() const;
    /// Ends a statement. Throws DescribedError when no statement has this number.
    void Break(qint32 number);
    /// See Worker::RequestStop.
    void RequestStop();

private:
    struct Statement;
    using StatementRef = std::shared_ptr<Statement>;

    void RefuseTooMany(const HistoryUserRef& user) const;
    void ForgetDone();
    kj::Promise<void> Watch();
    void Judge(Statement& statement) const;

    const StatementLimits m_Limits;
    kj::Timer& m_Timer;
    qint32 m_LastNumber = 0;
    std::list<StatementRef> m_Statements;
    kj::Promise<void> m_Watching = nullptr;
    bool m_IsWatching = false;
};
