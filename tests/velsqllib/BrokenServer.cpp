#include "tests/velsqllib/BrokenServer.h"

#include "velsqllib/velsqllib.capnp.h"

#include <kj/async-io.h>

#include <capnp/rpc-twoparty.h>

namespace {

template <typename Interface>
struct Faulty : Interface::Server
{
    explicit Faulty(BrokenServer& server)
        : m_Server(server)
    {
    }

    BrokenServer& m_Server;
};

struct Controller final : Faulty<wire::Controller>
{
    using Faulty::Faulty;

    kj::Promise<void> subscribe(SubscribeContext context) override
    {
        m_Events = context.getParams().getEvents();
        context.getResults().setSubscription(kj::heap<wire::Subscription::Server>());
        return kj::READY_NOW;
    }
    kj::Promise<void> start(StartContext) override
    {
        for (int i = 0; i < BrokenServer::Changes; ++i) {
            auto sent = KJ_ASSERT_NONNULL(m_Events).onChangeStateRequest().send();
            m_Sent.add(
                sent.then([](auto&&) {}, [this](kj::Exception&&) { ++m_Server.m_Refused; }).eagerlyEvaluate(nullptr));
        }
        return kj::READY_NOW;
    }
    kj::Promise<void> stop(StopContext) override { return kj::READY_NOW; }

    kj::Maybe<wire::ControllerEvents::Client> m_Events;
    kj::Vector<kj::Promise<void>> m_Sent;
};

struct Engine final : Faulty<wire::Engine>
{
    using Faulty::Faulty;

    kj::Promise<void> getController(GetControllerContext context) override
    {
        if (m_Server.m_Lost) kj::throwFatalException(KJ_EXCEPTION(FAILED, "lost"));
        context.getResults().setResult(m_Controller);
        return kj::READY_NOW;
    }
    kj::Promise<void> start(StartContext) override { return kj::NEVER_DONE; }
    kj::Promise<void> stop(StopContext) override { return kj::READY_NOW; }

    wire::Controller::Client m_Controller = kj::heap<Controller>(m_Server);
};

struct Library final : Faulty<wire::Library>
{
    using Faulty::Faulty;

    kj::Promise<void> createEngine(CreateEngineContext context) override
    {
        context.getResults().setResult(m_Engine);
        return kj::READY_NOW;
    }
    kj::Promise<void> ping(PingContext context) override
    {
        context.getResults().setCallsUnderWay(m_Server.m_CallsUnderWay);
        return kj::READY_NOW;
    }

    wire::Engine::Client m_Engine = kj::heap<Engine>(m_Server);
};

} // namespace

BrokenServer::~BrokenServer()
{
    eventfd_write(m_Ending, 1);
}

void BrokenServer::Serve()
{
    kj::AsyncIoContext io = kj::setupAsyncIo();
    auto listener = io.lowLevelProvider->wrapListenSocketFd(m_Socket.Descriptor());
    capnp::TwoPartyServer server(kj::heap<Library>(*this));
    const auto served = server.listen(*listener);
    auto ending = io.lowLevelProvider->wrapInputFd(m_Ending, kj::LowLevelAsyncIoProvider::TAKE_OWNERSHIP);
    eventfd_t ended = 0;
    ending->read(&ended, sizeof ended).wait(io.waitScope);
}
