#pragma once

#include "resulttext/CellText.h"

/// A JSON string with its quotes.
void AppendJsonString(QString& out, QStringView text);

/// A value as JSON. Numbers are JSON numbers where a double holds all of their digits, else strings of their cell texts;
/// so are infinities, NaN, dates and arrays. NULL and EMPTY are null. Throws what `arrayText` throws.
void AppendJson(QString& out, const Variant& value, ArrayText arrayText);
/// The same with arrays as JSON arrays, and null for objects.
void AppendNestedJson(QString& out, const Variant& value);
