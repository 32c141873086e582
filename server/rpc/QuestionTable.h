#pragma once

#include "server/rpc/ClientLedger.h"

#include <capnp/rpc.capnp.h>

#include <unordered_map>

/// What a client has asked and not finished with, and what its messages may look like.
///
/// The RPC system trusts the other end further than a server may: a list in the protocol's own structs may claim any
/// length, promises may be resolved to themselves, calls on the answers of calls on answers nest without limit, and
/// answers that contain objects are kept until the client finishes its question.
class QuestionTable
{
public:
    /// Steps from an answer to an object inside it.
    static constexpr uint MostSteps = 16;
    /// Objects in one message.
    static constexpr uint MostObjects = 65'536;
    /// Calls on the answer of a call on the answer ..., none of which has arrived yet.
    static constexpr int MostInARow = 64;
    static constexpr std::size_t MostUnfinished = 100'000;

    explicit QuestionTable(ClientAccountRef account);

    /// To be called for each message from the client. Throws kj::Exception when it must not reach the RPC system.
    void Received(capnp::rpc::Message::Reader message);
    /// To be called for each message to the client.
    void Sent(capnp::rpc::Message::Reader message, qint64 bytes);

    /// Calls that have not been answered yet.
    int UnderWay() const { return m_UnderWay; }

private:
    struct Question
    {
        /// How many calls, up to this one, wait for each other.
        int Row = 1;
        bool Answered = false;
        bool Finished = false;
        ClientCharge Charge;
    };
    using Caps = capnp::List<capnp::rpc::CapDescriptor>::Reader;

    void Ask(uint32_t id, int row, qint64 bytes);
    void Finish(uint32_t id);
    void Answer(capnp::rpc::Return::Reader answer, qint64 bytes);
    void ReceivedCall(capnp::rpc::Call::Reader call);
    static void ReceivedReturn(capnp::rpc::Return::Reader answer);
    int RowOf(capnp::rpc::PromisedAnswer::Reader answer) const;
    int RowOf(Caps caps) const;
    static void Check(Caps caps);

    ClientAccountRef m_Account;
    std::unordered_map<uint32_t, Question> m_Questions;
    int m_UnderWay = 0;
};
