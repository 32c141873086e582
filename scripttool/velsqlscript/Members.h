#pragma once

#include "scripttool/velsqlscript/ScriptHandle.h"

#include <functional>
#include <vector>

using Arguments = QList<Variant>;

/// One name that a script may use on a wrapper.
struct Member
{
    QString Name;
    /// Read and written like a value, without arguments; otherwise called as a function.
    bool IsProperty = true;
    /// Missing arguments beyond these are EMPTY, 0 or an empty text.
    qsizetype RequiredArguments = 0;
    qsizetype MostArguments = 0;
    std::function<Variant(const Variant& self, const Arguments& arguments)> Get;
    /// Empty when the member is read-only.
    std::function<void(const Variant& self, const Variant& value)> Put;
};

/// All members of a kind, in the order of the server's operation table, without the events of controllers.
const std::vector<Member>& MembersOf(ObjectKind kind);

/// Reads a property or calls a function of an object. Throws ValueError when the arguments do not fit, and whatever the
/// call throws.
Variant ReadMember(const ScriptHandle& object, const QString& name, const Arguments& arguments);
/// Only for writable members.
void WriteMember(const ScriptHandle& object, const QString& name, const Variant& value);
