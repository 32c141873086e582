#include "velsqllib/GuardedStream.h"

#include <capnp/rpc.capnp.h>

GuardedStream::GuardedStream(KjLoop& loop, kj::AsyncIoStream& stream, std::function<bool()> mayRead)
    : m_Stream(stream)
    , m_Batch(loop, stream)
    , m_MayRead(std::move(mayRead))
{
}

void GuardedStream::Resume()
{
    KJ_IF_MAYBE (resumed, m_Resumed) {
        auto fulfiller = kj::mv(*resumed);
        m_Resumed = nullptr;
        fulfiller->fulfill();
    }
}

kj::Promise<kj::Maybe<capnp::MessageReaderAndFds>> GuardedStream::tryReadMessage(kj::ArrayPtr<kj::AutoCloseFd> fdSpace,
                                                                                 capnp::ReaderOptions options,
                                                                                 kj::ArrayPtr<capnp::word> scratchSpace)
{
    if (!m_MayRead()) return WhenMayRead().then([=, this] { return tryReadMessage(fdSpace, options, scratchSpace); });
    return m_Stream.tryReadMessage(fdSpace, options, scratchSpace)
        .then([this](kj::Maybe<capnp::MessageReaderAndFds>&& message) {
            KJ_IF_MAYBE (read, message) Check(*read->reader);
            return kj::mv(message);
        });
}

kj::Promise<void> GuardedStream::WhenMayRead()
{
    auto pair = kj::newPromiseAndFulfiller<void>();
    m_Resumed = kj::mv(pair.fulfiller);
    return kj::mv(pair.promise);
}

/// Counts what costs memory until the server takes it back; refuses messages of this kind that no server sends.
void GuardedStream::Check(capnp::MessageReader& message)
{
    using capnp::rpc::Message;
    switch (message.getRoot<Message>().which()) {
    case Message::CALL: ++m_OpenCalls; break;
    case Message::FINISH: --m_OpenCalls; break;
    case Message::BOOTSTRAP: KJ_FAIL_REQUIRE("The server asked for what only a client asks for.");
    default: break;
    }
    KJ_REQUIRE(m_OpenCalls <= MostOpenCalls, "The server does not finish its calls.");
}

kj::Promise<void> GuardedStream::writeMessage(kj::ArrayPtr<const int>,
                                              kj::ArrayPtr<const kj::ArrayPtr<const capnp::word>> segments)
{
    return m_Batch.Add(segments);
}

kj::Promise<void>
GuardedStream::writeMessages(kj::ArrayPtr<kj::ArrayPtr<const kj::ArrayPtr<const capnp::word>>> messages)
{
    if (messages.size() == 0) return kj::READY_NOW;
    auto rest = messages.slice(1, messages.size());
    return m_Batch.Add(messages.front()).then([this, rest] { return writeMessages(rest); });
}
