#pragma once

#include "server/database/Database.h"

#include <vector>

struct pg_conn;

/// Data on its way into a table by COPY. The database takes in what was sent while more is being made.
class CopyStream
{
public:
    explicit CopyStream(const DatabaseSession& session);
    CopyStream(const CopyStream&) = delete;
    CopyStream& operator=(const CopyStream&) = delete;
    ~CopyStream() { Abandon(); }

    /// `statement` is a COPY from STDIN. Throws DatabaseError.
    void Begin(const QString& statement);
    bool IsOpen() const { return m_IsOpen; }
    /// Where the next `bytes` may be put. Valid until the next call; Take says how many were. Throws DatabaseError.
    char* Room(std::size_t bytes)
    {
        if (m_Used + bytes > m_Chunk.size()) MakeRoom(bytes);
        return m_Chunk.data() + m_Used;
    }
    void Take(std::size_t bytes) { m_Used += bytes; }
    void Append(QByteArrayView bytes);
    /// Waits until the database has taken all of it. Throws DatabaseError; it has ended in any case.
    void End();
    /// The database forgets what was sent.
    void Abandon();

private:
    void MakeRoom(std::size_t bytes);
    void Send();

    const DatabaseSession& m_Session;
    pg_conn* m_Connection = nullptr;
    bool m_IsOpen = false;
    std::vector<char> m_Chunk;
    std::size_t m_Used = 0;
};
