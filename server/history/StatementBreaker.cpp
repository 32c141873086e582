#include "server/history/StatementBreaker.h"

#include "server/log/Log.h"

#include <atomic>
#include <sqlite3.h>
#include <thread>

namespace {

// Steps of SQLite's virtual machine: well below a millisecond.
constexpr int StepsBetweenLooks = 1000;
constexpr std::chrono::milliseconds BetweenMessages(100);

} // namespace

struct StatementBreaker::State
{
    std::atomic<bool> Broken = false;
    std::atomic<int> PostgreSqlProcess = 0;
};

StatementBreaker::StatementBreaker(DatabaseAddress address)
    : m_Address(std::move(address))
    , m_State(std::make_shared<State>())
{
}

/// Repeats until the statement has ended or the connection fails, which also happens while the database accepts no
/// further connection.
void StatementBreaker::TellPostgreSql(const DatabaseAddress& address, const State& state, const std::stop_token& stop)
{
    try {
        const DatabaseSession session(address);
        // Repeated, because a message that arrives just before the statement begins is lost.
        while (const int process = state.PostgreSqlProcess) {
            session.Ask(QStringLiteral("SELECT pg_cancel_backend(%1)").arg(process));
            if (stop.stop_requested()) return;
            std::this_thread::sleep_for(BetweenMessages);
        }
    } catch (const DescribedError& error) {
        Log(LogLevel::Debug, QStringLiteral("A statement could not be ended yet: ") + error.Description());
        std::this_thread::sleep_for(BetweenMessages);
    }
}

void StatementBreaker::Arm(const DatabaseSession& session)
{
    const int process = m_Address.IsPostgreSql() ? session.Ask(QStringLiteral("SELECT pg_backend_pid()")).toInt() : 0;
    const std::lock_guard lock(m_Guard);
    if (m_State->Broken) throw DescribedError(m_Reason);
    m_State->PostgreSqlProcess = process;
    m_Sqlite = session.SqliteHandle();
    if (!m_Sqlite) return;
    // SQLite polls this: an interrupt that came just before the statement began would be lost.
    const auto isBroken = [](void* state) { return static_cast<State*>(state)->Broken ? 1 : 0; };
    sqlite3_progress_handler(m_Sqlite, StepsBetweenLooks, isBroken, m_State.get());
}

void StatementBreaker::Disarm()
{
    // Waited for here, never by the event loop.
    std::optional<Worker> messenger;
    const std::lock_guard lock(m_Guard);
    if (m_Sqlite) sqlite3_progress_handler(m_Sqlite, 0, nullptr, nullptr);
    m_Sqlite = nullptr;
    m_State->PostgreSqlProcess = 0;
    if (m_Messenger) messenger.emplace(std::move(*m_Messenger));
    m_Messenger.reset();
}

bool StatementBreaker::IsBroken() const
{
    return m_State->Broken;
}

QString StatementBreaker::Reason() const
{
    const std::lock_guard lock(m_Guard);
    return m_Reason;
}

void StatementBreaker::Break(const QString& reason)
{
    const std::lock_guard lock(m_Guard);
    if (m_State->Broken) return;
    m_Reason = reason;
    m_State->Broken = true;
    if (m_State->PostgreSqlProcess == 0) return;
    try {
        m_Messenger.emplace([address = m_Address, state = m_State](const std::stop_token& stop) {
            while (state->PostgreSqlProcess != 0 && !stop.stop_requested()) TellPostgreSql(address, *state, stop);
        });
    } catch (...) { // also called by destructors
        Log(LogLevel::Warning, QStringLiteral("A statement that nobody waits for ends only with its next row: ") +
                                   CurrentErrorDescription());
    }
}
