#pragma once

#include "core/automation/ServerObjects.h"
#include "velsqllib/Proxy.h"

/// The server's history as the console sees it.
class HistoryProxy : public VelSQLHistory, public Proxy<wire::History>
{
public:
    using Proxy::Proxy;

    ResultSetRef Execute(const QString& statement) override;
    QString get_ConnectionString(qint32 index) override;
    bool get_Enabled() override;
    qint32 get_MaxRecord(qint32 index) override;
    QString get_TableName(qint32 index) override;
    ResultSetRef ReadRaw(const Variant& items, const Variant& from, const Variant& to, bool bounds, qint32 atMost,
                         const QString& continuing) override;
    ResultSetRef ReadProcessed(const Variant& items, const Variant& from, const Variant& to, const Variant& interval,
                               const Variant& aggregates) override;

private:
    auto ToResult();
};
