#pragma once

#include "velsqllib/transport/MessageBatch.h"

#include <functional>

/// The client's end of the wire, guarded against a server that floods it: messages are read only while there is time
/// and room for them, and messages that no server has reason to send end the connection.
class GuardedStream final : public capnp::MessageStream
{
public:
    /// The most calls of a server (its events) that it has not finished; the bundled server has 256 for each
    /// subscription.
    static constexpr int MostOpenCalls = 1'000'000;

    /// `mayRead` is asked before each message; when it returns false, nothing is read until Resume.
    GuardedStream(KjLoop& loop, kj::AsyncIoStream& stream, std::function<bool()> mayRead);

    /// Asks `mayRead` again.
    void Resume();
    /// Nothing is read at present, because `mayRead` has returned false: there may be messages that no socket announces.
    bool IsPaused() const { return m_Resumed != nullptr; }
    /// What the operating system does not accept is waiting to be sent.
    bool IsBlocked() const { return m_Batch.IsWaiting(); }

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
    kj::Promise<void> WhenMayRead();
    void Check(capnp::MessageReader& message);

    capnp::AsyncIoMessageStream m_Stream;
    MessageBatch m_Batch;
    std::function<bool()> m_MayRead;
    kj::Maybe<kj::Own<kj::PromiseFulfiller<void>>> m_Resumed;
    int m_OpenCalls = 0;
};
