#pragma once

#include "server/rpc/Services.h"
#include "server/rpc/WireServer.h"
#include "velsqllib/velsqllib.capnp.h"

/// What a connection starts with.
class LibraryServer : public WireServer<wire::Library>
{
public:
    explicit LibraryServer(Services& services);

    kj::Promise<void> createEngine(CreateEngineContext context) override;
    kj::Promise<void> ping(PingContext context) override;

protected:
    CalledObject Called() const override { return {QStringLiteral("Library"), {}, {}}; }

private:
    Services& m_Services;
};

/// The plant as clients reach it.
class EngineServer : public WireServer<wire::Engine>
{
public:
    explicit EngineServer(Services& services);

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
};
