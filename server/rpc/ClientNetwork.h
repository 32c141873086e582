#pragma once

#include "server/rpc/MessageIntake.h"
#include "server/rpc/QuestionTable.h"
#include "velsqllib/transport/KjLoop.h"

#include <capnp/rpc-twoparty.h>

#include <deque>

/// One client's connection as the RPC system sees it: messages in, messages out.
///
/// Everything that waits is on the client's account. While that is much, no further calls are read, so that a client
/// that does not read its answers holds up only itself. Messages that must not reach the RPC system end the connection.
class ClientNetwork final : public capnp::TwoPartyVatNetworkBase,
                            private capnp::TwoPartyVatNetworkBase::Connection,
                            private Sender
{
public:
    /// While more than this waits to be sent to a client, its calls are not read.
    static constexpr qint64 MostBytesUnsent = 8 * 1024 * 1024;

    ClientNetwork(KjLoop& loop, kj::AutoCloseFd socket, ClientAccountRef account);
    ~ClientNetwork() noexcept(false);

    /// Fulfilled when the RPC system has finished with the connection.
    kj::Promise<void> OnDisconnect() { return kj::mv(m_Disconnected.promise); }
    /// Why this side ended the connection; empty when it did not.
    const QString& Refusal() const { return m_Refusal; }
    /// Calls that have not been answered yet.
    int CallsUnderWay() const { return m_Questions.UnderWay(); }

private:
    class OutgoingMessage;
    using VatId = capnp::rpc::twoparty::VatId;
    using Received = kj::Maybe<kj::Own<capnp::IncomingRpcMessage>>;
    using ConnectionRef = kj::Own<capnp::TwoPartyVatNetworkBase::Connection>;

    kj::Maybe<ConnectionRef> connect(VatId::Reader) override { return nullptr; }
    kj::Promise<ConnectionRef> accept() override;
    VatId::Reader getPeerVatId() override { return m_PeerId.getRoot<VatId>(); }
    kj::Own<capnp::OutgoingRpcMessage> newOutgoingMessage(uint firstSegmentWords) override;
    kj::Promise<Received> receiveIncomingMessage() override;
    kj::Promise<void> shutdown() override;

    kj::Promise<void> WhenNotCongested();
    bool IsCongested() const;
    void ReadOn();
    kj::Promise<Received> Receive();
    void Send(kj::Own<OutgoingMessage> message);
    void SendNow() override;
    kj::Promise<void> WriteAll();
    void WriteFailed(kj::Exception&& exception);

    /// Dropped by the RPC system when it has finished with the connection.
    class Lease : public kj::Disposer
    {
    public:
        explicit Lease(ClientNetwork& network)
            : m_Network(network)
        {
        }

    private:
        void disposeImpl(void*) const override { m_Network.m_Disconnected.fulfiller->fulfill(); }
        ClientNetwork& m_Network;
    };

    KjLoop& m_Loop;
    kj::Own<kj::AsyncIoStream> m_Stream;
    ClientAccountRef m_Account;
    capnp::MallocMessageBuilder m_PeerId{4};
    kj::PromiseFulfillerPair<void> m_Disconnected = kj::newPromiseAndFulfiller<void>();
    Lease m_Lease{*this};
    bool m_Accepted = false;
    kj::Own<kj::PromiseFulfiller<ConnectionRef>> m_NeverAccepted;
    QString m_Refusal;

    QuestionTable m_Questions;
    MessageIntake m_Intake;
    kj::Canceler m_Reading;
    kj::Maybe<kj::Own<kj::PromiseFulfiller<void>>> m_ReadOn;

    std::deque<kj::Own<OutgoingMessage>> m_Unsent;
    qint64 m_BytesUnsent = 0;
    /// Something is to be sent, and the loop knows it.
    bool m_IsWriting = false;
    /// The stream has got some of it.
    bool m_HasBegun = false;
    kj::Maybe<kj::Exception> m_WriteFailure;
    kj::Maybe<kj::Own<kj::PromiseFulfiller<void>>> m_AllSent;
    kj::Promise<void> m_Writing = kj::READY_NOW;
};
