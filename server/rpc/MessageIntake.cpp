#include "server/rpc/MessageIntake.h"

#include "server/rpc/Refusal.h"
#include "velsqllib/WireLimits.h"

#include <QtEndian>

#include <cstring>
#include <new>

namespace {

constexpr size_t BufferBytes = 16 * 1024;
constexpr uint MostSegments = 512;
/// Approximate cost for the RPC system of keeping a message, besides its content.
constexpr qint64 BytesOfMessage = 1024;
/// The most that is fetched before others get their turn.
constexpr size_t MostFetchedAtOnce = 256 * 1024;

kj::Array<capnp::word> WordsFor(size_t count)
{
    try {
        return kj::heapArray<capnp::word>(count);
    } catch (const std::bad_alloc&) {
        RefuseMessage("there is no memory for its message");
    }
}

} // namespace

ReceivedMessage::ReceivedMessage(ClientAccountRef account, kj::Array<uint32_t> segmentSizes)
    : m_SegmentSizes(kj::mv(segmentSizes))
    , m_Charge(std::move(account), BytesOfMessage)
{
    size_t words = 0;
    for (const uint32_t size : m_SegmentSizes) words += size;
    if (words > WireReaderOptions().traversalLimitInWords) RefuseMessage("it sent a message that is too large");
    m_Words = WordsFor(words);
    m_Segments = kj::heapArray<kj::ArrayPtr<const capnp::word>>(m_SegmentSizes.size());
    size_t begin = 0;
    for (size_t i = 0; i < m_Segments.size(); begin += m_SegmentSizes[i++])
        m_Segments[i] = m_Words.slice(begin, begin + m_SegmentSizes[i]);
    m_Reader = kj::heap<capnp::SegmentArrayMessageReader>(m_Segments, WireReaderOptions(words));
}

void ReceivedMessage::HasArrived(size_t bytes)
{
    m_Arrived += bytes;
    m_Charge.Set(BytesOfMessage + static_cast<qint64>(m_Arrived));
}

void ReceivedMessage::Check()
{
    if (!LeadsToItsDataOnce(*m_Reader)) RefuseMessage("it sent a message that leads to more data than it has");
}

MessageIntake::MessageIntake(kj::AsyncInputStream& stream, ClientAccountRef account)
    : m_Stream(stream)
    , m_Account(std::move(account))
    , m_Buffer(kj::heapArray<kj::byte>(BufferBytes))
{
}

kj::Promise<kj::Maybe<kj::Own<ReceivedMessage>>> MessageIntake::Next()
{
    using Message = kj::Maybe<kj::Own<ReceivedMessage>>;
    return Fetch(sizeof(capnp::word)).then([this](bool isThere) -> kj::Promise<Message> {
        if (!isThere) return Message(nullptr);
        return ReadHead().then([](kj::Own<ReceivedMessage> message) { return Message(kj::mv(message)); });
    });
}

kj::Promise<bool> MessageIntake::Fetch(size_t bytes)
{
    if (Unread() >= bytes) return true;
    std::memmove(m_Buffer.begin(), m_Buffer.begin() + m_Begin, Unread());
    m_End = Unread();
    m_Begin = 0;
    return m_Stream.tryRead(m_Buffer.begin() + m_End, bytes - m_End, m_Buffer.size() - m_End)
        .then([this, bytes](size_t count) {
            m_End += count;
            if (Unread() >= bytes) return true;
            if (Unread() > 0) RefuseMessage("it disconnected in the middle of a message");
            return false;
        });
}

kj::Promise<kj::Own<ReceivedMessage>> MessageIntake::ReadHead()
{
    const uint32_t others = qFromLittleEndian<uint32_t>(m_Buffer.begin() + m_Begin);
    if (others >= MostSegments) RefuseMessage("it sent a message in too many pieces");
    // The number of segments and their sizes, in whole words.
    const size_t words = (others + 1) / 2 + 1;
    return Fetch(words * sizeof(capnp::word)).then([this, others, words](bool) {
        auto sizes = kj::heapArray<uint32_t>(others + 1);
        for (size_t i = 0; i < sizes.size(); ++i)
            sizes[i] = qFromLittleEndian<uint32_t>(m_Buffer.begin() + m_Begin + 4 * (i + 1));
        m_Begin += words * sizeof(capnp::word);
        auto message = kj::heap<ReceivedMessage>(m_Account, kj::mv(sizes));
        const size_t here = std::min(Unread(), message->Rest().size());
        std::memcpy(message->Rest().begin(), m_Buffer.begin() + m_Begin, here);
        m_Begin += here;
        message->HasArrived(here);
        return ReadRest(kj::mv(message));
    });
}

kj::Promise<kj::Own<ReceivedMessage>> MessageIntake::ReadRest(kj::Own<ReceivedMessage> message)
{
    auto rest = message->Rest();
    if (rest.size() == 0) {
        message->Check();
        return kj::mv(message);
    }
    auto reading = m_Stream.tryRead(rest.begin(), 1, std::min(rest.size(), MostFetchedAtOnce));
    return reading.then([this, message = kj::mv(message)](size_t count) mutable {
        if (count == 0) RefuseMessage("it disconnected in the middle of a message");
        message->HasArrived(count);
        return kj::evalLater([this, message = kj::mv(message)]() mutable { return ReadRest(kj::mv(message)); });
    });
}
