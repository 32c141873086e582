#include "server/postgreshistory/CopyStream.h"

#include "server/database/LibraryConnection.h"

#include <algorithm>
#include <cstring>
#include <libpq-fe.h>

namespace {

using Result = std::unique_ptr<PGresult, decltype(&PQclear)>;

/// Small enough for the database to begin early, large enough to be worth a call of the system.
constexpr std::size_t ChunkBytes = 32 * 1024;

Result NextResult(PGconn* connection)
{
    return {PQgetResult(connection), &PQclear};
}

} // namespace

CopyStream::CopyStream(const DatabaseSession& session)
    : m_Session(session)
    , m_Chunk(ChunkBytes)
{
}

void CopyStream::Begin(const QString& statement)
{
    m_Used = 0;
    m_Connection = LibraryConnection(m_Session.Database());
    const Result begun(PQexec(m_Connection, statement.toUtf8().constData()), &PQclear);
    if (PQresultStatus(begun.get()) != PGRES_COPY_IN) throw ErrorOf(m_Connection, begun.get());
    m_IsOpen = true;
}

void CopyStream::Append(QByteArrayView bytes)
{
    const auto count = static_cast<std::size_t>(bytes.size());
    std::memcpy(Room(count), bytes.data(), count);
    Take(count);
}

void CopyStream::End()
{
    Send();
    m_IsOpen = false;
    const bool isSent = PQputCopyEnd(m_Connection, nullptr) == 1;
    const Result ended = NextResult(m_Connection);
    while (NextResult(m_Connection)) {
    }
    if (!isSent || PQresultStatus(ended.get()) != PGRES_COMMAND_OK) throw ErrorOf(m_Connection, ended.get());
}

void CopyStream::Abandon()
{
    m_Used = 0;
    if (!std::exchange(m_IsOpen, false)) return;
    PQputCopyEnd(m_Connection, "abandoned");
    while (NextResult(m_Connection)) {
    }
}

void CopyStream::MakeRoom(std::size_t bytes)
{
    if (m_Used > 0) Send();
    m_Chunk.resize(std::max(m_Chunk.size(), bytes));
}

void CopyStream::Send()
{
    const auto count = static_cast<int>(std::exchange(m_Used, 0));
    if (count > 0 && PQputCopyData(m_Connection, m_Chunk.data(), count) != 1) throw ErrorOf(m_Connection, nullptr);
}
