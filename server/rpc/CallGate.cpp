#include "server/rpc/CallGate.h"

QString CalledObject::Text() const
{
    if (Controller.isEmpty() && Item.isEmpty()) return Kind;
    return Kind + u'(' + (Item.isEmpty() ? Controller : Controller + u'\\' + Item) + u')';
}

QString OperationName(capnp::InterfaceSchema::Method method)
{
    QString name = QString::fromUtf8(method.getProto().getName().cStr());
    const bool isProperty =
        name.size() > 3 && name[3].isUpper() && (name.startsWith(u"get") || name.startsWith(u"put"));
    if (isProperty) name.insert(3, u'_');
    else name[0] = name[0].toUpper();
    return name.replace(QStringLiteral("_Id"), QStringLiteral("_ID"));
}
