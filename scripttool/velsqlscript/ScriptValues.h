#pragma once

#include "scripttool/velsqlscript/ScriptHandle.h"

#include <QJSEngine>

/// Values of the server as values of a script and back. What a script writes plainly gets the type that is natural for it;
/// wrappers of typed values and of objects carry theirs.
class ScriptValues
{
public:
    /// `wrap` makes a wrapper of (kind's name, handle), `unwrap` gives a wrapper's handle, undefined for anything else.
    ScriptValues(QJSEngine& engine, QJSValue wrap, QJSValue unwrap);

    QJSValue ToScript(const Variant& value);
    QJSValue Wrap(const ScriptHandle& handle);
    /// Throws ValueError for what the server has no type for.
    Variant FromScript(const QJSValue& value) { return FromScript(value, 0); }
    QList<Variant> ListFromScript(const QJSValue& array) { return ListFromScript(array, -1); }

private:
    QJSValue ArrayToScript(const SafeArray& array);
    Variant FromScript(const QJSValue& value, int depth);
    QList<Variant> ListFromScript(const QJSValue& array, int depth);
    Variant FromObject(const QJSValue& object);

    QJSEngine& m_Engine;
    QJSValue m_Wrap;
    QJSValue m_Unwrap;
};
