#pragma once

#include "scripttool/velsqlscript/ScriptHandle.h"

#include <functional>
#include <vector>

using Arguments = QList<Variant>;

/// One name that a script may use on a wrapper.
struct Member
{
    QString Name;
    /// Read and written as a value, without arguments; else called as a function.
    bool IsProperty = true;
    /// Arguments missing after these are EMPTY, 0 or an empty text.
    qsizetype RequiredArguments = 0;
    qsizetype MostArguments = 0;
    std::function<Variant(const Variant& self, const Arguments& arguments)> Get;
    /// Empty when it is read only.
    std::function<void(const Variant& self, const Variant& value)> Put;
};

/// All members of a kind, in the order of the server's operation table; the events of controllers are not among them.
const std::vector<Member>& MembersOf(ObjectKind kind);

/// Reads a property or calls a function of an object. Throws ValueError when the arguments do not fit, and what the
/// call throws.
Variant ReadMember(const ScriptHandle& object, const QString& name, const Arguments& arguments);
/// Only for members that can be written.
void WriteMember(const ScriptHandle& object, const QString& name, const Variant& value);
