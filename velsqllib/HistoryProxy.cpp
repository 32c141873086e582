#include "velsqllib/HistoryProxy.h"

#include "velsqllib/ResultSetProxy.h"

ResultSetRef HistoryProxy::Execute(const QString& statement)
{
    return Call(
        &WireClient::executeRequest, [&](auto& request) { request.setStatement(WireBytes(statement)); },
        [&](auto& response) { return std::make_shared<ResultSetProxy>(GetConnection(), response.getResult()); });
}

QString HistoryProxy::get_ConnectionString(qint32 index)
{
    return Call(&WireClient::getConnectionStringRequest, [&](auto& request) { request.setIndex(index); });
}

bool HistoryProxy::get_Enabled()
{
    return Call(&WireClient::getEnabledRequest);
}

qint32 HistoryProxy::get_MaxRecord(qint32 index)
{
    return Call(&WireClient::getMaxRecordRequest, [&](auto& request) { request.setIndex(index); });
}

QString HistoryProxy::get_TableName(qint32 index)
{
    return Call(&WireClient::getTableNameRequest, [&](auto& request) { request.setIndex(index); });
}
