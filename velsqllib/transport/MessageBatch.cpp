#include "velsqllib/transport/MessageBatch.h"

#include <QtEndian>

namespace {

/// A larger message is written from where it lies, and no more than this is collected for a socket that takes no more.
constexpr size_t MostCollected = 64 * 1024;
/// So much leaves at once, so that the other end has something to do meanwhile.
constexpr size_t EnoughToLeave = 4 * 1024;

size_t SizeOf(MessageBatch::Segments segments)
{
    size_t size = 4 * (segments.size() / 2 * 2 + 2);
    for (const auto segment : segments) size += segment.asBytes().size();
    return size;
}

} // namespace

kj::Promise<void> MessageBatch::Add(Segments segments)
{
    if (m_Loop.GetKind() == KjLoop::Kind::Plain) return capnp::writeMessage(m_Stream, segments);
    if (m_IsBroken) return kj::READY_NOW;
    if (SizeOf(segments) > MostCollected)
        return WhenSent().then([this, segments] { return capnp::writeMessage(m_Stream, segments); });
    Collect(segments);
    if (!std::exchange(m_IsWaiting, true)) m_Loop.SendSoon(*this);
    if (m_Collected.size() >= EnoughToLeave) SendNow();
    return m_Collected.size() > MostCollected ? WhenSent() : kj::READY_NOW;
}

/// As a message goes over the wire: the number of its segments and their sizes, in whole words, and then these.
void MessageBatch::Collect(Segments segments)
{
    std::vector<quint32_le> head(segments.size() / 2 * 2 + 2);
    head[0] = static_cast<quint32>(segments.size() - 1);
    for (size_t i = 0; i < segments.size(); ++i) head[i + 1] = static_cast<quint32>(segments[i].size());
    Append(kj::arrayPtr(head.data(), head.size()).asBytes());
    for (const auto segment : segments) Append(segment.asBytes());
}

void MessageBatch::Append(kj::ArrayPtr<const kj::byte> bytes)
{
    m_Collected.insert(m_Collected.end(), bytes.begin(), bytes.end());
}

void MessageBatch::SendNow()
{
    if (!m_Leaving.empty()) return; // what is collected follows
    m_Sending = kj::evalNow([this] { return SendAll(); }).eagerlyEvaluate([this](kj::Exception&&) {
        // Nobody waits for these messages any more; the reader has to learn that they are lost.
        m_IsBroken = true;
        m_Stream.abortRead();
        End();
    });
}

kj::Promise<void> MessageBatch::SendAll()
{
    if (m_Collected.empty()) {
        End();
        return kj::READY_NOW;
    }
    m_Leaving.swap(m_Collected);
    return m_Stream.write(m_Leaving.data(), m_Leaving.size()).then([this] {
        m_Leaving.clear();
        return SendAll();
    });
}

kj::Promise<void> MessageBatch::WhenSent()
{
    if (!m_IsWaiting) return kj::READY_NOW;
    auto pair = kj::newPromiseAndFulfiller<void>();
    m_Sent = kj::mv(pair.fulfiller);
    return kj::mv(pair.promise);
}

void MessageBatch::End()
{
    m_IsWaiting = false;
    KJ_IF_MAYBE (sent, m_Sent) {
        (*sent)->fulfill();
        m_Sent = nullptr;
    }
}
