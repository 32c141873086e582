#pragma once

#include <QtEndian>

#include <kj/array.h>
#include <vector>

/// How long the message is that begins here, by the sizes that it begins with, whether or not all of it is there. What
/// is no message is as long as it is.
inline size_t LengthOfMessage(kj::ArrayPtr<const kj::byte> bytes)
{
    constexpr quint32 mostSegments = 512;
    const quint32 others = bytes.size() < 8 ? mostSegments : qFromLittleEndian<quint32>(bytes.begin());
    size_t length = 8 * ((size_t{others} + 1) / 2 + 1);
    if (others >= mostSegments || length > bytes.size()) return bytes.size();
    for (quint32 i = 1; i <= others + 1; ++i) length += 8 * size_t{qFromLittleEndian<quint32>(bytes.begin() + 4 * i)};
    return length;
}

/// Cuts what is said into messages; what is cut off or none is the last.
inline std::vector<kj::ArrayPtr<const kj::byte>> MessagesIn(kj::ArrayPtr<const kj::byte> bytes)
{
    std::vector<kj::ArrayPtr<const kj::byte>> messages;
    while (bytes.size() > 0) {
        const size_t length = std::min(LengthOfMessage(bytes), bytes.size());
        messages.push_back(bytes.slice(0, length));
        bytes = bytes.slice(length, bytes.size());
    }
    return messages;
}
