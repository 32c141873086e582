#include "velsqllib/ForeseenCalls.h"

#include "core/automation/Errors.h"

#include <QScopedValueRollback>

#include <algorithm>

namespace {

/// Servers of earlier levels do not know calls on what an earlier call answers.
constexpr quint16 LevelOfResults = 2;

} // namespace

void ForeseenCalls::Foresee(const QList<CallStep>& steps, qsizetype first, quint16 level)
{
    m_Level = level;
    const QScopedValueRollback foreseeing(m_IsForeseeing, true);
    const qsizetype wanted = 2 * (steps.size() - first) + MostCallsOfStep;
    m_Calls = m_Message.initRoot<wire::Library::CallInTurnParams>().initCalls(
        static_cast<uint>(std::min<qsizetype>(wanted, MostCalls)));
    for (m_Step = first; m_Step < steps.size(); ++m_Step) {
        const std::size_t before = m_Noted.size();
        try {
            steps[m_Step].Foresee();
        } catch (...) { // no sense can be made of the answers; what has been noted is right
        }
        if (m_Noted.size() == before) return;
        if (m_Noted.size() > m_Calls.size()) return m_Noted.resize(before);
    }
}

capnp::AnyPointer::Builder ForeseenCalls::Note(CallTarget& target, const WireMethod& method)
{
    const std::size_t at = m_Noted.size();
    const uint16_t object = IndexOf(target);
    const bool continues = at > 0 && m_Noted.back().Step == m_Step;
    const wire::Condition condition = continues ? ConditionOf(method) : wire::Condition::ALWAYS;
    m_Noted.push_back({&target, &method, m_Step});
    if (at >= m_Calls.size()) throw ServerError(QStringLiteral("Too many calls are foreseen."));
    auto call = m_Calls[static_cast<uint>(at)];
    call.setObject(object);
    call.setMethod(method.Ordinal);
    call.setCondition(condition);
    call.setContinuesStep(continues);
    return call.getParameters();
}

wire::Condition ForeseenCalls::ConditionOf(const WireMethod& method) const
{
    const WireMethod& before = *m_Noted.back().Method;
    if (before.IsBoolean) return wire::Condition::IF_TRUE;
    const bool isValueAfterAttribute = before == WireMethod::Of<wire::Item, wire::Item::GetAttributeParams>() &&
                                       method == WireMethod::Of<wire::Item, wire::Item::GetValueParams>();
    return isValueAfterAttribute ? wire::Condition::UNLESS_WRITE_ONLY : wire::Condition::ALWAYS;
}

uint16_t ForeseenCalls::IndexOf(CallTarget& target)
{
    if (const auto result = IndexOfResult(target)) return *result;
    const auto known = std::find(m_Objects.begin(), m_Objects.end(), &target);
    const auto index = static_cast<uint16_t>(known - m_Objects.begin());
    if (known == m_Objects.end()) m_Objects.push_back(&target);
    return index;
}

/// Throws ServerError when the server cannot be asked so.
std::optional<uint16_t> ForeseenCalls::IndexOfResult(const CallTarget& target) const
{
    for (std::size_t call = 0; call < m_Noted.size(); ++call) {
        if (m_Noted[call].Result.get() != &target) continue;
        if (m_Level < LevelOfResults) throw ServerError(QStringLiteral("The server does not know the object yet."));
        return static_cast<uint16_t>(wire::FIRST_RESULT + call);
    }
    return {};
}

void ForeseenCalls::Write(wire::Library::CallInTurnParams::Builder request)
{
    auto objects = request.initObjects(static_cast<uint>(m_Objects.size()));
    for (uint i = 0; i < objects.size(); ++i) m_Objects[i]->WriteReference(objects[i]);
    auto calls = request.initCalls(Count());
    for (uint i = 0; i < calls.size(); ++i) calls.setWithCaveats(i, m_Calls[i]);
}

wire::Outcome::Reader ForeseenCalls::OutcomeOf(std::size_t call)
{
    try {
        KJ_IF_MAYBE (answer, m_Answer) {
            const auto outcomes = answer->getOutcomes();
            if (call < outcomes.size()) return outcomes[static_cast<uint>(call)];
        }
    } catch (const kj::Exception&) { // what cannot be read answers nothing
    }
    return {};
}

qsizetype ForeseenCalls::UnansweredStep()
{
    for (std::size_t call = 0; call < m_Noted.size(); ++call) {
        if (OutcomeOf(call).isUnanswered()) return m_Noted[call].Step;
    }
    return m_Noted.empty() ? 0 : m_Noted.back().Step + 1;
}

qsizetype ForeseenCalls::Take(const QList<CallStep>& steps, qsizetype first)
{
    const qsizetype end = std::max(first + 1, UnansweredStep());
    for (m_Step = first; m_Step < end; ++m_Step) {
        while (m_Next < m_Noted.size() && m_Noted[m_Next].Step < m_Step) ++m_Next;
        steps[m_Step].Take();
    }
    return end - first;
}

std::optional<ForeseenCalls::Results> ForeseenCalls::ResultsOf(const CallTarget& target, const WireMethod& method,
                                                               Results parameters)
{
    if (m_Failure) throw ServerError(*std::exchange(m_Failure, {}));
    while (m_Next < m_Noted.size() && OutcomeOf(m_Next).isSkipped()) ++m_Next;
    if (m_Next >= m_Noted.size()) return {};
    const Noted& next = m_Noted[m_Next];
    const auto outcome = OutcomeOf(m_Next);
    if (next.Step != m_Step || next.Target != &target || *next.Method != method || outcome.isUnanswered()) return {};
    const Results noted = m_Calls[static_cast<uint>(m_Next)].asReader().getParameters();
    if (noted.equals(parameters) != capnp::Equality::EQUAL) return {};
    ++m_Next;
    if (!outcome.isFailure()) return outcome.getResults();
    const auto text = outcome.getFailure();
    throw ServerError(QString::fromUtf8(text.begin(), static_cast<qsizetype>(text.size())));
}

void ForeseenCalls::SetResult(CallTarget& object)
{
    const CallTarget* expected = m_Noted[m_Next - 1].Result.get();
    for (Noted& noted : m_Noted)
        if (noted.Target == expected) noted.Target = &object;
}
