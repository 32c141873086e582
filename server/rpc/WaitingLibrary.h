#pragma once

#include "velsqllib/velsqllib.capnp.h"

#include <kj/async.h>

#include <QString>

#include <functional>
#include <memory>

/// The first object of a connection to a server that does not serve yet: it answers pings, and everything else as soon
/// as there is a library that does.
class WaitingLibrary : public wire::Library::Server
{
public:
    using MakeLibrary = std::function<wire::Library::Client()>;

    /// `ready` is fulfilled when `makeLibrary` may be called, which happens once; `reason` tells a client what it waits
    /// for.
    WaitingLibrary(kj::Promise<void> ready, MakeLibrary makeLibrary, std::function<int()> callsUnderWay,
                   std::function<QString()> reason);

    kj::Promise<void> createEngine(CreateEngineContext context) override;
    kj::Promise<void> ping(PingContext context) override;
    kj::Promise<void> callInTurn(CallInTurnContext context) override;

private:
    const std::shared_ptr<bool> m_IsReady = std::make_shared<bool>(false);
    const std::function<int()> m_CallsUnderWay;
    const std::function<QString()> m_Reason;
    wire::Library::Client m_Library; ///< calls wait in it
};
