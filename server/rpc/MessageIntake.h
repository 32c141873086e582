#pragma once

#include "server/rpc/ClientLedger.h"

#include <capnp/rpc.h>
#include <capnp/serialize.h>
#include <kj/async-io.h>

/// A client's message in memory, charged to its account for as long as anybody holds it.
class ReceivedMessage final : public capnp::IncomingRpcMessage
{
public:
    ReceivedMessage(ClientAccountRef account, kj::Array<uint32_t> segmentSizes);

    capnp::AnyPointer::Reader getBody() override { return m_Reader->getRoot<capnp::AnyPointer>(); }
    size_t sizeInWords() override { return m_Words.size(); }

    /// What has not arrived yet.
    kj::ArrayPtr<kj::byte> Rest() { return m_Words.asBytes().slice(m_Arrived, m_Words.asBytes().size()); }
    void HasArrived(size_t bytes);
    /// Of the whole message. Fails for one that could become any multiple of its size in memory.
    void Check();

private:
    kj::Array<uint32_t> m_SegmentSizes;
    kj::Array<capnp::word> m_Words;
    kj::Array<kj::ArrayPtr<const capnp::word>> m_Segments;
    size_t m_Arrived = 0;
    ClientCharge m_Charge;
    kj::Own<capnp::MessageReader> m_Reader;
};

/// Splits what a client sends into messages. Memory is taken for what has arrived, not for what a message claims.
class MessageIntake
{
public:
    MessageIntake(kj::AsyncInputStream& stream, ClientAccountRef account);

    /// The next message; null at the end. Fails for data that is not a message.
    kj::Promise<kj::Maybe<kj::Own<ReceivedMessage>>> Next();

private:
    size_t Unread() const { return m_End - m_Begin; }
    kj::Promise<bool> Fetch(size_t bytes);
    kj::Promise<kj::Own<ReceivedMessage>> ReadHead();
    kj::Promise<kj::Own<ReceivedMessage>> ReadRest(kj::Own<ReceivedMessage> message);

    kj::AsyncInputStream& m_Stream;
    ClientAccountRef m_Account;
    kj::Array<kj::byte> m_Buffer;
    size_t m_Begin = 0;
    size_t m_End = 0;
};
