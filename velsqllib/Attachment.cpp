#include "velsqllib/Attachment.h"

#include "velsqllib/WireLimits.h"

namespace {

/// How long messages are read before input and timers get their turn.
constexpr std::chrono::milliseconds ReadingSlice{10};
/// While more than this waits to be sent, nothing is read, because reading would only add to it. The RPC system's queue
/// is a chain that is released link by link, recursively, when the connection goes: 50,000 links need more than a stack
/// of 8 MB.
constexpr std::size_t MostBytesWaiting = 8 * 1024 * 1024;
constexpr std::size_t MostMessagesWaiting = 20'000;
/// Total size of the server's own calls that may wait for their answers.
constexpr std::size_t MostCallWords = 8 * 1024 * 1024;

wire::Library::Client Bootstrap(capnp::RpcSystem<capnp::rpc::twoparty::VatId>& rpc)
{
    capnp::MallocMessageBuilder message(8);
    auto vatId = message.initRoot<capnp::rpc::twoparty::VatId>();
    vatId.setSide(capnp::rpc::twoparty::Side::SERVER);
    return rpc.bootstrap(vatId).castAs<wire::Library>();
}

} // namespace

Attachment::Attachment(std::shared_ptr<KjLoop> loop, int socket, const Patience& patience, Notes notes)
    : m_Loop(std::move(loop))
    , m_Patience(patience)
    , m_Notes(std::move(notes))
    , m_Stream(m_Loop->Wrap(kj::AutoCloseFd(socket)))
    , m_Messages(*m_Loop, *m_Stream, [this] { return MayRead(); })
    , m_Network(m_Messages, capnp::rpc::twoparty::Side::CLIENT, WireReaderOptions())
    , m_Rpc(capnp::makeRpcClient(m_Network))
    , m_Library(Bootstrap(m_Rpc))
    , m_Engine(nullptr)
    , m_Greeting(nullptr)
    , m_Disconnect(m_Network.onDisconnect().then([this] { SetLost(); }).eagerlyEvaluate(nullptr))
    , m_Watch(Watch().eagerlyEvaluate(nullptr))
    , m_Ping(nullptr)
    , m_Readable(socket, QSocketNotifier::Read)
    , m_Writable(socket, QSocketNotifier::Write)
{
    m_Rpc.setFlowLimit(MostCallWords);
    CreateEngine();
    m_Writable.setEnabled(false);
    for (QSocketNotifier* notifier : {&m_Readable, &m_Writable})
        QObject::connect(notifier, &QSocketNotifier::activated, notifier, [this] { Poll(); });
    m_PollSoon.setSingleShot(true);
    QObject::connect(&m_PollSoon, &QTimer::timeout, &m_PollSoon, [this] { Poll(); });
}

Attachment::~Attachment() = default;

void Attachment::CreateEngine()
{
    auto answer = m_Library.createEngineRequest().send();
    m_Engine = answer.getResult();
    m_Greeting = answer
                     .then(
                         [this](auto&& greeting) {
                             const auto name = greeting.getVersion();
                             m_Version = {QString::fromUtf8(name.begin(), static_cast<qsizetype>(name.size())),
                                          greeting.getLevel()};
                         },
                         [](kj::Exception&&) {}) // the calls on the engine report it
                     .eagerlyEvaluate(nullptr);
}

void Attachment::SetLost()
{
    m_Lost = true;
    // A closed socket would stay readable for ever.
    m_Readable.setEnabled(false);
    m_Writable.setEnabled(false);
    m_Notes.StateNews();
}

void Attachment::Poll()
{
    m_ReadUntil = Clock::now() + ReadingSlice;
    m_Messages.Resume();
    m_Loop->Poll();
    m_Readable.setEnabled(!m_Lost && !IsCongested());
    m_Writable.setEnabled(!m_Lost && (m_Messages.IsBlocked() || m_Network.getCurrentQueueSize() > 0));
    if (!m_Lost && m_Messages.IsPaused() && !IsCongested()) PollLater();
}

void Attachment::PollLater()
{
    if (!m_PollSoon.isActive()) m_PollSoon.start(0);
}

bool Attachment::IsCongested()
{
    return m_Network.getCurrentQueueSize() > MostBytesWaiting || m_Network.getCurrentQueueCount() > MostMessagesWaiting;
}

bool Attachment::MayRead()
{
    return !IsCongested() && (m_Waiting || Clock::now() < m_ReadUntil);
}

void Attachment::BeginWaiting()
{
    ++m_Call;
    m_CallSince = m_WaitingSince = Clock::now();
    m_Waiting = true;
    m_IsLong = false;
    m_Messages.Resume();
}

void Attachment::EndWaiting()
{
    m_Waiting = false;
    m_LastCall = Clock::now() - m_CallSince;
    PollLater(); // events that came with the answer
}

/// The first look at a call comes when it has just become long.
kj::Promise<void> Attachment::Watch()
{
    const auto age = std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - m_CallSince);
    const auto delay = m_Waiting && age < m_Patience.Interval ? m_Patience.Interval - age : m_Patience.Interval;
    return m_Loop->Timer().afterDelay(delay.count() * kj::MILLISECONDS).then([this] {
        LookAtCall();
        return Watch();
    });
}

void Attachment::LookAtCall()
{
    // What waited to be sent may have gone.
    m_Messages.Resume();
    // KJ's clock stands still while its loop does not run, so its timer may fire early: only our own clock counts.
    const auto now = Clock::now();
    if (!m_Waiting || now - m_CallSince < m_Patience.Interval) return;
    if (!std::exchange(m_IsLong, true)) m_Notes.LongCall();
    if (!m_Hanging) CheckAlive(now);
}

void Attachment::CheckAlive(Clock::time_point now)
{
    // Everything that came before the ping's answer has been handled by now: an answer to the call would have ended it.
    if (m_UnknownCall == m_Call) {
        m_Patience.BeforePing = std::min(m_Patience.BeforePing, m_Patience.AfterLoss);
        GiveUp("The server has lost the answer; the call was given up and may have taken effect."_kj);
    } else if (!m_PingSent) {
        if (now - m_WaitingSince >= m_Patience.BeforePing) Ping();
    } else if (now - std::max(m_PingSince, m_WaitingSince) >= m_Patience.ForPingAnswer) {
        SetHanging(true);
        GiveUp("The server does not answer; the call was given up and may still take effect."_kj);
    }
}

void Attachment::SetHanging(bool hanging)
{
    if (std::exchange(m_Hanging, hanging) != hanging) m_Notes.StateNews();
}

void Attachment::GiveUp(kj::StringPtr why)
{
    m_Calls.cancel(kj::Exception(kj::Exception::Type::FAILED, __FILE__, __LINE__, kj::heapString(why)));
}

void Attachment::Ping()
{
    m_PingSent = true;
    m_PingSince = Clock::now();
    m_PingedCall = m_Call;
    m_Ping = m_Library.pingRequest()
                 .send()
                 .then([this](auto&& answer) { NotePingAnswer(answer); },
                       [](kj::Exception&&) {}) // the connection is lost, and its own promise reports that
                 .eagerlyEvaluate(nullptr);
}

void Attachment::NotePingAnswer(wire::Library::PingResults::Reader answer)
{
    m_PingSent = false;
    SetHanging(false);
    m_WaitingSince = Clock::now();
    if (answer.getCallsUnderWay() == 0) m_UnknownCall = m_PingedCall;
    const auto what = answer.getWaitsFor();
    if (what.size() > 0 && m_Notes.Busy)
        m_Notes.Busy(QString::fromUtf8(what.begin(), static_cast<qsizetype>(what.size())));
}
