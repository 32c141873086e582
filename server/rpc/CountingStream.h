#pragma once

#include <capnp/serialize-async.h>
#include <kj/async-io.h>

/// A connection's messages, and how many of the client's calls are under way: read and not answered yet.
class CountingStream final : public capnp::MessageStream
{
public:
    explicit CountingStream(kj::AsyncIoStream& stream);

    int CallsUnderWay() const { return m_CallsUnderWay; }

    using MessageStream::tryReadMessage;
    kj::Promise<kj::Maybe<capnp::MessageReaderAndFds>> tryReadMessage(kj::ArrayPtr<kj::AutoCloseFd> fdSpace,
                                                                      capnp::ReaderOptions options,
                                                                      kj::ArrayPtr<capnp::word> scratchSpace) override;
    using MessageStream::writeMessage;
    kj::Promise<void> writeMessage(kj::ArrayPtr<const int> fds,
                                   kj::ArrayPtr<const kj::ArrayPtr<const capnp::word>> segments) override;
    using MessageStream::writeMessages;
    kj::Promise<void>
    writeMessages(kj::ArrayPtr<kj::ArrayPtr<const kj::ArrayPtr<const capnp::word>>> messages) override;
    kj::Maybe<int> getSendBufferSize() override { return m_Stream.getSendBufferSize(); }
    kj::Promise<void> end() override { return m_Stream.end(); }

private:
    void CountWritten(kj::ArrayPtr<const kj::ArrayPtr<const capnp::word>> segments);

    capnp::AsyncIoMessageStream m_Stream;
    int m_CallsUnderWay = 0;
};
