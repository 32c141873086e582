#include "velsqllib/Attachment.h"

#include "velsqllib/WireValue.h"

namespace {

wire::Library::Client Bootstrap(capnp::RpcSystem<capnp::rpc::twoparty::VatId>& rpc)
{
    capnp::MallocMessageBuilder message(8);
    auto vatId = message.initRoot<capnp::rpc::twoparty::VatId>();
    vatId.setSide(capnp::rpc::twoparty::Side::SERVER);
    return rpc.bootstrap(vatId).castAs<wire::Library>();
}

} // namespace

Attachment::Attachment(std::shared_ptr<KjLoop> loop, int socket, const Patience& patience)
    : m_Loop(std::move(loop))
    , m_Patience(patience)
    , m_Stream(m_Loop->LowLevel().wrapSocketFd(socket, kj::LowLevelAsyncIoProvider::TAKE_OWNERSHIP |
                                                           kj::LowLevelAsyncIoProvider::ALREADY_CLOEXEC |
                                                           kj::LowLevelAsyncIoProvider::ALREADY_NONBLOCK))
    , m_Network(*m_Stream, capnp::rpc::twoparty::Side::CLIENT, WireReaderOptions())
    , m_Rpc(capnp::makeRpcClient(m_Network))
    , m_Library(Bootstrap(m_Rpc))
    , m_Engine(m_Library.createEngineRequest().send().getResult())
    , m_Disconnect(m_Network.onDisconnect().then([this] { SetLost(); }).eagerlyEvaluate(nullptr))
    , m_Watch(Watch().eagerlyEvaluate(nullptr))
    , m_Ping(nullptr)
    , m_Readable(socket, QSocketNotifier::Read)
    , m_Writable(socket, QSocketNotifier::Write)
{
    m_Writable.setEnabled(false);
    for (QSocketNotifier* notifier : {&m_Readable, &m_Writable})
        QObject::connect(notifier, &QSocketNotifier::activated, notifier, [this] { Poll(); });
}

Attachment::~Attachment() = default;

void Attachment::SetLost()
{
    m_Lost = true;
    m_Readable.setEnabled(false); // a closed socket stays readable for ever
    m_Writable.setEnabled(false);
}

void Attachment::Poll()
{
    m_Loop->Poll();
    m_Writable.setEnabled(!m_Lost && m_Network.getCurrentQueueSize() > 0);
}

kj::Promise<void> Attachment::Watch()
{
    return m_Loop->Timer().afterDelay(m_Patience.Interval.count() * kj::MILLISECONDS).then([this] {
        CheckAlive();
        return Watch();
    });
}

void Attachment::CheckAlive()
{
    // KJ's clock stands still while it does not run, so its timer may fire early: only our own clock counts.
    const auto now = Clock::now();
    if (!m_Waiting || m_Hanging) return;
    if (!m_PingSent) {
        if (now - m_WaitingSince >= m_Patience.BeforePing) Ping();
    } else if (now - std::max(m_PingSince, m_WaitingSince) >= m_Patience.ForPingAnswer) {
        m_Hanging = true;
        m_Calls.cancel(
            KJ_EXCEPTION(FAILED, "The server does not answer; the call was given up and may still take effect."));
    }
}

void Attachment::Ping()
{
    m_PingSent = true;
    m_PingSince = Clock::now();
    m_Ping = m_Library.pingRequest()
                 .send()
                 .then(
                     [this](auto&&) {
                         m_PingSent = false;
                         m_Hanging = false;
                         m_WaitingSince = Clock::now();
                     },
                     [](kj::Exception&&) {}) // the connection is lost: its own promise tells
                 .eagerlyEvaluate(nullptr);
}
