#pragma once

#include <capnp/message.h>
#include <kj/vector.h>

/// Limits for reading messages on both sides: 512 MiB a message, and nesting deep enough for MaxArrayDepth.
capnp::ReaderOptions WireReaderOptions();
/// The same for a message of so many words: reading it costs a few times its size, most when arrays are nested.
capnp::ReaderOptions WireReaderOptions(std::size_t words);

/// What a message consists of.
struct MessageSegments
{
    explicit MessageSegments(capnp::MessageReader& message);

    kj::Vector<kj::ArrayPtr<const capnp::word>> All;
    std::size_t Words = 0;
};

/// Whether the message leads to no more data than it has: not to the same data again and again, by which a short one
/// could fill any memory, not out of itself, and not too deep. What our programs write never does.
bool LeadsToItsDataOnce(capnp::MessageReader& message);
