#pragma once

#include "core/automation/ResultSet.h"
#include "velsqllib/Connection.h"

/// A statement's result as the console sees it: it belongs to the server that holds it and ends with it.
class ResultSetProxy : public ResultSet
{
public:
    ResultSetProxy(ConnectionRef connection, wire::ResultSet::Client client);
    ~ResultSetProxy() noexcept override;

    QStringList Columns() override;
    ResultProgress Progress() override;
    ResultPageRef PageOf(qint64 row) override;

private:
    template <std::invocable Send, typename Read>
    auto Call(Send&& send, Read&& read);

    ConnectionRef m_Connection;
    wire::ResultSet::Client m_Client;
    quint64 m_Generation;
};
