#include "server/rpc/EngineServer.h"

#include "server/plant/Convert.h"
#include "server/rpc/CallsInTurn.h"
#include "server/rpc/ControllerServer.h"
#include "server/rpc/HistoryServer.h"
#include "velsqllib/WireText.h"

LibraryServer::LibraryServer(Services& services, std::function<int()> callsUnderWay)
    : WireServer(services.Gate)
    , m_Services(services)
    , m_CallsUnderWay(std::move(callsUnderWay))
{
}

kj::Promise<void> LibraryServer::createEngine(CreateEngineContext context)
{
    if (!m_Engine) m_Engine.emplace(kj::heap<EngineServer>(m_Services, m_User));
    auto results = context.getResults();
    results.setResult(*m_Engine);
    results.setVersion(VELSQL_VERSION);
    results.setLevel(wire::LEVEL);
    return kj::READY_NOW;
}

kj::Promise<void> LibraryServer::ping(PingContext context)
{
    context.getResults().setCallsUnderWay(m_CallsUnderWay() - 1); // the ping itself does not count
    return kj::READY_NOW;
}

kj::Promise<void> LibraryServer::callInTurn(CallInTurnContext context)
{
    context.allowCancellation(); // ends with its client
    auto calls = kj::heap<CallsInTurn>(m_Services.Objects, context);
    auto done = calls->Run();
    return done.attach(kj::mv(calls));
}

EngineServer::EngineServer(Services& services, HistoryUserRef user)
    : WireServer(services.Gate)
    , m_Services(services)
    , m_User(std::move(user))
{
}

kj::Promise<void> EngineServer::getController(GetControllerContext context)
{
    const QString name = NameArgument(context.getParams().getName(), m_Services.Objects);
    context.getResults().setResult(m_Services.Objects.Controller(m_Services.Plant.Controller(name)));
    return kj::READY_NOW;
}

kj::Promise<void> EngineServer::start(StartContext)
{
    m_Services.Plant.Start();
    return kj::READY_NOW;
}

kj::Promise<void> EngineServer::stop(StopContext)
{
    m_Services.Plant.Stop();
    return kj::READY_NOW;
}

kj::Promise<void> EngineServer::snapshot(SnapshotContext context)
{
    context.allowCancellation(); // ends with its client
    return m_Services.Snapshots.Snapshot(m_Services.Plant.Controllers());
}

kj::Promise<void> EngineServer::execute(ExecuteContext context)
{
    context.allowCancellation(); // ends with its client
    auto result = m_Services.Commands.ExecuteOnEngine(FromWireText(context.getParams().getCommand()));
    return result.then([&objects = m_Services.Objects, context](const Variant& value) mutable {
        WriteValue(value, context.getResults().initResult(), objects);
    });
}

kj::Promise<void> EngineServer::getHistory(GetHistoryContext context)
{
    if (!m_History) m_History.emplace(kj::heap<HistoryServer>(m_Services, m_User));
    context.getResults().setResult(*m_History);
    return kj::READY_NOW;
}

kj::Promise<void> EngineServer::getControllerNames(GetControllerNamesContext context)
{
    QStringList names;
    for (const PlantControllerRef& controller : m_Services.Plant.Controllers()) names.append(controller->Name());
    WriteValue(TextArray(names), context.getResults().initResult(), m_Services.Objects);
    return kj::READY_NOW;
}
