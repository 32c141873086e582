#pragma once

#include "core/automation/Variant.h"
#include "velsqllib/velsqllib.capnp.h"

#include <capnp/message.h>

/// How server objects inside values become wire objects and back; client and server each have their own.
class WireObjects
{
public:
    virtual ~WireObjects();
    virtual void Write(const ObjectRef& object, wire::Object::Builder builder) = 0;
    virtual ObjectRef Read(wire::Object::Reader reader) = 0;
};

/// For values that hold no objects, as in results, which come from a database.
class NoObjects : public WireObjects
{
public:
    void Write(const ObjectRef&, wire::Object::Builder builder) override { builder.setNone(); }
    ObjectRef Read(wire::Object::Reader) override { return nullptr; }
};

/// Throws ValueError when arrays are nested too deeply.
void WriteValue(const Variant& value, wire::Value::Builder builder, WireObjects& objects);

/// Throws ValueError for data that is not a value of this system.
Variant ReadValue(wire::Value::Reader reader, WireObjects& objects);

/// Limits for reading messages on both sides: 512 MiB a message, and nesting deep enough for MaxArrayDepth.
capnp::ReaderOptions WireReaderOptions();
/// The same for a message of so many words, which must not repeat the same data again and again: reading a value costs
/// a few times its size, most when arrays are nested.
capnp::ReaderOptions WireReaderOptions(std::size_t words);
