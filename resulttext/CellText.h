#pragma once

#include "core/automation/Variant.h"

/// The value text of an array, by the library's converter, which stands above this room.
using ArrayText = QString (*)(const Variant& value);

/// The whole text of a cell, as it leaves the programs: nothing for NULL and EMPTY, all bytes of a blob in hexadecimal
/// behind "0x", all digits of a number, dates with as many decimals as they have (outside the calendar their number of
/// days), "..." for objects, which have no text. Throws what `arrayText` throws.
QString CellText(const Variant& value, ArrayText arrayText);

/// False for NULL and EMPTY.
bool HasValue(const Variant& value);
/// The bytes of an array of UI1; null for anything else.
const QList<quint8>* BlobOf(const Variant& value);
/// The first `count` of them: "0x07FF".
QString Hexadecimal(const QList<quint8>& bytes, qsizetype count);
