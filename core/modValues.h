#pragma once

#include "core/automation/ServerObjects.h"

#include <QStringList>

class ListBox;

/// Typed values as the operator sees and enters them.
namespace modMain {

/// The 22 captions of every value-type list, "EMPTY" to "(Unknown)".
const QStringList& TypeList();
/// Position in TypeList of "(Unknown)".
inline constexpr qint16 UnknownTypeIndex = 21;

/// The type code of a position in TypeList; -1 for "(Unknown)" and outside the list.
VarType TypeIndexToVarType(qint16 index);
/// The position of a type code in TypeList; 21 "(Unknown)" for any code that is not in it.
qint16 VarTypeToTypeIndex(VarType type);
/// Fills a list with TypeList and selects "EMPTY".
void FillTypeList(ListBox* list);

/// Created on first use and kept until the program ends.
ValueConverter& Converter();

/// The typed text of an operator's entry: the type code of the selected position and, unless it is EMPTY or NULL, ","
/// and the text as typed.
QString BuildTypedText(int typeIndex, const QString& text);
/// The value of an operator's entry. Throws ValueError when the text does not fit the type.
Variant ToValue(int typeIndex, const QString& text);

/// A value as typed text; never fails (",???" for values without a text, ",..." for objects and for arrays of nine or
/// more elements).
QString ValueToTypedText(const Variant& value);
/// The part of a typed text after its first comma; the whole text when there is no comma.
QString ValueTextOf(const QString& typedText);
/// A value as the grids show it: "25 (I4)", "... (ARRAY | R8)", "(EMPTY)". Failures are logged and give "".
QString ValueToDisplayText(const Variant& value);

} // namespace modMain
