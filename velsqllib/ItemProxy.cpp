#include "velsqllib/ItemProxy.h"

Variant ItemProxy::get_Value()
{
    return GetValue(&WireClient::getValueRequest);
}

void ItemProxy::put_Value(const Variant& value)
{
    Do(&WireClient::putValueRequest, Value(value));
}

void ItemProxy::Snapshot()
{
    Do(&WireClient::snapshotRequest);
}

bool ItemProxy::get_Activation()
{
    return GetNumber(&WireClient::getActivationRequest);
}

void ItemProxy::put_Activation(bool active)
{
    Do(&WireClient::putActivationRequest, [&](auto& request) { request.setValue(active); });
}

Variant ItemProxy::get_DateTime()
{
    return GetValue(&WireClient::getDateTimeRequest);
}

qint32 ItemProxy::get_Index()
{
    return GetNumber(&WireClient::getIndexRequest);
}

bool ItemProxy::get_LinkActivation()
{
    return GetNumber(&WireClient::getLinkActivationRequest);
}

void ItemProxy::put_LinkActivation(bool active)
{
    Do(&WireClient::putLinkActivationRequest, [&](auto& request) { request.setValue(active); });
}

qint32 ItemProxy::get_Microsecond()
{
    return GetNumber(&WireClient::getMicrosecondRequest);
}

qint32 ItemProxy::get_State()
{
    return GetNumber(&WireClient::getStateRequest);
}

Variant ItemProxy::get_Tag()
{
    return GetValue(&WireClient::getTagRequest);
}

void ItemProxy::put_Tag(const Variant& value)
{
    Do(&WireClient::putTagRequest, Value(value));
}

void ItemProxy::put_ValueEx(qint32 delay, const Variant& value)
{
    Do(&WireClient::putValueExRequest, [&](auto& request) {
        request.setDelay(delay);
        WriteValue(value, request.initValue(), Objects());
    });
}

qint32 ItemProxy::get_Attribute()
{
    return GetNumber(&WireClient::getAttributeRequest);
}

QString ItemProxy::get_Description()
{
    return GetText(&WireClient::getDescriptionRequest);
}

Variant ItemProxy::get_Elements(qint32 index1, qint32 index2, qint32 index3)
{
    return GetValue(&WireClient::getElementsRequest, [&](auto& request) {
        request.setIndex1(index1);
        request.setIndex2(index2);
        request.setIndex3(index3);
    });
}

Variant ItemProxy::get_ID()
{
    return GetValue(&WireClient::getIdRequest);
}

void ItemProxy::put_ID(const Variant& value)
{
    Do(&WireClient::putIdRequest, Value(value));
}

Variant ItemProxy::get_LinkItem()
{
    return GetValue(&WireClient::getLinkItemRequest);
}

QString ItemProxy::get_Name()
{
    return GetText(&WireClient::getNameRequest);
}

Variant ItemProxy::get_SettingData(qint32 index)
{
    return GetValue(&WireClient::getSettingDataRequest, [&](auto& request) { request.setIndex(index); });
}
