#pragma once

#include "server/rpc/Services.h"
#include "server/rpc/WireServer.h"

#include <optional>

/// The first object of a connection, and the user that the history knows it by.
class LibraryServer : public WireServer<wire::Library>
{
public:
    LibraryServer(Services& services, std::function<int()> callsUnderWay);

    kj::Promise<void> createEngine(CreateEngineContext context) override;
    kj::Promise<void> ping(PingContext context) override;
    kj::Promise<void> callInTurn(CallInTurnContext context) override;

protected:
    CalledObject Called() const override { return {QStringLiteral("Library"), {}, {}}; }

private:
    Services& m_Services;
    const HistoryUserRef m_User = std::make_shared<HistoryUser>();
    std::optional<wire::Engine::Client> m_Engine; ///< one, however often the client asks
    const std::function<int()> m_CallsUnderWay;
};

/// The plant as clients reach it.
class EngineServer : public WireServer<wire::Engine>
{
public:
    EngineServer(Services& services, HistoryUserRef user);

    kj::Promise<void> getController(GetControllerContext context) override;
    kj::Promise<void> start(StartContext context) override;
    kj::Promise<void> stop(StopContext context) override;
    kj::Promise<void> snapshot(SnapshotContext context) override;
    kj::Promise<void> execute(ExecuteContext context) override;
    kj::Promise<void> getHistory(GetHistoryContext context) override;
    kj::Promise<void> getControllerNames(GetControllerNamesContext context) override;

protected:
    CalledObject Called() const override { return {QStringLiteral("Engine"), {}, {}}; }

private:
    Services& m_Services;
    const HistoryUserRef m_User;
    std::optional<wire::History::Client> m_History; ///< one, like the engine
};
