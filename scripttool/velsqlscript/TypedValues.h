#pragma once

#include "core/automation/Variant.h"

#include <QStringList>

/// Values of types that a script names, and how a script sees the type of a value.

/// "I2", "ARRAY|I2", "EMPTY".
QString NameOfType(VarType type);
/// The types, such as "I2", of which a script can make single values.
QStringList MakeableTypes();
/// `name` is the type of a single value or of an array's elements. Throws ValueError for other names.
VarType TypeNamed(const QString& name);

/// A plain value converted to `type`: numbers are rounded as the converter rounds them, true is -1, texts are read as
/// value texts. Throws ValueError with the converter's description.
Variant MakeTyped(VarType type, const Variant& plain);
/// Converts every element as MakeTyped does; elements of VT_VARIANT stay unchanged.
Variant MakeArray(VarType elementType, const QList<Variant>& elements, qint32 lowerBound);

/// The console's typed text of a value, such as "2,5". Throws ValueError for values without a text.
QString TypedTextOf(const Variant& value);
/// EMPTY when the value is not an array.
Variant LowerBoundOf(const Variant& value);

/// Arguments of operations. All throw ValueError "Type mismatch".
qint32 ToInt32(const Variant& value); ///< also "Overflow"; whole numbers only
bool ToBool(const Variant& value);    ///< numbers other than 0 are true
QString ToText(const Variant& value); ///< only texts
