#include "velsqllib/ControllerProxy.h"

#include "core/automation/PlainText.h"
#include "core/automation/SafeArray.h"
#include "velsqllib/ControllerSubscription.h"
#include "velsqllib/ItemProxy.h"

ItemRef ControllerProxy::get_Item(const Variant& name)
{
    return Call(
        &WireClient::getItemRequest, [&](auto& request) { WriteValue(name, request.initName(), Objects()); },
        ObjectResult<ItemProxy>{{Way().ControllerName, ToPlainText(name)}});
}

void ControllerProxy::Start()
{
    Call(&WireClient::startRequest);
}

void ControllerProxy::Stop()
{
    Call(&WireClient::stopRequest);
}

void ControllerProxy::Snapshot()
{
    Call(&WireClient::snapshotRequest);
}

void ControllerProxy::AddItem(const Variant& definition)
{
    Call(&WireClient::addItemRequest,
         [&](auto& request) { WriteValue(definition, request.initDefinition(), Objects()); });
}

void ControllerProxy::RemoveItem(const QString& name)
{
    Call(&WireClient::removeItemRequest, [&](auto& request) { request.setName(WireBytes(name)); });
}

Variant ControllerProxy::Execute(const QString& command, const Variant& parameter)
{
    return Call(&WireClient::executeRequest, [&](auto& request) {
        request.setCommand(WireBytes(command));
        WriteValue(parameter, request.initParameter(), Objects());
    });
}

qint32 ControllerProxy::get_Count()
{
    return Call(&WireClient::getCountRequest);
}

qint32 ControllerProxy::get_Index()
{
    return Call(&WireClient::getIndexRequest);
}

Variant ControllerProxy::get_ItemNames()
{
    return Call(&WireClient::getItemNamesRequest);
}

void ControllerProxy::UseItemNames(quint32 most, const std::function<void(const TextList& names)>& use)
{
    // An older server answers more than these.
    const auto useFirst = [&](const TextList& names) { use(most == AllItems ? names : names.First(most)); };
    const auto take = [&](wire::Value::Reader names) {
        if (!names.isArray() || !names.getArray().isBstr())
            return useFirst(TextList::Of(ReadValue(names, Objects()).Array().Of<QString>()));
        const auto texts = names.getArray().getBstr();
        useFirst({texts.size(), [&](qsizetype at) { return ViewOfWireText(texts[static_cast<uint>(at)]); }});
    };
    Call(
        &WireClient::getItemNamesRequest, [&](auto& request) { request.setMost(most); },
        ResultInPlace<decltype(take)>{take});
}

qint32 ControllerProxy::get_ScanTimes(qint32 index)
{
    return Call(&WireClient::getScanTimesRequest, [&](auto& request) { request.setIndex(index); });
}

qint32 ControllerProxy::get_State()
{
    return Call(&WireClient::getStateRequest);
}

Variant ControllerProxy::get_Tag()
{
    return Call(&WireClient::getTagRequest);
}

void ControllerProxy::put_Tag(const Variant& value)
{
    Call(&WireClient::putTagRequest, [&](auto& request) { WriteValue(value, request.initValue(), Objects()); });
}

QString ControllerProxy::get_Description()
{
    return Call(&WireClient::getDescriptionRequest);
}

QString ControllerProxy::get_Name()
{
    return Call(&WireClient::getNameRequest);
}

Variant ControllerProxy::get_SettingData(const Variant& index)
{
    return Call(&WireClient::getSettingDataRequest,
                [&](auto& request) { WriteValue(index, request.initIndex(), Objects()); });
}

EventSubscriptionRef ControllerProxy::Subscribe(ControllerEvents& events)
{
    return std::make_unique<ControllerSubscription>(GetConnection(), Way().ControllerName, events);
}
