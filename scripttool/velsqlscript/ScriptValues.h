#pragma once

#include "scripttool/velsqlscript/ScriptHandle.h"

#include <QJSEngine>

/// The functions that prelude.js gives to the native side; empty until it has run.
struct PreludeFunctions
{
    QJSValue Wrap;   ///< makes a wrapper of (kind's name, handle)
    QJSValue Unwrap; ///< a wrapper's handle, undefined for anything else
    /// Calls (handler, argument); returns undefined, or an object whose "error" the handler has thrown.
    QJSValue Invoke;
    QJSValue MakeError; ///< makes a script error of (type's name, message)
};

/// Converts values of the server to script values and back. Plain script values get their natural type; wrappers of
/// typed values and of objects bring theirs.
class ScriptValues
{
public:
    /// Both outlive this object.
    ScriptValues(QJSEngine& engine, const PreludeFunctions& prelude);

    QJSValue ToScript(const Variant& value);
    QJSValue Wrap(const ScriptHandle& handle);
    /// Throws ValueError for values that have no type at the server.
    Variant FromScript(const QJSValue& value) { return FromScript(value, 0); }
    QList<Variant> ListFromScript(const QJSValue& array) { return ListFromScript(array, -1); }

private:
    QJSValue ArrayToScript(const SafeArray& array);
    Variant FromScript(const QJSValue& value, int depth);
    QList<Variant> ListFromScript(const QJSValue& array, int depth);
    Variant FromObject(const QJSValue& object);

    QJSEngine& m_Engine;
    const PreludeFunctions& m_Prelude;
};
