#include "server/rpc/ItemServer.h"

#include "velsqllib/WireText.h"

namespace {

/// What a device has yet to answer; its failure is the call's.
kj::Promise<void> EndOf(const PendingRef& pending)
{
    if (!pending) return kj::READY_NOW;
    auto end = kj::newPromiseAndFulfiller<void>();
    auto fulfiller = std::make_shared<kj::Own<kj::PromiseFulfiller<void>>>(kj::mv(end.fulfiller));
    pending->Then([fulfiller](const QString& failure) {
        if (failure.isEmpty()) (*fulfiller)->fulfill();
        else (*fulfiller)->reject(ToException(failure));
    });
    return kj::mv(end.promise);
}

} // namespace

ItemServer::ItemServer(Services& services, PlantItemRef item)
    : WireServer(services.Gate)
    , m_Services(services)
    , m_Item(std::move(item))
{
}

kj::Promise<void> ItemServer::getValue(GetValueContext context)
{
    Answer(Existing().Value(), context.getResults().initResult());
    return kj::READY_NOW;
}

kj::Promise<void> ItemServer::putValue(PutValueContext context)
{
    return EndOf(Existing().PutValue(Received(context.getParams().getValue())));
}

kj::Promise<void> ItemServer::snapshot(SnapshotContext)
{
    return EndOf(Existing().Snapshot());
}

kj::Promise<void> ItemServer::getActivation(GetActivationContext context)
{
    context.getResults().setResult(Existing().IsActive());
    return kj::READY_NOW;
}

kj::Promise<void> ItemServer::putActivation(PutActivationContext context)
{
    Existing().PutActivation(context.getParams().getValue());
    return kj::READY_NOW;
}

kj::Promise<void> ItemServer::getDateTime(GetDateTimeContext context)
{
    Answer(ToLocalDate(Existing().Time()), context.getResults().initResult());
    return kj::READY_NOW;
}

kj::Promise<void> ItemServer::getIndex(GetIndexContext context)
{
    context.getResults().setResult(Existing().Index());
    return kj::READY_NOW;
}

kj::Promise<void> ItemServer::getLinkActivation(GetLinkActivationContext context)
{
    context.getResults().setResult(Existing().IsLinkActive());
    return kj::READY_NOW;
}

kj::Promise<void> ItemServer::putLinkActivation(PutLinkActivationContext context)
{
    Existing().PutLinkActivation(context.getParams().getValue());
    return kj::READY_NOW;
}

kj::Promise<void> ItemServer::getMicrosecond(GetMicrosecondContext context)
{
    context.getResults().setResult(MicrosecondsOf(Existing().Time()));
    return kj::READY_NOW;
}

kj::Promise<void> ItemServer::getState(GetStateContext context)
{
    context.getResults().setResult(static_cast<qint32>(Existing().State()));
    return kj::READY_NOW;
}

kj::Promise<void> ItemServer::getTag(GetTagContext context)
{
    Answer(Existing().Tag(), context.getResults().initResult());
    return kj::READY_NOW;
}

kj::Promise<void> ItemServer::putTag(PutTagContext context)
{
    Existing().PutTag(Received(context.getParams().getValue()));
    return kj::READY_NOW;
}

kj::Promise<void> ItemServer::putValueEx(PutValueExContext context)
{
    const auto params = context.getParams();
    Existing().PutValueEx(params.getDelay(), Received(params.getValue()));
    return kj::READY_NOW;
}

kj::Promise<void> ItemServer::getAttribute(GetAttributeContext context)
{
    context.getResults().setResult(static_cast<qint32>(Existing().Traits().Attribute));
    return kj::READY_NOW;
}

kj::Promise<void> ItemServer::getDescription(GetDescriptionContext context)
{
    context.getResults().setResult(WireBytes(Existing().Traits().Description));
    return kj::READY_NOW;
}

kj::Promise<void> ItemServer::getElements(GetElementsContext context)
{
    const auto params = context.getParams();
    Answer(Existing().Elements(params.getIndex1(), params.getIndex2(), params.getIndex3()),
           context.getResults().initResult());
    return kj::READY_NOW;
}

kj::Promise<void> ItemServer::getId(GetIdContext context)
{
    Answer(Existing().Id(), context.getResults().initResult());
    return kj::READY_NOW;
}

kj::Promise<void> ItemServer::putId(PutIdContext context)
{
    Existing().PutId(Received(context.getParams().getValue()));
    return kj::READY_NOW;
}

kj::Promise<void> ItemServer::getLinkItem(GetLinkItemContext context)
{
    Answer(Existing().LinkItem(), context.getResults().initResult());
    return kj::READY_NOW;
}

kj::Promise<void> ItemServer::getName(GetNameContext context)
{
    context.getResults().setResult(WireBytes(Existing().Name()));
    return kj::READY_NOW;
}

kj::Promise<void> ItemServer::getSettingData(GetSettingDataContext context)
{
    Answer(Existing().SettingData(context.getParams().getIndex()), context.getResults().initResult());
    return kj::READY_NOW;
}

CalledObject ItemServer::Called() const
{
    const PlantController* controller = m_Item->Controller();
    return {QStringLiteral("Item"), controller ? controller->Name() : QString(), m_Item->Name()};
}

PlantItem& ItemServer::Existing() const
{
    if (!m_Item->Controller()) throw ServerError(QStringLiteral("Item \"%1\" has been removed.").arg(m_Item->Name()));
    return *m_Item;
}

Variant ItemServer::Received(wire::Value::Reader value) const
{
    return ReadValue(value, m_Services.Objects);
}

void ItemServer::Answer(const Variant& value, wire::Value::Builder result) const
{
    WriteValue(value, result, m_Services.Objects);
}
