#include "tests/velsqllib/BrokenServer.h"

#include "velsqllib/velsqllib.capnp.h"

#include <kj/async-io.h>

#include <capnp/rpc-twoparty.h>

#include <unistd.h>

namespace {

class Controller final : public wire::Controller::Server
{
public:
    explicit Controller(std::atomic<int>& refused)
        : m_Refused(refused)
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
            m_Sent.add(
                request.send().then([](auto&&) {}, [this](kj::Exception&&) { ++m_Refused; }).eagerlyEvaluate(nullptr));
        }
        return kj::READY_NOW;
    }

private:
    std::atomic<int>& m_Refused;
    kj::Maybe<wire::ControllerEvents::Client> m_Events;
    kj::Vector<kj::Promise<void>> m_Sent;
};

class Engine final : public wire::Engine::Server
{
public:
    explicit Engine(std::atomic<int>& refused)
        : m_Controller(kj::heap<Controller>(refused))
    {
    }

    kj::Promise<void> getController(GetControllerContext context) override
    {
        context.getResults().setResult(m_Controller);
        return kj::READY_NOW;
    }
    kj::Promise<void> start(StartContext) override { return kj::NEVER_DONE; }
    kj::Promise<void> stop(StopContext) override { return kj::READY_NOW; }

private:
    wire::Controller::Client m_Controller;
};

class Library final : public wire::Library::Server
{
public:
    Library(qint32 callsUnderWay, std::atomic<int>& refused)
        : m_CallsUnderWay(callsUnderWay)
        , m_Engine(kj::heap<Engine>(refused))
    {
    }

    kj::Promise<void> createEngine(CreateEngineContext context) override
    {
        context.getResults().setResult(m_Engine);
        return kj::READY_NOW;
    }
    kj::Promise<void> ping(PingContext context) override
    {
        context.getResults().setCallsUnderWay(m_CallsUnderWay);
        return kj::READY_NOW;
    }

private:
    const qint32 m_CallsUnderWay;
    wire::Engine::Client m_Engine;
};

} // namespace

BrokenServer::BrokenServer(qint32 callsUnderWay)
{
    if (pipe(m_Ending) != 0) qFatal("no pipe");
    m_Thread = std::thread([=, this] { Serve(callsUnderWay, m_Ending[0]); });
    while (!m_Listening) usleep(1000);
}

BrokenServer::~BrokenServer()
{
    close(m_Ending[1]);
    m_Thread.join();
}

void BrokenServer::Serve(qint32 callsUnderWay, int ending)
{
    kj::AsyncIoContext io = kj::setupAsyncIo();
    auto end = io.lowLevelProvider->wrapInputFd(ending, kj::LowLevelAsyncIoProvider::TAKE_OWNERSHIP);
    const std::string address = "unix:" + SocketPath().toStdString();
    auto listener = io.provider->getNetwork().parseAddress(address.c_str()).wait(io.waitScope)->listen();
    capnp::TwoPartyServer server(kj::heap<Library>(callsUnderWay, m_Refused));
    const auto served = server.listen(*listener);
    m_Listening = true;
    char nothing = 0;
    end->tryRead(&nothing, 1, 1).wait(io.waitScope);
}
