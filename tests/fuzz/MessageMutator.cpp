// How libFuzzer changes conversations: besides single bytes also whole messages, which come twice, elsewhere or not at
// all, and the bytes inside one of them, whose size stays.
#include "tests/fuzz/Messages.h"

#include <algorithm>
#include <cstring>
#include <random>

extern "C" size_t LLVMFuzzerMutate(quint8* data, size_t size, size_t mostBytes);

namespace {

using Bytes = kj::ArrayPtr<const kj::byte>;

size_t Join(const std::vector<Bytes>& messages, quint8* data, size_t mostBytes)
{
    std::vector<quint8> joined;
    for (const Bytes message : messages) joined.insert(joined.end(), message.begin(), message.end());
    const size_t size = std::min(joined.size(), mostBytes);
    std::copy_n(joined.begin(), size, data);
    return size;
}

void ChangeInside(Bytes message)
{
    constexpr size_t head = 8;
    if (message.size() <= head) return;
    auto* const body = const_cast<quint8*>(message.begin()) + head;
    LLVMFuzzerMutate(body, message.size() - head, message.size() - head);
}

} // namespace

extern "C" size_t LLVMFuzzerCustomMutator(quint8* data, size_t size, size_t mostBytes, unsigned seed)
{
    std::mt19937 random(seed);
    auto messages = MessagesIn({data, size});
    if (messages.size() < 2) return LLVMFuzzerMutate(data, size, mostBytes);
    const auto any = [&] { return messages.begin() + static_cast<qsizetype>(random() % messages.size()); };
    switch (random() % 8) {
    case 0: return LLVMFuzzerMutate(data, size, mostBytes);
    case 1: messages.insert(any(), *any()); break;
    case 2: messages.erase(any()); break;
    case 3: std::iter_swap(any(), any()); break;
    default: return ChangeInside(*any()), size;
    }
    return Join(messages, data, mostBytes);
}

/// The beginning of one conversation, and the end of another.
extern "C" size_t LLVMFuzzerCustomCrossOver(const quint8* first, size_t firstSize, const quint8* second,
                                            size_t secondSize, quint8* out, size_t mostBytes, unsigned seed)
{
    std::mt19937 random(seed);
    auto messages = MessagesIn({first, firstSize});
    const auto others = MessagesIn({second, secondSize});
    messages.resize(random() % (messages.size() + 1));
    const auto from = static_cast<qsizetype>(random() % (others.size() + 1));
    messages.insert(messages.end(), others.begin() + from, others.end());
    return Join(messages, out, mostBytes);
}
