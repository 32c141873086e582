#include "server/rpc/CallsInTurn.h"

#include "core/automation/Errors.h"
#include "server/rpc/DirectCall.h"
#include "velsqllib/WireText.h"

#include <capnp/dynamic.h>

namespace {

constexpr std::chrono::milliseconds MostTime{25};
constexpr quint64 MostWords = 128 * 1024;
constexpr qint64 AttributeWriteOnly = 2;

[[noreturn]] void ThrowNoObject()
{
    throw ServerError(QStringLiteral("A call has no object."));
}

/// An interface, looked up once.
struct Interface
{
    explicit Interface(capnp::InterfaceSchema schema)
        : Id(schema.getProto().getId())
        , Methods(schema.getMethods())
    {
    }
    quint64 Id;
    capnp::InterfaceSchema::MethodList Methods;
};

template <typename Wire>
const Interface& InterfaceOf()
{
    static const Interface interface(capnp::Schema::from<Wire>());
    return interface;
}

const Interface& InterfaceOf(wire::Object::Which kind)
{
    switch (kind) {
    case wire::Object::ENGINE: return InterfaceOf<wire::Engine>();
    case wire::Object::CONTROLLER: return InterfaceOf<wire::Controller>();
    case wire::Object::ITEM: return InterfaceOf<wire::Item>();
    case wire::Object::HISTORY: return InterfaceOf<wire::History>();
    case wire::Object::NONE: break;
    }
    ThrowNoObject();
}

/// The kind of object that the method answers.
wire::Object::Which KindOfResult(const capnp::InterfaceSchema::Method& method)
{
    const auto fields = method.getResultType().getFields();
    if (fields.size() == 0 || !fields[0].getType().isInterface()) ThrowNoObject();
    const quint64 id = fields[0].getType().asInterface().getProto().getId();
    for (const auto kind : {wire::Object::CONTROLLER, wire::Object::ITEM, wire::Object::HISTORY})
        if (InterfaceOf(kind).Id == id) return kind;
    ThrowNoObject();
}

capnp::Capability::Client ReferenceIn(wire::Object::Reader object)
{
    switch (object.which()) {
    case wire::Object::ENGINE: return object.getEngine();
    case wire::Object::CONTROLLER: return object.getController();
    case wire::Object::ITEM: return object.getItem();
    case wire::Object::HISTORY: return object.getHistory();
    case wire::Object::NONE: break;
    }
    return nullptr;
}

bool HasResult(const capnp::InterfaceSchema::Method& method)
{
    return method.getResultType().getFields().size() > 0;
}

std::optional<qint64> NumberIn(capnp::AnyPointer::Reader results, capnp::StructSchema type)
{
    if (type.getFields().size() == 0) return {};
    const auto field = type.getFields()[0];
    const auto kind = field.getType().which();
    if (kind != capnp::schema::Type::BOOL && kind != capnp::schema::Type::INT32) return {};
    const auto value = results.getAs<capnp::DynamicStruct>(type).get(field);
    return kind == capnp::schema::Type::BOOL ? value.as<bool>() : value.as<qint32>();
}

} // namespace

CallsInTurn::CallsInTurn(PlantObjects& objects, Context context)
    : m_Plant(objects)
    , m_Context(context)
    , m_Objects(context.getParams().getObjects())
    , m_Calls(context.getParams().getCalls())
    , m_Outcomes(nullptr)
{
    if (m_Calls.size() > MostCalls || m_Objects.size() > MostObjects)
        throw ServerError(QStringLiteral("At most %1 calls are carried out in turn.").arg(MostCalls));
    m_Outcomes = m_Context.getResults().initOutcomes(m_Calls.size());
}

kj::Promise<void> CallsInTurn::Run()
{
    if (m_Targets.size() == m_Objects.size()) return CarryOutRest();
    const auto object = m_Objects[static_cast<uint>(m_Targets.size())];
    return TargetFor(object.which(), ReferenceIn(object)).then([this](Target&& target) {
        m_Targets.push_back(kj::mv(target));
        return Run();
    });
}

kj::Promise<CallsInTurn::Target> CallsInTurn::TargetFor(Kind kind, capnp::Capability::Client reference)
{
    auto found = m_Plant.ServerOf(kind, reference).catch_([](kj::Exception&&) { // the calls on it say why
        return static_cast<Server*>(nullptr);
    });
    return found.then([reference = kj::mv(reference)](Server* server) mutable {
        return Target{kj::mv(reference), server};
    });
}

kj::Promise<void> CallsInTurn::CarryOutRest()
{
    while (!IsDone()) {
        const auto call = m_Calls[m_Next];
        if (!call.getContinuesStep()) m_StepFailed = false;
        if (IsWanted(call)) {
            if (auto done = CarryOut()) return kj::mv(*done);
        } else {
            m_Outcomes[m_Next++].setSkipped();
            m_Last.reset();
        }
    }
    return kj::READY_NOW;
}

bool CallsInTurn::IsDone()
{
    if (m_Next >= m_Calls.size() || m_Words > MostWords) return true;
    return m_Next > 0 && !m_Calls[m_Next].getContinuesStep() && !HasTimeForAStep();
}

/// For one as long as the longest so far.
bool CallsInTurn::HasTimeForAStep()
{
    const auto now = std::chrono::steady_clock::now();
    m_LongestStep = std::max(m_LongestStep, now - std::exchange(m_StepSince, now));
    return now - m_Since + m_LongestStep <= MostTime;
}

bool CallsInTurn::IsWanted(wire::Call::Reader call) const
{
    if (m_StepFailed) return false;
    switch (call.getCondition()) {
    case wire::Condition::ALWAYS: return true;
    case wire::Condition::IF_TRUE: return m_Last.value_or(0) == 1;
    case wire::Condition::UNLESS_WRITE_ONLY: return m_Last.value_or(AttributeWriteOnly) != AttributeWriteOnly;
    }
    return false; // what a newer client may ask
}

/// Nothing when the call has failed already.
std::optional<kj::Promise<void>> CallsInTurn::CarryOut()
{
    try {
        const uint object = m_Calls[m_Next].getObject();
        const Kind kind = KindOf(m_Next);
        const Method method = MethodOf(m_Next);
        const quint64 interfaceId = InterfaceOf(kind).Id;
        if (object < wire::FIRST_RESULT) return Await(SendTo(m_Targets[object], interfaceId), method);
        auto target = TargetFor(kind, ResultOf(object - wire::FIRST_RESULT));
        return Await(target.then([this, interfaceId](Target&& found) { return SendTo(found, interfaceId); }), method);
    } catch (const ServerError& error) {
        Failed(ToException(error.Description()), true);
        return {};
    }
}

kj::Promise<void> CallsInTurn::SendTo(Target& target, quint64 interfaceId)
{
    const auto call = m_Calls[m_Next];
    const auto parameters = call.getParameters();
    auto results = m_Outcomes[m_Next].initResults();
    if (target.Local) return DirectCall::Make(*target.Local, interfaceId, call.getMethod(), parameters, results);
    auto request = target.Reference.typelessRequest(interfaceId, call.getMethod(), nullptr);
    if (!parameters.isNull()) request.set(parameters);
    return request.send().then([results](auto&& response) mutable { results.set(response); });
}

/// Of the object that it is made on.
CallsInTurn::Kind CallsInTurn::KindOf(uint call)
{
    const uint object = m_Calls[call].getObject();
    if (object < m_Objects.size()) return m_Objects[object].which();
    const uint before = object - wire::FIRST_RESULT;
    if (object < wire::FIRST_RESULT || before >= call || !m_Outcomes[before].isResults()) ThrowNoObject();
    return KindOfResult(MethodOf(before));
}

CallsInTurn::Method CallsInTurn::MethodOf(uint call)
{
    const auto& methods = InterfaceOf(KindOf(call)).Methods;
    const uint method = m_Calls[call].getMethod();
    if (method >= methods.size()) throw ServerError(QStringLiteral("A call asks for an unknown operation."));
    return methods[method];
}

/// The object that the call has answered.
capnp::Capability::Client CallsInTurn::ResultOf(uint call)
{
    const auto type = MethodOf(call).getResultType();
    const auto results = m_Outcomes[call].getResults().asReader().getAs<capnp::DynamicStruct>(type);
    return results.get(type.getFields()[0]).as<capnp::DynamicCapability>();
}

kj::Promise<void> CallsInTurn::Await(kj::Promise<void> call, const Method& method)
{
    return call.then(
        [this, method] {
            Answered(method);
            return CarryOutRest();
        },
        [this, method](kj::Exception&& failure) {
            Failed(failure, HasResult(method));
            return CarryOutRest();
        });
}

void CallsInTurn::Answered(const Method& method)
{
    const capnp::AnyPointer::Reader results = m_Outcomes[m_Next++].getResults().asReader();
    m_Words += results.targetSize().wordCount;
    const bool isAskedFor = m_Next < m_Calls.size() && m_Calls[m_Next].getCondition() != wire::Condition::ALWAYS;
    if (isAskedFor) m_Last = NumberIn(results, method.getResultType());
}

void CallsInTurn::Failed(const kj::Exception& failure, bool hasResult)
{
    const kj::StringPtr text = failure.getDescription();
    m_Outcomes[m_Next++].setFailure(capnp::Text::Reader(text.begin(), text.size()));
    m_Last.reset();
    // What comes after a failed command does not depend on it, but a reader ends with its first failure.
    m_StepFailed = m_StepFailed || hasResult;
}
