#pragma once

#include "velsqllib/GuardedStream.h"
#include "velsqllib/transport/KjLoop.h"
#include "velsqllib/velsqllib.capnp.h"

#include <QSocketNotifier>
#include <QTimer>

#include <capnp/rpc-twoparty.h>

#include <chrono>
#include <functional>
#include <optional>

/// What a server says of itself.
struct ServerVersion
{
    QString Name;      ///< empty for one that says nothing yet
    quint16 Level = 0; ///< see the schema
};

/// One connected socket to a running server, and the watch over whether that server is alive.
///
/// A call may take as long as the server needs, provided that the server answers a ping meanwhile and knows about the
/// call. The watch runs only inside KJ's loop, so it costs nothing while no call waits.
class Attachment
{
public:
    using Clock = std::chrono::steady_clock;

    /// When a waiting call is doubted. The sum stays below ten seconds, the time that an operator waits for a server
    /// that hangs.
    struct Patience
    {
        /// Time before a call counts as long, and between two looks at it.
        std::chrono::milliseconds Interval{30};
        /// How long a call may take before a ping.
        std::chrono::milliseconds BeforePing{1500};
        std::chrono::milliseconds ForPingAnswer{3500};
        /// BeforePing for a server that has lost an answer.
        std::chrono::milliseconds AfterLoss{100};
    };

    /// What a connection does about its attachment's fate; both run inside KJ's loop.
    struct Notes
    {
        std::function<void()> LongCall;  ///< once for every call that becomes long
        std::function<void()> StateNews; ///< it was lost, began to hang, or answers again
        /// What the server has to do before it can answer any call; now and then while one waits for that.
        std::function<void(const QString& what)> Busy;
    };

    /// Takes over a connected socket.
    Attachment(std::shared_ptr<KjLoop> loop, int socket, const Patience& patience, Notes notes);
    ~Attachment();

    wire::Library::Client& Library() { return m_Library; }
    wire::Engine::Client& Engine() { return m_Engine; }
    /// Not known before the first call that waits has been answered.
    const std::optional<ServerVersion>& Version() const { return m_Version; }
    /// The other end closed the connection or died.
    bool IsLost() const { return m_Lost; }
    void SetLost();
    /// A ping has gone unanswered for too long; becomes false again when its answer arrives.
    bool IsHanging() const { return m_Hanging; }
    /// Neither lost nor hanging, and the last call took 100 ms at most.
    bool IsPrompt() const { return !m_Lost && !m_Hanging && m_LastCall <= std::chrono::milliseconds(100); }
    /// Runs what can run without waiting, and reads messages for about 10 ms at most. What the socket does not accept
    /// now is sent when it does.
    void Poll();
    /// Soon polls once, because KJ does not run by itself.
    void PollLater();

    /// Waits for the answer of a call. Throws kj::Exception.
    template <typename Results>
    capnp::Response<Results> Await(capnp::RemotePromise<Results> call)
    {
        BeginWaiting();
        KJ_DEFER(EndWaiting());
        return m_Calls.wrap(kj::Promise<capnp::Response<Results>>(kj::mv(call))).wait(m_Loop->WaitScope());
    }

private:
    void CreateEngine();
    void BeginWaiting();
    void EndWaiting();
    bool IsCongested();
    bool MayRead();
    kj::Promise<void> Watch();
    void LookAtCall();
    void CheckAlive(Clock::time_point now);
    void Ping();
    void NotePingAnswer(wire::Library::PingResults::Reader answer);
    void SetHanging(bool hanging);
    void GiveUp(kj::StringPtr why);

    std::shared_ptr<KjLoop> m_Loop;
    Patience m_Patience;
    Notes m_Notes;
    bool m_Waiting = false;
    Clock::time_point m_ReadUntil; ///< while no call waits

    kj::Own<kj::AsyncIoStream> m_Stream;
    GuardedStream m_Messages;
    capnp::TwoPartyVatNetwork m_Network;
    capnp::RpcSystem<capnp::rpc::twoparty::VatId> m_Rpc;
    wire::Library::Client m_Library;
    wire::Engine::Client m_Engine;
    std::optional<ServerVersion> m_Version;

    bool m_Lost = false;
    bool m_Hanging = false;
    bool m_IsLong = false;
    bool m_PingSent = false;
    // Calls are numbered from 1; 0 means none.
    quint64 m_Call = 0;
    /// The call that waited when the ping was sent.
    quint64 m_PingedCall = 0;
    /// The call that the server says is not under way.
    quint64 m_UnknownCall = 0;
    Clock::time_point m_CallSince;
    Clock::duration m_LastCall{}; ///< how long it took
    /// Since the call began or the server last proved alive.
    Clock::time_point m_WaitingSince;
    Clock::time_point m_PingSince;
    kj::Canceler m_Calls;
    kj::Promise<void> m_Greeting;
    kj::Promise<void> m_Disconnect;
    kj::Promise<void> m_Watch;
    kj::Promise<void> m_Ping;
    // Destroyed first: they must not outlive the socket.
    QSocketNotifier m_Readable;
    /// Enabled only while something waits to be sent.
    QSocketNotifier m_Writable;
    /// What has been read may wait in memory, where no notifier sees it.
    QTimer m_PollSoon;
};
