#pragma once

#include "core/automation/ServerObjects.h"

#include <QMetaType>

/// What a wrapper in a script stands for; decides which members it has.
enum class ObjectKind
{
    Engine,
    Controller,
    Item,
    History,
    ResultSet,
    TypedValue,
    Unknown
};

/// The native side of a wrapper: an object of the server, or a value that keeps its exact type. It is copied into the
/// script engine, so that it is released as soon as the wrapper is collected.
struct ScriptHandle
{
    ObjectKind Kind = ObjectKind::Unknown;
    Variant Value;
};

Q_DECLARE_METATYPE(ScriptHandle)

/// Which of the server's objects it is.
ObjectKind KindOf(const ObjectRef& object);
/// The name under which scripts and messages know it, such as "Controller".
QString KindName(ObjectKind kind);
