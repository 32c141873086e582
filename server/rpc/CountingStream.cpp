#include "server/rpc/CountingStream.h"

#include <capnp/rpc.capnp.h>
#include <capnp/serialize.h>

using capnp::rpc::Message;

CountingStream::CountingStream(kj::AsyncIoStream& stream)
    : m_Stream(stream)
{
}

kj::Promise<kj::Maybe<capnp::MessageReaderAndFds>>
CountingStream::tryReadMessage(kj::ArrayPtr<kj::AutoCloseFd> fdSpace, capnp::ReaderOptions options,
                               kj::ArrayPtr<capnp::word> scratchSpace)
{
    return m_Stream.tryReadMessage(fdSpace, options, scratchSpace)
        .then([this](kj::Maybe<capnp::MessageReaderAndFds>&& message) {
            KJ_IF_MAYBE (read, message) {
                const auto kind = read->reader->getRoot<Message>().which();
                if (kind == Message::CALL || kind == Message::BOOTSTRAP) ++m_CallsUnderWay;
            }
            return kj::mv(message);
        });
}

kj::Promise<void> CountingStream::writeMessage(kj::ArrayPtr<const int> fds,
                                               kj::ArrayPtr<const kj::ArrayPtr<const capnp::word>> segments)
{
    CountWritten(segments);
    return m_Stream.writeMessage(fds, segments);
}

kj::Promise<void>
CountingStream::writeMessages(kj::ArrayPtr<kj::ArrayPtr<const kj::ArrayPtr<const capnp::word>>> messages)
{
    for (const auto& message : messages) CountWritten(message);
    return m_Stream.writeMessages(messages);
}

void CountingStream::CountWritten(kj::ArrayPtr<const kj::ArrayPtr<const capnp::word>> segments)
{
    capnp::SegmentArrayMessageReader message(segments);
    if (message.getRoot<Message>().isReturn()) --m_CallsUnderWay;
}
