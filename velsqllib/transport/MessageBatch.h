#pragma once

#include "velsqllib/transport/KjLoop.h"

#include <capnp/serialize-async.h>

#include <vector>

/// Messages on their way out: small ones that are sent in a row leave together.
class MessageBatch final : private Sender
{
public:
    using Segments = kj::ArrayPtr<const kj::ArrayPtr<const capnp::word>>;

    MessageBatch(KjLoop& loop, kj::AsyncIoStream& stream)
        : m_Loop(loop)
        , m_Stream(stream)
    {
    }
    ~MessageBatch() { m_Loop.Forget(*this); }

    /// Done when the message is collected, as it otherwise would be when the socket holds it; while much waits for the
    /// socket, when all of it is sent. Messages come one after another, each when the one before is done.
    kj::Promise<void> Add(Segments segments);
    /// Something waits to be sent; when the loop has run, because the socket takes no more.
    bool IsWaiting() const { return m_IsWaiting; }

private:
    void Collect(Segments segments);
    void Append(kj::ArrayPtr<const kj::byte> bytes);
    void SendNow() override;
    kj::Promise<void> SendAll();
    kj::Promise<void> WhenSent();
    void End();

    KjLoop& m_Loop;
    kj::AsyncIoStream& m_Stream;
    std::vector<kj::byte> m_Collected;
    std::vector<kj::byte> m_Leaving; ///< what the stream writes at present
    bool m_IsWaiting = false;
    bool m_IsBroken = false;
    kj::Maybe<kj::Own<kj::PromiseFulfiller<void>>> m_Sent;
    kj::Promise<void> m_Sending = nullptr;
};
