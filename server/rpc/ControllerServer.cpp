#include "server/rpc/ControllerServer.h"

#include "core/automation/NumberText.h"
#include "server/plant/Convert.h"
#include "server/rpc/SubscriptionServer.h"
#include "velsqllib/TypeCode.h"
#include "velsqllib/WireText.h"

ControllerServer::ControllerServer(Services& services, PlantControllerRef controller)
    : WireServer(services.Gate)
    , m_Services(services)
    , m_Controller(std::move(controller))
{
}

kj::Promise<void> ControllerServer::getItem(GetItemContext context)
{
    const QString name = NameArgument(context.getParams().getName(), m_Services.Objects);
    context.getResults().setResult(m_Services.Objects.Item(m_Controller->Item(name)));
    return kj::READY_NOW;
}

kj::Promise<void> ControllerServer::start(StartContext)
{
    m_Controller->Start();
    return kj::READY_NOW;
}

kj::Promise<void> ControllerServer::stop(StopContext)
{
    m_Controller->Stop();
    return kj::READY_NOW;
}

kj::Promise<void> ControllerServer::snapshot(SnapshotContext context)
{
    context.allowCancellation(); // ends with its client
    return m_Services.Snapshots.Snapshot({m_Controller});
}

kj::Promise<void> ControllerServer::addItem(AddItemContext context)
{
    const Variant definition = ReadValue(context.getParams().getDefinition(), m_Services.Objects);
    m_Services.Definitions.AddItem(*m_Controller, definition);
    return kj::READY_NOW;
}

kj::Promise<void> ControllerServer::removeItem(RemoveItemContext context)
{
    m_Services.Definitions.RemoveItem(*m_Controller, FromWireText(context.getParams().getName()));
    return kj::READY_NOW;
}

kj::Promise<void> ControllerServer::execute(ExecuteContext context)
{
    const auto params = context.getParams();
    context.allowCancellation(); // ends with its client
    auto result = m_Services.Commands.ExecuteOnController(*m_Controller, FromWireText(params.getCommand()),
                                                          ReadValue(params.getParameter(), m_Services.Objects));
    return result.then([&objects = m_Services.Objects, context](const Variant& value) mutable {
        WriteValue(value, context.getResults().initResult(), objects);
    });
}

kj::Promise<void> ControllerServer::getCount(GetCountContext context)
{
    context.getResults().setResult(static_cast<qint32>(m_Controller->Items().size()));
    return kj::READY_NOW;
}

kj::Promise<void> ControllerServer::getIndex(GetIndexContext context)
{
    context.getResults().setResult(m_Controller->Index());
    return kj::READY_NOW;
}

kj::Promise<void> ControllerServer::getItemNames(GetItemNamesContext context)
{
    const quint32 most = context.getParams().getMost();
    const QStringList names =
        m_Services.Commands.ListedItems(*m_Controller, most > 0 ? most : m_Controller->Items().size());
    WriteValue(TextArray(names), context.getResults().initResult(), m_Services.Objects);
    return kj::READY_NOW;
}

kj::Promise<void> ControllerServer::getScanTimes(GetScanTimesContext context)
{
    context.getResults().setResult(m_Controller->ScanTime(context.getParams().getIndex()));
    return kj::READY_NOW;
}

kj::Promise<void> ControllerServer::getState(GetStateContext context)
{
    context.getResults().setResult(m_Controller->State());
    return kj::READY_NOW;
}

kj::Promise<void> ControllerServer::getTag(GetTagContext context)
{
    WriteValue(m_Controller->Tag(), context.getResults().initResult(), m_Services.Objects);
    return kj::READY_NOW;
}

kj::Promise<void> ControllerServer::putTag(PutTagContext context)
{
    m_Controller->PutTag(ReadValue(context.getParams().getValue(), m_Services.Objects));
    return kj::READY_NOW;
}

kj::Promise<void> ControllerServer::getDescription(GetDescriptionContext context)
{
    context.getResults().setResult(WireBytes(m_Controller->Traits().Description));
    return kj::READY_NOW;
}

kj::Promise<void> ControllerServer::getName(GetNameContext context)
{
    context.getResults().setResult(WireBytes(m_Controller->Name()));
    return kj::READY_NOW;
}

kj::Promise<void> ControllerServer::getSettingData(GetSettingDataContext context)
{
    const Variant index = ReadValue(context.getParams().getIndex(), m_Services.Objects);
    WriteValue(m_Controller->SettingData(RoundToInt32(ToNumber(index))), context.getResults().initResult(),
               m_Services.Objects);
    return kj::READY_NOW;
}

kj::Promise<void> ControllerServer::subscribe(SubscribeContext context)
{
    const auto params = context.getParams();
    context.getResults().setSubscription(kj::heap<SubscriptionServer>(
        m_Services.AllSubscribers, m_Services.Objects, m_Controller, params.getEvents(), params.getLevel()));
    return kj::READY_NOW;
}

CalledObject ControllerServer::Called() const
{
    return {QStringLiteral("Controller"), m_Controller->Name(), QString()};
}

QString NameArgument(wire::Value::Reader name, WireObjects& objects)
{
    const Variant value = ReadValue(name, objects);
    if (const QString* text = value.GetIf<QString>()) return *text;
    throw ServerError(QStringLiteral("A name must be a BSTR, not %1.").arg(TypeName(value.Type())));
}
