#pragma once

#include "core/automation/Variant.h"

#include <QVariant>

/// A database's value as a value of this system: integers I4 where they fit, else R8; texts BSTR; blobs arrays of UI1;
/// no value NULL.
Variant FromSql(const QVariant& value);

/// How an item's value is recorded: numbers as numbers, texts as texts, arrays as the text of their elements, nothing
/// for EMPTY and NULL.
QVariant ToSql(const Variant& value);

/// About how many bytes of memory a value takes.
qint64 SizeOf(const Variant& value);
