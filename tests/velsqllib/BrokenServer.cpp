#include "tests/velsqllib/BrokenServer.h"

#include "velsqllib/velsqllib.capnp.h"

#include <kj/async-io.h>

#include <capnp/rpc-twoparty.h>

#include <unistd.h>

namespace {

using State = BrokenServer::State;

struct Controller final : wire::Controller::Server
{
    explicit Controller(State& state)
        : m_State(state)
    {
    }

    kj::Promise<void> subscribe(SubscribeContext context) override
    {
        m_Events = context.getParams().getEvents();
        context.getResults().setSubscription(kj::heap<wire::Subscription::Server>());
        return kj::READY_NOW;
    }
    kj::Promise<void> start(StartContext) override
    {
        for (int i = 0; i < BrokenServer::Changes; ++i) {
            auto request = KJ_ASSERT_NONNULL(m_Events).onChangeStateRequest();
            m_Sent.add(request.send()
                           .then([](auto&&) {}, [this](kj::Exception&&) { ++m_State.Refused; })
                           .eagerlyEvaluate(nullptr));
        }
        return kj::READY_NOW;
    }
    kj::Promise<void> stop(StopContext) override { return kj::READY_NOW; }

    State& m_State;
    kj::Maybe<wire::ControllerEvents::Client> m_Events;
    kj::Vector<kj::Promise<void>> m_Sent;
};

struct Engine final : wire::Engine::Server
{
    explicit Engine(State& state)
        : m_State(state)
        , m_Controller(kj::heap<Controller>(state))
    {
    }

    kj::Promise<void> getController(GetControllerContext context) override
    {
        if (m_State.Lost) kj::throwFatalException(KJ_EXCEPTION(FAILED, "lost"));
        context.getResults().setResult(m_Controller);
        return kj::READY_NOW;
    }
    kj::Promise<void> start(StartContext) override { return kj::NEVER_DONE; }
    kj::Promise<void> stop(StopContext) override { return kj::READY_NOW; }

    State& m_State;
    wire::Controller::Client m_Controller;
};

struct Library final : wire::Library::Server
{
    explicit Library(State& state)
        : m_State(state)
        , m_Engine(kj::heap<Engine>(state))
    {
    }

    kj::Promise<void> createEngine(CreateEngineContext context) override
    {
        context.getResults().setResult(m_Engine);
        return kj::READY_NOW;
    }
    kj::Promise<void> ping(PingContext context) override
    {
        context.getResults().setCallsUnderWay(m_State.CallsUnderWay);
        return kj::READY_NOW;
    }

    State& m_State;
    wire::Engine::Client m_Engine;
};

} // namespace

BrokenServer::BrokenServer(qint32 callsUnderWay)
    : m_State{callsUnderWay}
{
    if (pipe(m_Ending) != 0) qFatal("no pipe");
    m_Thread = std::thread([this] { Serve(); });
    while (!m_State.Listening) usleep(1000);
}

BrokenServer::~BrokenServer()
{
    close(m_Ending[1]);
    m_Thread.join();
}

void BrokenServer::Serve()
{
    kj::AsyncIoContext io = kj::setupAsyncIo();
    auto end = io.lowLevelProvider->wrapInputFd(m_Ending[0], kj::LowLevelAsyncIoProvider::TAKE_OWNERSHIP);
    const std::string address = "unix:" + SocketPath().toStdString();
    auto listener = io.provider->getNetwork().parseAddress(address.c_str()).wait(io.waitScope)->listen();
    capnp::TwoPartyServer server(kj::heap<Library>(m_State));
    const auto served = server.listen(*listener);
    m_State.Listening = true;
    char nothing = 0;
    end->tryRead(&nothing, 1, 1).wait(io.waitScope);
}
