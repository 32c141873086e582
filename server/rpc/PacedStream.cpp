#include "server/rpc/PacedStream.h"

PacedStream::PacedStream(kj::Own<kj::AsyncIoStream> stream, kj::Timer& timer)
    : m_Stream(kj::mv(stream))
    , m_Timer(timer)
    , m_Congested([] { return false; })
{
}

kj::Promise<size_t> PacedStream::read(void* buffer, size_t minBytes, size_t maxBytes)
{
    if (!m_Congested()) return m_Stream->read(buffer, minBytes, maxBytes);
    return WhenReadable().then([=, this] { return m_Stream->read(buffer, minBytes, maxBytes); });
}

kj::Promise<size_t> PacedStream::tryRead(void* buffer, size_t minBytes, size_t maxBytes)
{
    if (!m_Congested()) return m_Stream->tryRead(buffer, minBytes, maxBytes);
    return WhenReadable().then([=, this] { return m_Stream->tryRead(buffer, minBytes, maxBytes); });
}

kj::Promise<void> PacedStream::write(const void* buffer, size_t size)
{
    return m_Stream->write(buffer, size);
}

kj::Promise<void> PacedStream::write(kj::ArrayPtr<const kj::ArrayPtr<const kj::byte>> pieces)
{
    return m_Stream->write(pieces);
}

kj::Promise<void> PacedStream::whenWriteDisconnected()
{
    return m_Stream->whenWriteDisconnected();
}

void PacedStream::shutdownWrite()
{
    m_Stream->shutdownWrite();
}

void PacedStream::abortRead()
{
    m_Stream->abortRead();
}

kj::Promise<void> PacedStream::WhenReadable()
{
    if (!m_Congested()) return kj::READY_NOW;
    return m_Timer.afterDelay(10 * kj::MILLISECONDS).then([this] { return WhenReadable(); });
}
