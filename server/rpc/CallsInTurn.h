#pragma once

#include "server/rpc/Services.h"

#include <chrono>
#include <optional>
#include <vector>

/// Carries out a client's list of calls one after the other, each through the object's gate, as if it had come in a
/// message of its own.
class CallsInTurn
{
public:
    /// So many of each in one list.
    static constexpr uint MostCalls = 1024;
    static constexpr uint MostObjects = 1024;

    using Context = capnp::CallContext<wire::Library::CallInTurnParams, wire::Library::CallInTurnResults>;

    /// Throws ServerError for a list that is too long.
    CallsInTurn(PlantObjects& objects, Context context);

    /// Fulfilled when all are carried out, or when the time or the room for outcomes is used up. Ends with the promise.
    kj::Promise<void> Run();

private:
    using Method = capnp::InterfaceSchema::Method;

    using Kind = wire::Object::Which;
    using Server = capnp::Capability::Server;
    /// What calls are made on.
    struct Target
    {
        capnp::Capability::Client Reference;
        Server* Local; ///< null for what is not an item or controller of the plant
    };

    kj::Promise<Target> TargetFor(Kind kind, capnp::Capability::Client reference);
    kj::Promise<void> CarryOutRest();
    bool IsDone();
    bool HasTimeForAStep();
    bool IsWanted(wire::Call::Reader call) const;
    std::optional<kj::Promise<void>> CarryOut();
    kj::Promise<void> SendTo(Target& target, quint64 interfaceId);
    Kind KindOf(uint call);
    Method MethodOf(uint call);
    capnp::Capability::Client ResultOf(uint call);
    /// Also for the calls after it.
    kj::Promise<void> Await(kj::Promise<void> call, const Method& method);
    void Answered(const Method& method);
    void Failed(const kj::Exception& failure, bool hasResult);

    PlantObjects& m_Plant;
    Context m_Context;
    capnp::List<wire::Object>::Reader m_Objects;
    std::vector<Target> m_Targets; ///< of the objects
    capnp::List<wire::Call>::Reader m_Calls;
    capnp::List<wire::Outcome>::Builder m_Outcomes;
    std::chrono::steady_clock::time_point m_Since = std::chrono::steady_clock::now();
    std::chrono::steady_clock::time_point m_StepSince = m_Since;
    std::chrono::steady_clock::duration m_LongestStep{};
    uint m_Next = 0;
    quint64 m_Words = 0; ///< of all outcomes so far
    bool m_StepFailed = false;
    /// What the last call has answered, where the next one depends on that.
    std::optional<qint64> m_Last;
};
