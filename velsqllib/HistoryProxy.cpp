#include "velsqllib/HistoryProxy.h"

#include "velsqllib/ResultSetProxy.h"

auto HistoryProxy::ToResult()
{
    return [this](auto& response) { return std::make_shared<ResultSetProxy>(GetConnection(), response.getResult()); };
}

ResultSetRef HistoryProxy::Execute(const QString& statement)
{
    return Call(
        &WireClient::executeRequest, [&](auto& request) { request.setStatement(WireBytes(statement)); }, ToResult());
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

ResultSetRef HistoryProxy::ReadRaw(const Variant& items, const Variant& from, const Variant& to, bool bounds,
                                   qint32 atMost, const QString& continuing)
{
    return Call(
        &WireClient::readRawRequest,
        [&](auto& request) {
            WriteValue(items, request.initItems(), Objects());
            WriteValue(from, request.initFrom(), Objects());
            WriteValue(to, request.initTo(), Objects());
            request.setBounds(bounds);
            request.setAtMost(atMost);
            request.setContinuing(WireBytes(continuing));
        },
        ToResult());
}

ResultSetRef HistoryProxy::ReadProcessed(const Variant& items, const Variant& from, const Variant& to,
                                         const Variant& interval, const Variant& aggregates)
{
    return Call(
        &WireClient::readProcessedRequest,
        [&](auto& request) {
            WriteValue(items, request.initItems(), Objects());
            WriteValue(from, request.initFrom(), Objects());
            WriteValue(to, request.initTo(), Objects());
            WriteValue(interval, request.initInterval(), Objects());
            WriteValue(aggregates, request.initAggregates(), Objects());
        },
        ToResult());
}
