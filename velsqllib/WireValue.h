#pragma once

#include "core/automation/Variant.h"
#include "velsqllib/velsqllib.capnp.h"

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

/// The most that the elements of an array that arrives may take in memory, nested ones included.
inline constexpr quint64 MostValueBytes = 512 * 1024 * 1024;

/// Throws ValueError for data that is not a value of this system, or takes too much memory.
Variant ReadValue(wire::Value::Reader reader, WireObjects& objects);
