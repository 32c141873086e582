#include "velsqllib/WireLimits.h"

#include "core/automation/SafeArray.h"

#include <capnp/any.h>
#include <capnp/serialize.h>
#include <kj/vector.h>

capnp::ReaderOptions WireReaderOptions()
{
    capnp::ReaderOptions options;
    options.traversalLimitInWords = 64 * 1024 * 1024;
    // A variant inside an array is three pointers deep.
    options.nestingLimit = 3 * MaxArrayDepth + 16;
    return options;
}

capnp::ReaderOptions WireReaderOptions(std::size_t words)
{
    capnp::ReaderOptions options = WireReaderOptions();
    options.traversalLimitInWords = std::min<uint64_t>(options.traversalLimitInWords, 32 * words + 4096);
    return options;
}

MessageSegments::MessageSegments(capnp::MessageReader& message)
{
    for (uint n = 0; message.getSegment(n).begin() != nullptr; Words += All[n++].size()) All.add(message.getSegment(n));
}

bool LeadsToItsDataOnce(capnp::MessageReader& message)
{
    const MessageSegments segments(message);
    // By a reader of its own, so that looking takes nothing from what may be read afterwards.
    capnp::ReaderOptions options = WireReaderOptions();
    options.traversalLimitInWords = 2 * segments.Words + 4096;
    try {
        capnp::SegmentArrayMessageReader look(segments.All, options);
        return look.getRoot<capnp::AnyPointer>().targetSize().wordCount <= segments.Words;
    } catch (const kj::Exception&) {
        return false;
    }
}
