#pragma once

#include "velsqllib/GuardedStream.h"
#include "velsqllib/KjLoop.h"
#include "velsqllib/velsqllib.capnp.h"

#include <QSocketNotifier>

#include <capnp/rpc-twoparty.h>

#include <chrono>
#include <functional>

/// One connected socket to a running server, and the watch over whether that server is alive.
///
/// A call may take as long as the server needs, provided that the server answers a ping meanwhile, and that it knows
/// of the call. The watch runs inside KJ's loop only, so it costs nothing while no call waits.
class Attachment
{
public:
    using Clock = std::chrono::steady_clock;

    /// When a waiting call is doubted. The sum stays below ten seconds, the operator's patience with a server that
    /// hangs.
    struct Patience
    {
        std::chrono::milliseconds Interval{30};     ///< before a call counts as long, and between two looks at it
        std::chrono::milliseconds BeforePing{1500}; ///< a call may take so long unasked
        std::chrono::milliseconds ForPingAnswer{3500};
        std::chrono::milliseconds AfterLoss{100}; ///< BeforePing with a server that has lost an answer
    };

    /// Takes over a connected socket. `longCall` is run once from inside every call that has become long.
    Attachment(std::shared_ptr<KjLoop> loop, int socket, const Patience& patience, std::function<void()> longCall);
    ~Attachment();

    wire::Library::Client& Library() { return m_Library; }
    wire::Engine::Client& Engine() { return m_Engine; }
    /// The other end closed the connection or died.
    bool IsLost() const { return m_Lost; }
    void SetLost();
    /// A ping has gone unanswered for too long; becomes false again when the answer arrives.
    bool IsHanging() const { return m_Hanging; }
    /// Runs what can run without waiting, and reads messages for some 10 ms at most. What the socket does not take
    /// yet is sent when it does.
    void Poll();

    /// Waits for a call's answer. Throws kj::Exception.
    template <typename Results>
    capnp::Response<Results> Await(capnp::RemotePromise<Results> call)
    {
        BeginWaiting();
        KJ_DEFER(m_Waiting = false);
        return m_Calls.wrap(kj::Promise<capnp::Response<Results>>(kj::mv(call))).wait(m_Loop->WaitScope());
    }

private:
    void BeginWaiting();
    bool IsCongested();
    bool MayRead();
    kj::Promise<void> Watch();
    void LookAtCall();
    void CheckAlive(Clock::time_point now);
    void Ping();
    void NotePingAnswer(qint32 callsUnderWay);
    void GiveUp(kj::StringPtr why);

    std::shared_ptr<KjLoop> m_Loop;
    Patience m_Patience;
    std::function<void()> m_LongCall;
    bool m_Waiting = false;
    Clock::time_point m_ReadUntil; ///< While no call waits.

    kj::Own<kj::AsyncIoStream> m_Stream;
    GuardedStream m_Messages;
    capnp::TwoPartyVatNetwork m_Network;
    capnp::RpcSystem<capnp::rpc::twoparty::VatId> m_Rpc;
    wire::Library::Client m_Library;
    wire::Engine::Client m_Engine;

    bool m_Lost = false;
    bool m_Hanging = false;
    bool m_IsLong = false;
    bool m_PingSent = false;
    // Calls are counted; 0 is none.
    quint64 m_Call = 0;
    quint64 m_PingedCall = 0;  ///< The ping was sent while this one waited.
    quint64 m_UnknownCall = 0; ///< The server says that it is not under way.
    Clock::time_point m_CallSince;
    Clock::time_point m_WaitingSince; ///< The call, since it began or the server last proved alive.
    Clock::time_point m_PingSince;
    kj::Canceler m_Calls;
    kj::Promise<void> m_Disconnect;
    kj::Promise<void> m_Watch;
    kj::Promise<void> m_Ping;
    // They go first: they must not outlive the socket.
    QSocketNotifier m_Readable;
    QSocketNotifier m_Writable; ///< Only on while something waits to be sent.
};
