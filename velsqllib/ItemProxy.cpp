#include "velsqllib/ItemProxy.h"

Variant ItemProxy::get_Value()
{
    return Call(&WireClient::getValueRequest);
}

void ItemProxy::put_Value(const Variant& value)
{
    Call(&WireClient::putValueRequest, Value(value));
}

void ItemProxy::Snapshot()
{
    Call(&WireClient::snapshotRequest);
}

bool ItemProxy::get_Activation()
{
    return Call(&WireClient::getActivationRequest);
}

void ItemProxy::put_Activation(bool active)
{
    Call(&WireClient::putActivationRequest, [&](auto& request) { request.setValue(active); });
}

Variant ItemProxy::get_DateTime()
{
    return Call(&WireClient::getDateTimeRequest);
}

qint32 ItemProxy::get_Index()
{
    return Call(&WireClient::getIndexRequest);
}

bool ItemProxy::get_LinkActivation()
{
    return Call(&WireClient::getLinkActivationRequest);
}

void ItemProxy::put_LinkActivation(bool active)
{
    Call(&WireClient::putLinkActivationRequest, [&](auto& request) { request.setValue(active); });
}

qint32 ItemProxy::get_Microsecond()
{
    return Call(&WireClient::getMicrosecondRequest);
}

qint32 ItemProxy::get_State()
{
    return Call(&WireClient::getStateRequest);
}

Variant ItemProxy::get_Tag()
{
    return Call(&WireClient::getTagRequest);
}

void ItemProxy::put_Tag(const Variant& value)
{
    Call(&WireClient::putTagRequest, Value(value));
}

void ItemProxy::put_ValueEx(qint32 delay, const Variant& value)
{
    Call(&WireClient::putValueExRequest, [&](auto& request) {
        request.setDelay(delay);
        WriteValue(value, request.initValue(), Objects());
    });
}

qint32 ItemProxy::get_Attribute()
{
    return Call(&WireClient::getAttributeRequest);
}

QString ItemProxy::get_Description()
{
    return Call(&WireClient::getDescriptionRequest);
}

Variant ItemProxy::get_Elements(qint32 index1, qint32 index2, qint32 index3)
{
    return Call(&WireClient::getElementsRequest, [&](auto& request) {
        request.setIndex1(index1);
        request.setIndex2(index2);
        request.setIndex3(index3);
    });
}

Variant ItemProxy::get_ID()
{
    return Call(&WireClient::getIdRequest);
}

void ItemProxy::put_ID(const Variant& value)
{
    Call(&WireClient::putIdRequest, Value(value));
}

Variant ItemProxy::get_LinkItem()
{
    return Call(&WireClient::getLinkItemRequest);
}

QString ItemProxy::get_Name()
{
    return Call(&WireClient::getNameRequest);
}

Variant ItemProxy::get_SettingData(qint32 index)
{
    return Call(&WireClient::getSettingDataRequest, [&](auto& request) { request.setIndex(index); });
}
