#include "server/rpc/WaitingLibrary.h"

WaitingLibrary::WaitingLibrary(kj::Promise<void> ready, MakeLibrary makeLibrary, std::function<int()> callsUnderWay,
                               std::function<QString()> reason)
    : m_CallsUnderWay(std::move(callsUnderWay))
    , m_Reason(std::move(reason))
    , m_Library(ready.then([isReady = m_IsReady, makeLibrary = std::move(makeLibrary)] {
        *isReady = true;
        return makeLibrary();
    }))
{
}

kj::Promise<void> WaitingLibrary::createEngine(CreateEngineContext context)
{
    context.allowCancellation(); // ends with its client
    return context.tailCall(m_Library.createEngineRequest());
}

kj::Promise<void> WaitingLibrary::ping(PingContext context)
{
    auto results = context.getResults();
    results.setCallsUnderWay(m_CallsUnderWay() - 1); // the ping itself does not count
    if (!*m_IsReady) results.setWaitsFor(m_Reason().toStdString());
    return kj::READY_NOW;
}

kj::Promise<void> WaitingLibrary::callInTurn(CallInTurnContext context)
{
    context.allowCancellation(); // ends with its client
    auto request = m_Library.callInTurnRequest(context.getParams().totalSize());
    const auto params = context.getParams();
    request.setObjects(params.getObjects());
    request.setCalls(params.getCalls());
    context.releaseParams();
    return context.tailCall(kj::mv(request));
}
