#pragma once

#include "server/reading/ReadRequest.h"
#include "server/rpc/Services.h"
#include "server/rpc/WireServer.h"

/// The history as clients reach it.
class HistoryServer : public WireServer<wire::History>
{
public:
    HistoryServer(Services& services, HistoryUserRef user);

    kj::Promise<void> execute(ExecuteContext context) override;
    kj::Promise<void> getConnectionString(GetConnectionStringContext context) override;
    kj::Promise<void> getEnabled(GetEnabledContext context) override;
    kj::Promise<void> getMaxRecord(GetMaxRecordContext context) override;
    kj::Promise<void> getTableName(GetTableNameContext context) override;
    kj::Promise<void> readRaw(ReadRawContext context) override;
    kj::Promise<void> readProcessed(ReadProcessedContext context) override;

protected:
    CalledObject Called() const override { return {QStringLiteral("History"), {}, {}}; }

private:
    template <typename Context>
    kj::Promise<void> Answer(Context context, Inquiry asked);
    template <typename Parameters>
    ReadRequest RequestOf(const Parameters& parameters) const;

    Services& m_Services;
    const HistoryUserRef m_User;
};

/// A result's pages, handed out as they were spooled.
class ResultSetServer : public WireServer<wire::ResultSet>
{
public:
    ResultSetServer(CallGate& gate, ResultSpoolRef spool);

    kj::Promise<void> columns(ColumnsContext context) override;
    kj::Promise<void> progress(ProgressContext context) override;
    kj::Promise<void> pageOf(PageOfContext context) override;

protected:
    CalledObject Called() const override { return {QStringLiteral("ResultSet"), {}, {}}; }

private:
    const ResultSpoolRef m_Spool;
};
