#include "server/rpc/QuestionTable.h"

#include "server/rpc/Refusal.h"

using namespace capnp;

namespace {

/// Approximate cost of a call under way, of a call that is answered but not finished, and of each object in it, besides
/// the messages themselves.
constexpr qint64 BytesOfCall = 4096;
constexpr qint64 BytesOfQuestion = 512;
constexpr qint64 BytesOfObject = 256;

} // namespace

QuestionTable::QuestionTable(ClientAccountRef account)
    : m_Account(std::move(account))
{
}

void QuestionTable::Received(rpc::Message::Reader message)
{
    switch (message.which()) {
    case rpc::Message::BOOTSTRAP: return Ask(message.getBootstrap().getQuestionId(), 1, BytesOfCall);
    case rpc::Message::CALL: return ReceivedCall(message.getCall());
    case rpc::Message::RETURN: return ReceivedReturn(message.getReturn());
    case rpc::Message::FINISH: return Finish(message.getFinish().getQuestionId());
    case rpc::Message::RELEASE:
    case rpc::Message::ABORT:
    case rpc::Message::UNIMPLEMENTED: return;
    default: RefuseMessage("it sent a kind of message that the server does not take");
    }
}

void QuestionTable::ReceivedCall(rpc::Call::Reader call)
{
    if (!call.getSendResultsTo().isCaller()) RefuseMessage("it sent a call whose answer is to go elsewhere");
    const auto caps = call.getParams().getCapTable();
    Check(caps);
    const auto target = call.getTarget();
    const int before = target.isPromisedAnswer() ? RowOf(target.getPromisedAnswer()) : 0;
    const int row = std::max(before, RowOf(caps)) + 1;
    if (row > MostInARow) RefuseMessage("it sent too many calls each of which waits for another one");
    Ask(call.getQuestionId(), row, BytesOfCall + caps.size() * BytesOfObject);
}

void QuestionTable::ReceivedReturn(rpc::Return::Reader answer)
{
    if (answer.isResults()) Check(answer.getResults().getCapTable());
    else if (!answer.isException() && !answer.isCanceled()) // "canceled" is an event whose subscription has ended
        RefuseMessage("it sent a kind of answer that the server does not take");
}

void QuestionTable::Ask(uint32_t id, int row, qint64 bytes)
{
    if (m_Questions.size() >= MostUnfinished) RefuseMessage("it has too many unfinished calls");
    Question question{.Row = row, .Charge = ClientCharge(m_Account, bytes)};
    if (m_Questions.try_emplace(id, std::move(question)).second) ++m_UnderWay;
    else RefuseMessage("it used a call's number twice");
}

void QuestionTable::Finish(uint32_t id)
{
    const auto found = m_Questions.find(id);
    if (found == m_Questions.end() || found->second.Finished) RefuseMessage("it finished a call that it had not made");
    if (found->second.Answered) m_Questions.erase(found);
    else found->second.Finished = true;
}

void QuestionTable::Sent(rpc::Message::Reader message, qint64 bytes)
{
    if (message.isReturn()) Answer(message.getReturn(), bytes);
}

void QuestionTable::Answer(rpc::Return::Reader answer, qint64 bytes)
{
    const auto found = m_Questions.find(answer.getAnswerId());
    if (found == m_Questions.end() || found->second.Answered) return;
    --m_UnderWay;
    Question& question = found->second;
    if (question.Finished) {
        m_Questions.erase(found);
        return;
    }
    question.Answered = true;
    // The RPC system keeps an answer that contains objects, for calls on them.
    const bool isKept = answer.isResults() && answer.getResults().getCapTable().size() > 0;
    question.Charge.Set(BytesOfQuestion + (isKept ? 2 * bytes : 0));
}

int QuestionTable::RowOf(rpc::PromisedAnswer::Reader answer) const
{
    if (answer.getTransform().size() > MostSteps) RefuseMessage("it sent too many steps to an object");
    const auto found = m_Questions.find(answer.getQuestionId());
    return found == m_Questions.end() || found->second.Answered ? 0 : found->second.Row;
}

int QuestionTable::RowOf(Caps caps) const
{
    int row = 0;
    for (const auto cap : caps) {
        if (cap.isReceiverAnswer()) row = std::max(row, RowOf(cap.getReceiverAnswer()));
    }
    return row;
}

void QuestionTable::Check(Caps caps)
{
    if (caps.size() > MostObjects) RefuseMessage("it sent too many objects in one message");
    for (const auto cap : caps) {
        switch (cap.which()) {
        case rpc::CapDescriptor::NONE:
        case rpc::CapDescriptor::SENDER_HOSTED:
        case rpc::CapDescriptor::RECEIVER_HOSTED: break;
        case rpc::CapDescriptor::RECEIVER_ANSWER:
            if (cap.getReceiverAnswer().getTransform().size() > MostSteps)
                RefuseMessage("it sent too many steps to an object");
            break;
        default:
            RefuseMessage("it sent a kind of object that the server does not take"); // includes promises of its own
        }
    }
}
