#include "server/rpc/ItemServer.h"

#include "server/rpc/ObjectDirectory.h"
#include "velsqllib/WireText.h"

ItemServer::ItemServer(Services& services, PlantItemRef item)
    : WireServer(services.Gate)
    , m_Services(services)
    , m_Item(std::move(item))
{
    m_Services.Objects.m_Items.insert(m_Item.get(), this);
}

ItemServer::~ItemServer()
{
    m_Services.Objects.m_Items.remove(m_Item.get());
}

kj::Promise<void> ItemServer::getValue(GetValueContext context)
{
    Answer(There().Value(), context.getResults().initResult());
    return kj::READY_NOW;
}

kj::Promise<void> ItemServer::putValue(PutValueContext context)
{
    There().PutValue(Received(context.getParams().getValue()));
    return kj::READY_NOW;
}

kj::Promise<void> ItemServer::snapshot(SnapshotContext)
{
    There().Snapshot();
    return kj::READY_NOW;
}

kj::Promise<void> ItemServer::getActivation(GetActivationContext context)
{
    context.getResults().setResult(There().IsActive());
    return kj::READY_NOW;
}

kj::Promise<void> ItemServer::putActivation(PutActivationContext context)
{
    There().PutActivation(context.getParams().getValue());
    return kj::READY_NOW;
}

kj::Promise<void> ItemServer::getDateTime(GetDateTimeContext context)
{
    Answer(ToLocalDate(There().Time()), context.getResults().initResult());
    return kj::READY_NOW;
}

kj::Promise<void> ItemServer::getIndex(GetIndexContext context)
{
    context.getResults().setResult(There().Index());
    return kj::READY_NOW;
}

kj::Promise<void> ItemServer::getLinkActivation(GetLinkActivationContext context)
{
    context.getResults().setResult(There().IsLinkActive());
    return kj::READY_NOW;
}

kj::Promise<void> ItemServer::putLinkActivation(PutLinkActivationContext context)
{
    There().PutLinkActivation(context.getParams().getValue());
    return kj::READY_NOW;
}

kj::Promise<void> ItemServer::getMicrosecond(GetMicrosecondContext context)
{
    context.getResults().setResult(MicrosecondsOf(There().Time()));
    return kj::READY_NOW;
}

kj::Promise<void> ItemServer::getState(GetStateContext context)
{
    context.getResults().setResult(static_cast<qint32>(There().State()));
    return kj::READY_NOW;
}

kj::Promise<void> ItemServer::getTag(GetTagContext context)
{
    Answer(There().Tag(), context.getResults().initResult());
    return kj::READY_NOW;
}

kj::Promise<void> ItemServer::putTag(PutTagContext context)
{
    There().PutTag(Received(context.getParams().getValue()));
    return kj::READY_NOW;
}

kj::Promise<void> ItemServer::putValueEx(PutValueExContext context)
{
    const auto params = context.getParams();
    There().PutValueEx(params.getDelay(), Received(params.getValue()));
    return kj::READY_NOW;
}

kj::Promise<void> ItemServer::getAttribute(GetAttributeContext context)
{
    context.getResults().setResult(static_cast<qint32>(There().Traits().Attribute));
    return kj::READY_NOW;
}

kj::Promise<void> ItemServer::getDescription(GetDescriptionContext context)
{
    context.getResults().setResult(WireBytes(There().Traits().Description));
    return kj::READY_NOW;
}

kj::Promise<void> ItemServer::getElements(GetElementsContext context)
{
    const auto params = context.getParams();
    Answer(There().Elements(params.getIndex1(), params.getIndex2(), params.getIndex3()),
           context.getResults().initResult());
    return kj::READY_NOW;
}

kj::Promise<void> ItemServer::getId(GetIdContext context)
{
    Answer(There().Id(), context.getResults().initResult());
    return kj::READY_NOW;
}

kj::Promise<void> ItemServer::putId(PutIdContext context)
{
    There().PutId(Received(context.getParams().getValue()));
    return kj::READY_NOW;
}

kj::Promise<void> ItemServer::getLinkItem(GetLinkItemContext context)
{
    Answer(There().LinkItem(), context.getResults().initResult());
    return kj::READY_NOW;
}

kj::Promise<void> ItemServer::getName(GetNameContext context)
{
    context.getResults().setResult(WireBytes(There().Name()));
    return kj::READY_NOW;
}

kj::Promise<void> ItemServer::getSettingData(GetSettingDataContext context)
{
    Answer(There().SettingData(context.getParams().getIndex()), context.getResults().initResult());
    return kj::READY_NOW;
}

CalledObject ItemServer::Called() const
{
    const PlantController* controller = m_Item->Controller();
    return {QStringLiteral("Item"), controller ? controller->Name() : QString(), m_Item->Name()};
}

PlantItem& ItemServer::There() const
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
