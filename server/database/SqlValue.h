#pragma once

#include "core/automation/Variant.h"

#include <QVariant>

/// A database's value as a value of this system: integers become I4 if they fit, otherwise R8; texts BSTR; blobs arrays
/// of UI1; SQL's NULL becomes NULL.
Variant FromSql(const QVariant& value);

/// How an item's value is recorded: numbers as numbers, texts as texts, arrays as the text of their elements, EMPTY and
/// NULL as SQL's NULL.
QVariant ToSql(const Variant& value);

/// Approximate memory that a value takes, in bytes.
qint64 SizeOf(const Variant& value);
