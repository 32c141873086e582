#include "velsqllib/GuardedStream.h"

#include "velsqllib/WireLimits.h"

#include <algorithm>
#include <capnp/rpc.capnp.h>

namespace {

/// What a short message may be read for, in words: an answer to many calls is looked at many times.
constexpr uint64_t LeastToRead = 4 * 1024 * 1024;

/// The same message, which can be read only in proportion to its size: a list may say that it has half a billion
/// elements and take no room for them, but whoever reads it would.
kj::Own<capnp::MessageReader> Limited(kj::Own<capnp::MessageReader> message)
{
    MessageSegments segments(*message);
    capnp::ReaderOptions options = WireReaderOptions(segments.Words);
    options.traversalLimitInWords = std::max(options.traversalLimitInWords, LeastToRead);
    auto array = segments.All.releaseAsArray();
    auto limited = kj::heap<capnp::SegmentArrayMessageReader>(array, options);
    return limited.attach(kj::mv(array), kj::mv(message));
}

} // namespace

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
            KJ_IF_MAYBE (read, message) {
                read->reader = Limited(kj::mv(read->reader));
                Check(*read->reader);
            }
            return kj::mv(message);
        });
}

kj::Promise<void> GuardedStream::WhenMayRead()
{
    auto pair = kj::newPromiseAndFulfiller<void>();
    m_Resumed = kj::mv(pair.fulfiller);
    return kj::mv(pair.promise);
}

/// Counts what costs memory until the server takes it back; refuses messages that no server sends.
void GuardedStream::Check(capnp::MessageReader& message)
{
    using capnp::rpc::Message;
    KJ_REQUIRE(LeadsToItsDataOnce(message), "The server sent a message that leads to more data than it has.");
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
