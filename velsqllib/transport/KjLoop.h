#pragma once

#include <kj/async-io.h>
#include <kj/async-unix.h>

#include <memory>
#include <vector>

/// Who collects what is to be sent, so that much of it leaves with one system call.
class Sender
{
public:
    /// Runs inside the loop; throws nothing.
    virtual void SendNow() = 0;

protected:
    ~Sender() = default;
};

/// The KJ event loop of a thread, of clients and of the server, and how it treats its sockets. There can be only one in
/// a thread, so all its users share it.
class KjLoop
{
public:
    enum class Kind
    {
        Quick, ///< polls a little before it sleeps, reads and sends with few system calls
        Plain, ///< as KJ does it by itself, to compare with; clients then do as those of the first version did
    };

    /// The loop of this thread; of what kind it is decides the one who needs it first.
    static std::shared_ptr<KjLoop> OfThisThread(Kind kind = Kind::Quick);

    KjLoop() = default;
    KjLoop(const KjLoop&) = delete;
    KjLoop& operator=(const KjLoop&) = delete;
    virtual ~KjLoop() noexcept(false) = default;

    virtual Kind GetKind() const = 0;
    virtual kj::WaitScope& WaitScope() = 0;
    virtual kj::UnixEventPort& Port() = 0;
    /// A connected socket as a stream; it must not block.
    virtual kj::Own<kj::AsyncIoStream> Wrap(kj::AutoCloseFd socket) = 0;

    kj::Timer& Timer() { return Port().getTimer(); }
    /// Runs what can run without waiting.
    void Poll() { WaitScope().poll(); }

    /// Calls the sender once: when the loop has nothing else to do, else when it looks at its sockets. A sender that is destroyed first is to be forgotten.
    void SendSoon(Sender& sender);
    void Forget(Sender& sender) { std::erase(m_Senders, &sender); }

protected:
    void Send();

private:
    /// There is somebody to be called.
    virtual void ToldToSend() = 0;

    std::vector<Sender*> m_Senders;
    bool m_IsSending = false;
};
