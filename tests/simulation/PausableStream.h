#pragma once

#include <kj/async-io.h>

#include <utility>

/// A connection whose owner may stop reading for a while.
class PausableStream final : public kj::AsyncIoStream
{
public:
    explicit PausableStream(kj::Own<kj::AsyncIoStream> stream)
        : m_Stream(kj::mv(stream))
    {
    }

    void SetReading(bool isReading)
    {
        if (std::exchange(m_IsReading, isReading) == isReading) return;
        if (isReading) return m_Resume->fulfill();
        auto gate = kj::newPromiseAndFulfiller<void>();
        m_Resume = kj::mv(gate.fulfiller);
        m_Gate = gate.promise.fork();
    }

    kj::Promise<size_t> tryRead(void* buffer, size_t least, size_t most) override
    {
        if (m_IsReading) return m_Stream->tryRead(buffer, least, most);
        return m_Gate.addBranch().then([=, this] { return tryRead(buffer, least, most); });
    }
    kj::Promise<void> write(const void* buffer, size_t size) override { return m_Stream->write(buffer, size); }
    kj::Promise<void> write(kj::ArrayPtr<const kj::ArrayPtr<const kj::byte>> pieces) override
    {
        return m_Stream->write(pieces);
    }
    kj::Promise<void> whenWriteDisconnected() override { return m_Stream->whenWriteDisconnected(); }
    void shutdownWrite() override { m_Stream->shutdownWrite(); }

private:
    kj::Own<kj::AsyncIoStream> m_Stream;
    bool m_IsReading = true;
    kj::Own<kj::PromiseFulfiller<void>> m_Resume;
    kj::ForkedPromise<void> m_Gate = nullptr;
};
