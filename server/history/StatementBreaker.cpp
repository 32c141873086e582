#include "server/history/StatementBreaker.h"

#include "server/log/Log.h"

#include <QSqlDriver>

#include <sqlite3.h>

StatementBreaker::StatementBreaker(DatabaseAddress address)
    : m_Address(std::move(address))
{
}

void StatementBreaker::Arm(const DatabaseSession& session)
{
    const int process = m_Address.IsPostgreSql() ? session.Ask(QStringLiteral("SELECT pg_backend_pid()")).toInt() : 0;
    const QVariant handle = session.Database().driver()->handle();
    const std::lock_guard lock(m_Guard);
    if (m_Broken) throw DescribedError(QStringLiteral("The statement was given up."));
    m_PostgreSqlProcess = process;
    if (!m_Address.IsPostgreSql() && handle.isValid()) m_Sqlite = *static_cast<sqlite3* const*>(handle.constData());
}

void StatementBreaker::Disarm()
{
    const std::lock_guard lock(m_Guard);
    m_Sqlite = nullptr;
    m_PostgreSqlProcess = 0;
}

void StatementBreaker::Break()
{
    const std::lock_guard lock(m_Guard);
    m_Broken = true;
    if (m_Sqlite) sqlite3_interrupt(m_Sqlite);
    const int process = std::exchange(m_PostgreSqlProcess, 0);
    if (process == 0) return;
    m_Messenger.emplace([address = m_Address, process](const std::stop_token&) {
        try {
            DatabaseSession(address).Ask(QStringLiteral("SELECT pg_cancel_backend(%1)").arg(process));
        } catch (const DescribedError& error) {
            Log(LogLevel::Debug, QStringLiteral("A statement could not be ended: ") + error.Description());
        }
    });
}
