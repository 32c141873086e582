#pragma once

#include <kj/exception.h>
#include <kj/string.h>

/// Throws the reason why a client's message is refused. `why` continues "A client was dropped: ".
[[noreturn]] inline void RefuseMessage(kj::StringPtr why)
{
    kj::throwFatalException(kj::Exception(kj::Exception::Type::FAILED, __FILE__, __LINE__, kj::str(why)));
}
