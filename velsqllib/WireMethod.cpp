#include "velsqllib/WireMethod.h"

namespace {

/// The schema's annotation "since".
constexpr quint64 SinceId = 0xc1d7a0e25b9f4836;

quint16 SinceOf(capnp::InterfaceSchema::Method method)
{
    for (const auto annotation : method.getProto().getAnnotations()) {
        if (annotation.getId() == SinceId) return annotation.getValue().getUint16();
    }
    return 0;
}

bool AnswersBoolean(capnp::InterfaceSchema::Method method)
{
    const auto fields = method.getResultType().getFields();
    return fields.size() > 0 && fields[0].getType().isBool();
}

} // namespace

WireMethod WireMethod::Find(capnp::InterfaceSchema interface, capnp::StructSchema params)
{
    for (const auto method : interface.getMethods()) {
        if (method.getParamType() == params)
            return {interface.getProto().getId(), method.getOrdinal(), SinceOf(method), AnswersBoolean(method)};
    }
    qFatal("a method's parameters belong to another interface");
}
