#pragma once

#include "velsqllib/KjLoop.h"
#include "velsqllib/velsqllib.capnp.h"

#include <QSocketNotifier>

#include <capnp/rpc-twoparty.h>

#include <chrono>
#include <functional>

/// One connected socket to a running server, and the watch over whether that server is alive.
///
/// A call may take as long as the server needs, provided that the server answers a ping meanwhile. The watch runs inside KJ's loop
/// only, so it costs nothing while no call waits.
class Attachment
{
public:
    using Clock = std::chrono::steady_clock;

    /// When a waiting call is doubted. The sum stays below ten seconds, the operator's patience with a server that hangs.
    struct Patience
    {
        std::chrono::milliseconds Interval{500};    ///< between two looks
        std::chrono::milliseconds BeforePing{1500}; ///< a call may take so long unasked
        std::chrono::milliseconds ForPingAnswer{3500};
    };

    /// Takes over a connected socket.
    Attachment(std::shared_ptr<KjLoop> loop, int socket, const Patience& patience);
    ~Attachment();

    wire::Library::Client& Library() { return m_Library; }
    wire::Engine::Client& Engine() { return m_Engine; }
    /// The other end closed the connection or died.
    bool IsLost() const { return m_Lost; }
    void SetLost();
    /// A ping has gone unanswered for too long; becomes false again when the answer arrives.
    bool IsHanging() const { return m_Hanging; }
    /// Runs what can run without waiting. What the socket does not take yet is sent when it does.
    void Poll();

    /// Waits for a call's answer. Throws kj::Exception.
    template <typename Results>
    capnp::Response<Results> Await(capnp::RemotePromise<Results> call)
    {
        m_WaitingSince = Clock::now();
        m_Waiting = true;
        KJ_DEFER(m_Waiting = false);
        return m_Calls.wrap(kj::Promise<capnp::Response<Results>>(kj::mv(call))).wait(m_Loop->WaitScope());
    }

private:
    kj::Promise<void> Watch();
    void CheckAlive();
    void Ping();

    std::shared_ptr<KjLoop> m_Loop;
    Patience m_Patience;
    kj::Own<kj::AsyncIoStream> m_Stream;
    capnp::TwoPartyVatNetwork m_Network;
    capnp::RpcSystem<capnp::rpc::twoparty::VatId> m_Rpc;
    wire::Library::Client m_Library;
    wire::Engine::Client m_Engine;

    bool m_Lost = false;
    bool m_Hanging = false;
    bool m_Waiting = false;
    bool m_PingSent = false;
    Clock::time_point m_WaitingSince;
    Clock::time_point m_PingSince;
    kj::Canceler m_Calls;
    kj::Promise<void> m_Disconnect;
    kj::Promise<void> m_Watch;
    kj::Promise<void> m_Ping;
    // They go first: they must not outlive the socket.
    QSocketNotifier m_Readable;
    QSocketNotifier m_Writable; ///< Only on while something waits to be sent.
};
