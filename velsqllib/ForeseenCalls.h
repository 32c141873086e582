#pragma once

#include "core/automation/ServerObjects.h"
#include "velsqllib/WireMethod.h"

#include <capnp/message.h>

#include <memory>
#include <optional>
#include <vector>

/// An object that calls are made on.
class CallTarget
{
public:
    /// Its reference on the present server; only inside a call.
    virtual void WriteReference(wire::Object::Builder object) = 0;

protected:
    ~CallTarget() = default;
};

/// The calls of several steps: first noted as the steps foresee them, then asked in one message, then handed out, in the
/// same order, to the calls that the steps really make. A call that was not foreseen gets nothing from here.
class ForeseenCalls
{
public:
    using Results = capnp::AnyPointer::Reader;

    /// Notes what the steps from `first` on foresee, up to one that foresees nothing, or what a server of this level
    /// (see the schema) cannot be asked together with others.
    void Foresee(const QList<CallStep>& steps, qsizetype first, quint16 level);
    bool IsForeseeing() const { return m_IsForeseeing; }
    /// Where the struct of the call's parameters is to be written.
    capnp::AnyPointer::Builder Note(CallTarget& target, const WireMethod& method);
    /// The call noted last answers this object, of which nothing is known yet but that calls are made on it.
    void ExpectResult(std::shared_ptr<CallTarget> object) { m_Noted.back().Result = std::move(object); }
    uint Count() const { return static_cast<uint>(m_Noted.size()); }

    void Write(wire::Library::CallInTurnParams::Builder request);
    void SetAnswer(capnp::Response<wire::Library::CallInTurnResults>&& answer) { m_Answer = kj::mv(answer); }
    /// The first call that is made fails with this.
    void SetFailure(const QString& description) { m_Failure = description; }

    /// Takes the steps whose calls are all answered, at least one; returns how many.
    qsizetype Take(const QList<CallStep>& steps, qsizetype first);
    /// Nothing when the call has to be made by itself. Throws ServerError when it has failed.
    std::optional<Results> ResultsOf(const CallTarget& target, const WireMethod& method, Results parameters);
    /// This is the object that the call answered last was expected to answer.
    void SetResult(CallTarget& object);

private:
    /// In one message.
    static constexpr uint MostCalls = 512;
    static constexpr uint MostCallsOfStep = 32; ///< of one alone; of many, two each

    struct Noted
    {
        CallTarget* Target;
        const WireMethod* Method;
        qsizetype Step;
        std::shared_ptr<CallTarget> Result = {};
    };

    wire::Condition ConditionOf(const WireMethod& method) const;
    uint16_t IndexOf(CallTarget& target);
    std::optional<uint16_t> IndexOfResult(const CallTarget& target) const;
    wire::Outcome::Reader OutcomeOf(std::size_t call);
    /// The first step that is not answered as a whole.
    qsizetype UnansweredStep();

    quint16 m_Level = 0;
    capnp::MallocMessageBuilder m_Message{512}; // words
    capnp::List<wire::Call>::Builder m_Calls;
    std::vector<CallTarget*> m_Objects;
    std::vector<Noted> m_Noted;
    kj::Maybe<capnp::Response<wire::Library::CallInTurnResults>> m_Answer;
    std::optional<QString> m_Failure;
    bool m_IsForeseeing = false;
    /// The step that foresees or is taken.
    qsizetype m_Step = 0;
    /// The call to be handed out next.
    std::size_t m_Next = 0;
};
