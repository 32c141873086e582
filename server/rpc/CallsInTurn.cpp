#include "server/rpc/CallsInTurn.h"

#include "core/automation/Errors.h"
#include "server/rpc/DirectCall.h"
#include "velsqllib/WireText.h"

#include <capnp/dynamic.h>

namespace {

constexpr std::chrono::milliseconds MostTime{25};
constexpr quint64 MostWords = 128 * 1024;
constexpr qint64 AttributeWriteOnly = 2;

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
    throw ServerError(QStringLiteral("A call has no object."));
}

capnp::Capability::Client ReferenceIn(wire::Object::Reader object)
{
    switch (object.which()) {
    case wire::Object::ENGINE: return object.getEngine();
    case wire::Object::CONTROLLER: return object.getController();
    case wire::Object::ITEM: return object.getItem();
    default: return object.getHistory();
    }
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
    if (m_Servers.size() == m_Objects.size()) return CarryOutRest();
    return m_Plant.ServerOf(m_Objects[static_cast<uint>(m_Servers.size())])
        .then([this](capnp::Capability::Server* server) { return Found(server); },
              [this](kj::Exception&&) { return Found(nullptr); }); // the calls on it say why
}

kj::Promise<void> CallsInTurn::Found(capnp::Capability::Server* server)
{
    m_Servers.push_back(server);
    return Run();
}

kj::Promise<void> CallsInTurn::CarryOutRest()
{
    while (!IsDone()) {
        const auto call = m_Calls[m_Next];
        if (!call.getContinuesStep()) m_StepFailed = false;
        if (IsWanted(call)) {
            if (auto done = CarryOut(call)) return kj::mv(*done);
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
std::optional<kj::Promise<void>> CallsInTurn::CarryOut(wire::Call::Reader call)
{
    try {
        if (call.getObject() >= m_Objects.size()) throw ServerError(QStringLiteral("A call has no object."));
        const Interface& interface = InterfaceOf(m_Objects[call.getObject()].which());
        if (call.getMethod() >= interface.Methods.size())
            throw ServerError(QStringLiteral("A call asks for an unknown operation."));
        return Await(Send(call, interface.Id), interface.Methods[call.getMethod()]);
    } catch (const ServerError& error) {
        Failed(ToException(error.Description()), true);
        return {};
    }
}

kj::Promise<void> CallsInTurn::Send(wire::Call::Reader call, quint64 interfaceId)
{
    const auto parameters = call.getParameters();
    auto results = m_Outcomes[m_Next].initResults();
    if (auto* server = m_Servers[call.getObject()])
        return DirectCall::Make(*server, interfaceId, call.getMethod(), parameters, results);
    auto request = ReferenceIn(m_Objects[call.getObject()]).typelessRequest(interfaceId, call.getMethod(), nullptr);
    if (!parameters.isNull()) request.set(parameters);
    return request.send().then([results](auto&& response) mutable { results.set(response); });
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
