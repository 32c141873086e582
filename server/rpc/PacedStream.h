#pragma once

#include <kj/async-io.h>
#include <kj/timer.h>

#include <functional>

/// A connection's stream that stops reading calls while the client does not read its answers, so that a client can make the
/// server keep no more than a bounded amount for it.
class PacedStream : public kj::AsyncIoStream
{
public:
    PacedStream(kj::Own<kj::AsyncIoStream> stream, kj::Timer& timer);

    /// `congested` says whether too much waits to be sent; it is asked before each read.
    void SetCongested(std::function<bool()> congested) { m_Congested = std::move(congested); }

    kj::Promise<size_t> read(void* buffer, size_t minBytes, size_t maxBytes) override;
    kj::Promise<size_t> tryRead(void* buffer, size_t minBytes, size_t maxBytes) override;
    kj::Promise<void> write(const void* buffer, size_t size) override;
    kj::Promise<void> write(kj::ArrayPtr<const kj::ArrayPtr<const kj::byte>> pieces) override;
    kj::Promise<void> whenWriteDisconnected() override;
    void shutdownWrite() override;
    void abortRead() override;

private:
    kj::Promise<void> WhenReadable();

    kj::Own<kj::AsyncIoStream> m_Stream;
    kj::Timer& m_Timer;
    std::function<bool()> m_Congested;
};
