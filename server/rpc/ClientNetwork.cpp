#include "server/rpc/ClientNetwork.h"

#include "server/rpc/Refusal.h"
#include "velsqllib/WireLimits.h"
#include "velsqllib/WireText.h"

#include <kj/vector.h>
#include <QtEndian>

namespace {

/// The most that is passed to the socket at once.
constexpr qint64 BytesAtOnce = 256 * 1024;
constexpr size_t MessagesAtOnce = 64;
/// So much is sent at once, so that the client has something to do meanwhile.
constexpr qint64 EnoughToSend = 4 * 1024;
/// Approximate cost of keeping a message, besides its content.
constexpr qint64 BytesOfMessage = 1024;
/// How long a client that is dropped may take to read the reason.
constexpr auto TimeToTell = 1 * kj::SECONDS;

} // namespace

class ClientNetwork::OutgoingMessage final : public capnp::OutgoingRpcMessage, public kj::Refcounted
{
public:
    OutgoingMessage(ClientNetwork& network, uint firstSegmentWords)
        : m_Network(network)
        , m_Message(firstSegmentWords ? firstSegmentWords : capnp::SUGGESTED_FIRST_SEGMENT_WORDS)
    {
    }

    capnp::AnyPointer::Builder getBody() override { return m_Message.getRoot<capnp::AnyPointer>(); }
    size_t sizeInWords() override { return m_Message.sizeInWords(); }
    void send() override { m_Network.Send(kj::addRef(*this)); }

    capnp::rpc::Message::Reader Content() { return m_Message.getRoot<capnp::rpc::Message>().asReader(); }
    qint64 Bytes() const { return m_Bytes; }
    /// From here on nothing is added to the message.
    void Close(ClientAccountRef account);
    void AddTo(kj::Vector<kj::ArrayPtr<const kj::byte>>& pieces) const;

private:
    ClientNetwork& m_Network;
    capnp::MallocMessageBuilder m_Message;
    kj::Array<quint32_le> m_Head;
    kj::ArrayPtr<const kj::ArrayPtr<const capnp::word>> m_Segments;
    qint64 m_Bytes = 0;
    ClientCharge m_Charge;
};

void ClientNetwork::OutgoingMessage::Close(ClientAccountRef account)
{
    m_Segments = m_Message.getSegmentsForOutput();
    // Their number and sizes, in whole words.
    m_Head = kj::heapArray<quint32_le>((m_Segments.size() + 2) & ~size_t{1});
    m_Head.back() = 0;
    m_Head[0] = static_cast<quint32>(m_Segments.size() - 1);
    m_Bytes = static_cast<qint64>(m_Head.asBytes().size());
    for (size_t i = 0; i < m_Segments.size(); ++i) {
        m_Head[i + 1] = static_cast<quint32>(m_Segments[i].size());
        m_Bytes += static_cast<qint64>(m_Segments[i].asBytes().size());
    }
    m_Charge = ClientCharge(std::move(account), 2 * m_Bytes + BytesOfMessage); // segments are half full on average
}

void ClientNetwork::OutgoingMessage::AddTo(kj::Vector<kj::ArrayPtr<const kj::byte>>& pieces) const
{
    pieces.add(m_Head.asBytes());
    for (const auto segment : m_Segments) pieces.add(segment.asBytes());
}

ClientNetwork::ClientNetwork(KjLoop& loop, kj::AutoCloseFd socket, ClientAccountRef account)
    : m_Loop(loop)
    , m_Stream(loop.Wrap(kj::mv(socket)))
    , m_Account(std::move(account))
    , m_Questions(m_Account)
    , m_Intake(*m_Stream, m_Account)
{
    m_PeerId.initRoot<VatId>().setSide(capnp::rpc::twoparty::Side::CLIENT);
}

ClientNetwork::~ClientNetwork() noexcept(false)
{
    m_Loop.Forget(*this);
    m_Account->Close();
}

kj::Promise<ClientNetwork::ConnectionRef> ClientNetwork::accept()
{
    if (!std::exchange(m_Accepted, true)) return ConnectionRef(this, m_Lease);
    auto never = kj::newPromiseAndFulfiller<ConnectionRef>();
    m_NeverAccepted = kj::mv(never.fulfiller);
    return kj::mv(never.promise);
}

kj::Own<capnp::OutgoingRpcMessage> ClientNetwork::newOutgoingMessage(uint firstSegmentWords)
{
    return kj::refcounted<OutgoingMessage>(*this, firstSegmentWords);
}

kj::Promise<ClientNetwork::Received> ClientNetwork::receiveIncomingMessage()
{
    return kj::evalLater([this]() -> kj::Promise<Received> {
        KJ_IF_MAYBE (failure, m_WriteFailure) return kj::cp(*failure);
        return m_Reading.wrap(WhenNotCongested().then([this] { return Receive(); }));
    });
}

kj::Promise<ClientNetwork::Received> ClientNetwork::Receive()
{
    auto received = m_Intake.Next().then([this](kj::Maybe<kj::Own<ReceivedMessage>> arrived) -> Received {
        KJ_IF_MAYBE (message, arrived) {
            m_Questions.Received((*message)->getBody().getAs<capnp::rpc::Message>());
            return kj::Own<capnp::IncomingRpcMessage>(kj::mv(*message));
        }
        return nullptr;
    });
    return received.catch_([this](kj::Exception&& exception) -> Received {
        // A client that ends before it has read everything has only gone.
        if (exception.getType() != kj::Exception::Type::DISCONNECTED) m_Refusal = DescriptionOf(exception);
        kj::throwFatalException(kj::mv(exception));
    });
}

bool ClientNetwork::IsCongested() const
{
    return m_BytesUnsent > MostBytesUnsent;
}

kj::Promise<void> ClientNetwork::WhenNotCongested()
{
    if (!IsCongested()) return kj::READY_NOW;
    auto free = kj::newPromiseAndFulfiller<void>();
    m_ReadOn = kj::mv(free.fulfiller);
    return kj::mv(free.promise);
}

void ClientNetwork::ReadOn()
{
    if (IsCongested()) return;
    KJ_IF_MAYBE (waiting, m_ReadOn) {
        (*waiting)->fulfill();
        m_ReadOn = nullptr;
    }
}

void ClientNetwork::Send(kj::Own<OutgoingMessage> message)
{
    message->Close(m_Account);
    if (message->Bytes() / 8 >= static_cast<qint64>(WireReaderOptions().traversalLimitInWords))
        RefuseMessage("The answer is larger than a message may be.");
    m_Questions.Sent(message->Content(), message->Bytes());
    if (m_WriteFailure != nullptr) return;
    m_BytesUnsent += message->Bytes();
    m_Unsent.push_back(kj::mv(message));
    if (!std::exchange(m_IsWriting, true)) m_Loop.SendSoon(*this);
    if (m_BytesUnsent >= EnoughToSend) SendNow();
}

void ClientNetwork::SendNow()
{
    if (m_Unsent.empty() || std::exchange(m_HasBegun, true)) return;
    m_Writing = kj::evalNow([this] { return WriteAll(); }).eagerlyEvaluate([this](kj::Exception&& exception) {
        WriteFailed(kj::mv(exception));
    });
}

kj::Promise<void> ClientNetwork::WriteAll()
{
    if (m_Unsent.empty()) {
        m_IsWriting = m_HasBegun = false;
        KJ_IF_MAYBE (waiting, m_AllSent) (*waiting)->fulfill();
        return kj::READY_NOW;
    }
    kj::Vector<kj::ArrayPtr<const kj::byte>> pieces;
    qint64 bytes = 0;
    size_t count = 0;
    for (; count < m_Unsent.size() && count < MessagesAtOnce && bytes < BytesAtOnce; ++count) {
        m_Unsent[count]->AddTo(pieces);
        bytes += m_Unsent[count]->Bytes();
    }
    auto array = pieces.releaseAsArray();
    auto writing = m_Stream->write(array);
    return writing.attach(kj::mv(array)).then([this, bytes, count] {
        m_BytesUnsent -= bytes;
        m_Unsent.erase(m_Unsent.begin(), m_Unsent.begin() + static_cast<qsizetype>(count));
        ReadOn();
        return WriteAll();
    });
}

void ClientNetwork::WriteFailed(kj::Exception&& exception)
{
    // Nobody looks at failed writes; the reader notices.
    m_WriteFailure = kj::cp(exception);
    m_Unsent.clear();
    m_BytesUnsent = 0;
    KJ_IF_MAYBE (waiting, m_AllSent) (*waiting)->fulfill();
    m_Reading.cancel(exception);
}

kj::Promise<void> ClientNetwork::shutdown()
{
    kj::Promise<void> sent = kj::READY_NOW;
    if (m_IsWriting && m_WriteFailure == nullptr) {
        auto all = kj::newPromiseAndFulfiller<void>();
        m_AllSent = kj::mv(all.fulfiller);
        sent = kj::mv(all.promise);
    }
    return sent.exclusiveJoin(m_Loop.Timer().afterDelay(TimeToTell)).then([this] { m_Stream->shutdownWrite(); });
}
