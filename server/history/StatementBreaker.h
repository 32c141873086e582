#pragma once

#include "server/history/Database.h"
#include "server/history/Worker.h"

#include <mutex>
#include <optional>

/// Lets another thread end a statement that nobody waits for any more.
class StatementBreaker
{
public:
    explicit StatementBreaker(DatabaseAddress address);

    /// By the thread that runs the statement: from now on, until Disarm, it can be broken. Throws DescribedError, also
    /// when it has been broken before. Disarm waits for the messenger that Break has sent.
    void Arm(const DatabaseSession& session);
    void Disarm();

    /// From any thread; does not wait. The first reason stays.
    void Break(const QString& reason);
    bool IsBroken() const;
    /// Empty when it was not broken.
    QString Reason() const;

private:
    struct State;

    static void TellPostgreSql(const DatabaseAddress& address, const State& state, const std::stop_token& stop);

    const DatabaseAddress m_Address;
    mutable std::mutex m_Guard;
    const std::shared_ptr<State> m_State;
    QString m_Reason;
    sqlite3* m_Sqlite = nullptr;
    std::optional<Worker> m_Messenger; ///< tells PostgreSQL on a connection of its own
};

using StatementBreakerRef = std::shared_ptr<StatementBreaker>;
