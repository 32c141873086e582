#include "server/rpc/HistoryServer.h"

#include "velsqllib/WireText.h"

HistoryServer::HistoryServer(Services& services, HistoryUserRef user)
    : WireServer(services.Gate)
    , m_Services(services)
    , m_User(std::move(user))
{
}

template <typename Context>
kj::Promise<void> HistoryServer::Answer(Context context, Inquiry asked)
{
    context.allowCancellation(); // ends with its client
    auto result = m_Services.History.Ask(std::move(asked), m_User);
    return result.then([&objects = m_Services.Objects, user = m_User, context](const ResultSpoolRef& spool) mutable {
        context.getResults().setResult(objects.Result(spool, user));
    });
}

template <typename Parameters>
ReadRequest HistoryServer::RequestOf(const Parameters& parameters) const
{
    WireObjects& objects = m_Services.Objects;
    return {m_Services.Plant, ReadValue(parameters.getItems(), objects), ReadValue(parameters.getFrom(), objects),
            ReadValue(parameters.getTo(), objects)};
}

kj::Promise<void> HistoryServer::execute(ExecuteContext context)
{
    return Answer(context, {FromWireText(context.getParams().getStatement())});
}

kj::Promise<void> HistoryServer::readRaw(ReadRawContext context)
{
    const auto parameters = context.getParams();
    const RawRequest request(RequestOf(parameters), parameters.getBounds(), parameters.getAtMost(),
                             FromWireText(parameters.getContinuing()));
    return Answer(context, RawInquiry(request, m_Services.History.TableName(1)));
}

kj::Promise<void> HistoryServer::readProcessed(ReadProcessedContext context)
{
    const auto parameters = context.getParams();
    const ProcessedRequest request(RequestOf(parameters), ReadValue(parameters.getInterval(), m_Services.Objects),
                                   ReadValue(parameters.getAggregates(), m_Services.Objects));
    return Answer(context, ProcessedInquiry(request, m_Services.History.TableName(1)));
}

kj::Promise<void> HistoryServer::getConnectionString(GetConnectionStringContext context)
{
    const QString text = m_Services.History.ConnectionString(context.getParams().getIndex());
    context.getResults().setResult(WireBytes(text));
    return kj::READY_NOW;
}

kj::Promise<void> HistoryServer::getEnabled(GetEnabledContext context)
{
    context.getResults().setResult(m_Services.History.IsEnabled());
    return kj::READY_NOW;
}

kj::Promise<void> HistoryServer::getMaxRecord(GetMaxRecordContext context)
{
    context.getResults().setResult(m_Services.History.MaxRecord(context.getParams().getIndex()));
    return kj::READY_NOW;
}

kj::Promise<void> HistoryServer::getTableName(GetTableNameContext context)
{
    const QString text = m_Services.History.TableName(context.getParams().getIndex());
    context.getResults().setResult(WireBytes(text));
    return kj::READY_NOW;
}

ResultSetServer::ResultSetServer(CallGate& gate, ResultSpoolRef spool)
    : WireServer(gate)
    , m_Spool(std::move(spool))
{
}

kj::Promise<void> ResultSetServer::columns(ColumnsContext context)
{
    const QStringList& columns = m_Spool->Columns();
    auto names = context.getResults().initNames(static_cast<uint>(columns.size()));
    for (uint i = 0; i < names.size(); ++i) names.set(i, WireBytes(columns[i]));
    return kj::READY_NOW;
}

kj::Promise<void> ResultSetServer::progress(ProgressContext context)
{
    m_Spool->NoteAsked();
    const ResultProgress progress = m_Spool->Progress();
    auto results = context.getResults();
    results.setRowsSoFar(progress.RowsSoFar);
    results.setComplete(progress.Complete);
    results.setFailure(WireBytes(progress.Failure));
    results.setAffected(progress.Affected);
    return kj::READY_NOW;
}

kj::Promise<void> ResultSetServer::pageOf(PageOfContext context)
{
    m_Spool->NoteAsked();
    const auto bytes = m_Spool->PageOf(context.getParams().getRow());
    context.getResults().setPage(bytes.asPtr());
    return kj::READY_NOW;
}
