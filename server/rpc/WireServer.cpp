#include "server/rpc/WireServer.h"

kj::Exception ToException(const QString& description)
{
    const QByteArray text = description.toUtf8();
    return {kj::Exception::Type::FAILED, __FILE__, __LINE__,
            kj::heapString(text.constData(), static_cast<std::size_t>(text.size()))};
}
