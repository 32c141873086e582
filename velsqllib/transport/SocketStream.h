#pragma once

#include <kj/async-io.h>
#include <kj/async-unix.h>
#include <kj/io.h>

/// A connected local socket as a stream for many small messages: what has arrived is fetched with one system call and
/// handed out from memory, and nobody is woken because the other end has read.
class SocketStream final : public kj::AsyncIoStream
{
public:
    /// Takes over a socket that does not block.
    SocketStream(kj::UnixEventPort& port, kj::AutoCloseFd socket);

    kj::Promise<size_t> tryRead(void* buffer, size_t minBytes, size_t maxBytes) override;
    kj::Promise<void> write(const void* buffer, size_t size) override;
    /// Sends at once what the socket takes.
    kj::Promise<void> write(kj::ArrayPtr<const kj::ArrayPtr<const kj::byte>> pieces) override;
    /// To be asked for once.
    kj::Promise<void> whenWriteDisconnected() override { return m_Arrivals.whenWriteDisconnected(); }
    void shutdownWrite() override;
    void abortRead() override;

private:
    using Bytes = kj::ArrayPtr<const kj::byte>;

    kj::Promise<size_t> Read(kj::byte* to, size_t least, size_t most, size_t done);
    size_t Take(kj::byte* to, size_t most);
    size_t Receive(kj::byte* to, size_t most);
    kj::Promise<void> Send(Bytes first, kj::ArrayPtr<const Bytes> rest);
    kj::Promise<void> WhenWritable();

    kj::UnixEventPort& m_Port;
    kj::AutoCloseFd m_Socket;
    kj::UnixEventPort::FdObserver m_Arrivals;
    /// Only while the socket is known to be empty; asked for at once, because an arrival that nobody waits for is
    /// forgotten.
    kj::Maybe<kj::Promise<void>> m_Arrival;
    bool m_Ended = false;
    kj::Array<kj::byte> m_Fetched; ///< room for what is fetched in advance, from the first small read on
    Bytes m_Unread;                ///< of it
};
