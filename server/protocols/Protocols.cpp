#include "server/protocols/Protocols.h"

#include "server/sources/replay/ReplaySource.h"

std::span<const Protocol> Protocols()
{
    static const Protocol protocols[] = {
        {QStringLiteral("replay"), &ReplaySource::Make},
    };
    return protocols;
}
