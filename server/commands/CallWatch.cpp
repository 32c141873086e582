#include "server/commands/CallWatch.h"

#include "server/rpc/WireServer.h"
#include "velsqllib/velsqllib.capnp.h"

namespace {

/// The automation type codes in the order of wire::Value's union.
VarType TypeOf(wire::Value::Reader value)
{
    using wire::Value;
    constexpr VarType codes[] = {VT_EMPTY, VT_NULL, VT_BOOL, VT_I1, VT_UI1,  VT_I2,   VT_UI2,     VT_I4,
                                 VT_UI4,   VT_R4,   VT_R8,   VT_CY, VT_DATE, VT_BSTR, VT_DISPATCH};
    constexpr VarType elements[] = {VT_BOOL, VT_I1, VT_UI1, VT_I2,   VT_UI2,  VT_I4,       VT_UI4,
                                    VT_R4,   VT_R8, VT_CY,  VT_DATE, VT_BSTR, VT_DISPATCH, VT_VARIANT};
    if (value.which() == Value::ARRAY) {
        const auto element = static_cast<std::size_t>(value.getArray().which());
        return element < std::size(elements) ? ArrayOf(elements[element]) : VT_ARRAY;
    }
    const auto which = static_cast<std::size_t>(value.which());
    return which < std::size(codes) ? codes[which] : VarType{-1};
}

QString ArgumentText(capnp::DynamicValue::Reader argument)
{
    switch (argument.getType()) {
    case capnp::DynamicValue::BOOL: return QString::number(VT_BOOL);
    case capnp::DynamicValue::DATA: return QString::number(VT_BSTR); // texts are bytes on the wire
    case capnp::DynamicValue::STRUCT: {
        const auto value = argument.as<capnp::DynamicStruct>();
        const bool isValue = value.getSchema() == capnp::Schema::from<wire::Value>();
        return QString::number(isValue ? TypeOf(value.as<wire::Value>()) : VT_DISPATCH);
    }
    case capnp::DynamicValue::CAPABILITY: return QString::number(VT_DISPATCH);
    default: return QString::number(VT_I4);
    }
}

template <typename Interface>
bool Has(const QString& operation)
{
    for (const auto method : capnp::Schema::from<Interface>().getMethods()) {
        if (OperationName(method) == operation) return true;
    }
    return false;
}

bool Exists(const QString& kind, const QString& operation)
{
    if (kind == QStringLiteral("Engine")) return operation != QStringLiteral("Execute") && Has<wire::Engine>(operation);
    if (kind == QStringLiteral("Controller")) return Has<wire::Controller>(operation);
    if (kind == QStringLiteral("Item")) return Has<wire::Item>(operation);
    if (kind == QStringLiteral("History")) return Has<wire::History>(operation);
    return kind == QStringLiteral("ResultSet") && Has<wire::ResultSet>(operation);
}

} // namespace

CallWatch::CallWatch(kj::Timer& timer)
    : m_Timer(timer)
{
}

void CallWatch::MakeFail(const QString& operation, const QString& description)
{
    Disturb(operation, {true, description, 0});
}

void CallWatch::MakeSlow(const QString& operation, qint32 milliseconds)
{
    Disturb(operation, {false, QString(), milliseconds});
}

void CallWatch::Restore(const QString& operation)
{
    if (m_Disturbances.remove(operation) == 0)
        throw DescribedError(QStringLiteral("\"%1\" is not disturbed.").arg(operation));
    UpdateWatched();
}

void CallWatch::RestoreAll()
{
    m_Disturbances.clear();
    UpdateWatched();
}

QString CallWatch::ReportCalls()
{
    m_Notes = true;
    UpdateWatched();
    if (m_NotNoted > 0) m_Calls.append(QStringLiteral("... and %1 more").arg(m_NotNoted));
    m_NotNoted = 0;
    return std::exchange(m_Calls, {}).join(QStringLiteral("\r\n"));
}

kj::Promise<void> CallWatch::Pass(const CalledObject& object, capnp::InterfaceSchema::Method method, Context context)
{
    if (object.Kind == QStringLiteral("Library")) return kj::READY_NOW; // a server under test must stay alive
    if (m_Notes) Note(object, method, context);
    const QString operation = u'.' + OperationName(method);
    auto found = m_Disturbances.constFind(object.Text() + operation);
    if (found == m_Disturbances.constEnd()) found = m_Disturbances.constFind(object.Kind + operation);
    if (found == m_Disturbances.constEnd()) return kj::READY_NOW;
    if (found->Fails) return ToException(found->Description);
    return m_Timer.afterDelay(found->Milliseconds * kj::MILLISECONDS);
}

void CallWatch::Disturb(const QString& operation, const Disturbance& disturbance)
{
    const qsizetype dot = operation.lastIndexOf(u'.');
    const QString kind = operation.left(dot).section(u'(', 0, 0);
    if (dot < 0 || !Exists(kind, operation.mid(dot + 1)))
        throw DescribedError(QStringLiteral("\"%1\" is not an operation that can be disturbed.").arg(operation));
    m_Disturbances.insert(operation, disturbance);
    UpdateWatched();
}

void CallWatch::Note(const CalledObject& object, capnp::InterfaceSchema::Method method, Context context)
{
    if (m_Calls.size() >= MostNoted) {
        ++m_NotNoted;
        return;
    }
    QStringList arguments;
    const auto params = context.getParams().getAs<capnp::DynamicStruct>(method.getParamType());
    for (const auto field : method.getParamType().getFields()) arguments.append(ArgumentText(params.get(field)));
    m_Calls.append(QStringLiteral("%1.%2(%3)").arg(object.Text(), OperationName(method), arguments.join(u',')));
}

void CallWatch::UpdateWatched()
{
    SetWatched(m_Notes || !m_Disturbances.isEmpty());
}
