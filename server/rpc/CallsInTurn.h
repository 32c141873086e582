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

    /// Of the next object.
    kj::Promise<void> Found(capnp::Capability::Server* server);
    kj::Promise<void> CarryOutRest();
    bool IsDone();
    bool HasTimeForAStep();
    bool IsWanted(wire::Call::Reader call) const;
    std::optional<kj::Promise<void>> CarryOut(wire::Call::Reader call);
    kj::Promise<void> Send(wire::Call::Reader call, quint64 interfaceId);
    /// Also for the calls after it.
    kj::Promise<void> Await(kj::Promise<void> call, const Method& method);
    void Answered(const Method& method);
    void Failed(const kj::Exception& failure, bool hasResult);

    PlantObjects& m_Plant;
    Context m_Context;
    capnp::List<wire::Object>::Reader m_Objects;
    /// The ends of the objects in this process, one each; null for what is not an item or controller of the plant.
    std::vector<capnp::Capability::Server*> m_Servers;
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
