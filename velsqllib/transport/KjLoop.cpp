#include "velsqllib/transport/KjLoop.h"

#include "velsqllib/transport/PollingPort.h"
#include "velsqllib/transport/SocketStream.h"

#include <QScopedValueRollback>

namespace {

/// After this many steps the loop looks at its sockets and timers, even if messages keep coming.
constexpr kj::uint MostStepsBetweenLooks = 1000;

class QuickLoop final : public KjLoop
{
public:
    Kind GetKind() const override { return Kind::Quick; }
    kj::WaitScope& WaitScope() override { return m_Scope; }
    kj::UnixEventPort& Port() override { return m_System; }
    kj::Own<kj::AsyncIoStream> Wrap(kj::AutoCloseFd socket) override
    {
        return kj::heap<SocketStream>(m_System, kj::mv(socket));
    }

private:
    /// Before other work that was put last.
    void ToldToSend() override
    {
        m_Sending = kj::evalLast([this] { Send(); }).eagerlyEvaluate(nullptr);
    }

    kj::UnixEventPort m_System;
    PollingPort m_Port{m_System, [this] { Send(); }, [this] { return m_Loop.isRunnable(); }};
    kj::EventLoop m_Loop{m_Port};
    kj::WaitScope m_Scope{m_Loop};
    kj::Promise<void> m_Sending = nullptr;
};

class PlainLoop final : public KjLoop
{
public:
    Kind GetKind() const override { return Kind::Plain; }
    kj::WaitScope& WaitScope() override { return m_Context.waitScope; }
    kj::UnixEventPort& Port() override { return m_Context.unixEventPort; }
    kj::Own<kj::AsyncIoStream> Wrap(kj::AutoCloseFd socket) override
    {
        return m_Context.lowLevelProvider->wrapSocketFd(kj::mv(socket),
                                                        kj::LowLevelAsyncIoProvider::ALREADY_CLOEXEC |
                                                            kj::LowLevelAsyncIoProvider::ALREADY_NONBLOCK);
    }

private:
    void ToldToSend() override
    {
        m_Sending = kj::evalLater([this] { Send(); }).eagerlyEvaluate(nullptr);
    }

    kj::AsyncIoContext m_Context = kj::setupAsyncIo();
    kj::Promise<void> m_Sending = nullptr;
};

} // namespace

std::shared_ptr<KjLoop> KjLoop::OfThisThread(Kind kind)
{
    thread_local std::weak_ptr<KjLoop> current;
    if (auto loop = current.lock()) return loop;
    std::shared_ptr<KjLoop> loop;
    if (kind == Kind::Quick) loop = std::make_shared<QuickLoop>();
    else loop = std::make_shared<PlainLoop>();
    loop->WaitScope().setBusyPollInterval(MostStepsBetweenLooks);
    current = loop;
    return loop;
}

void KjLoop::SendSoon(Sender& sender)
{
    m_Senders.push_back(&sender);
    if (m_Senders.size() == 1 && !m_IsSending) ToldToSend();
}

void KjLoop::Send()
{
    const QScopedValueRollback sending(m_IsSending, true);
    while (!m_Senders.empty()) {
        Sender& sender = *m_Senders.back();
        m_Senders.pop_back();
        sender.SendNow();
    }
}
