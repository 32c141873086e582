#pragma once

#include "server/rpc/ClientLedger.h"
#include "velsqllib/transport/KjLoop.h"
#include "velsqllib/velsqllib.capnp.h"

#include <kj/async-io.h>
#include <kj/async-unix.h>

#include <QString>

#include <functional>
#include <optional>

/// Accepts this user's clients at a listening socket and serves each one until it goes.
class ClientHost : private kj::TaskSet::ErrorHandler
{
public:
    static constexpr int MostClients = 1024;

    /// Makes the first object of each connection; `callsUnderWay` counts that connection's calls.
    using MakeLibrary = std::function<wire::Library::Client(std::function<int()> callsUnderWay)>;

    ClientHost(KjLoop& loop, MakeLibrary makeLibrary);
    ~ClientHost() noexcept(false) { m_Ledger->Close(); }

    /// Accepts at this socket from now on, and at no other; -1 for none.
    void Listen(int listener);
    int ClientCount() const { return m_Clients; }
    /// Accepts clients that have connected but have not been seen by the loop yet.
    void TakeWaiting() { Accept(); }
    /// Called when the number of clients has changed.
    void OnCountChanged(std::function<void()> action) { m_CountChanged = std::move(action); }

private:
    struct Client;

    kj::Promise<void> AcceptAll();
    void Accept();
    void Serve(int socket);
    QString ObjectionTo(int socket) const;
    void Count(int change);
    void Say(const QString& text);
    void taskFailed(kj::Exception&& exception) override;

    KjLoop& m_Loop;
    int m_Listener = -1;
    std::optional<kj::UnixEventPort::FdObserver> m_Incoming;
    kj::Promise<void> m_Accepting = kj::READY_NOW;
    std::shared_ptr<ClientLedger> m_Ledger;
    const MakeLibrary m_MakeLibrary;
    std::function<void()> m_CountChanged;
    int m_Clients = 0;
    /// Why a client was last turned away or dropped.
    QString m_SaidLast;
    kj::TimePoint m_SaidAt = kj::origin<kj::TimePoint>();
    kj::TaskSet m_Tasks;
};
