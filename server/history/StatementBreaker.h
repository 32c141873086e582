#pragma once

#include "server/database/Database.h"
#include "server/worker/Worker.h"

#include <mutex>
#include <optional>

/// Lets another thread end a statement whose result is no longer wanted.
class StatementBreaker
{
public:
    explicit StatementBreaker(DatabaseAddress address);

    /// Called by the thread that runs the statement: it can be broken from now on, until Disarm. Throws DescribedError,
    /// also when it has already been broken. Disarm waits for the messenger that Break has sent.
    void Arm(const DatabaseSession& session);
    void Disarm();

    /// May be called from any thread; does not wait. The first reason counts.
    void Break(const QString& reason);
    bool IsBroken() const;
    /// Empty when it has not been broken.
    QString Reason() const;

private:
    struct State;

    static void TellPostgreSql(const DatabaseAddress& address, const State& state, const std::stop_token& stop);

    const DatabaseAddress m_Address;
    mutable std::mutex m_Guard;
    const std::shared_ptr<State> m_State;
    QString m_Reason;
    sqlite3* m_Sqlite = nullptr;
    /// Tells PostgreSQL to stop, on a connection of its own.
    std::optional<Worker> m_Messenger;
};

using StatementBreakerRef = std::shared_ptr<StatementBreaker>;
