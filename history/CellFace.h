#pragma once

#include "core/automation/Variant.h"

/// How a cell is drawn.
enum class CellKind : quint8
{
    Text,
    Number, ///< right-aligned
    Remark  ///< tells something about the cell, for example that it is empty
};

/// What a cell of a result shows: one line, shortened.
struct CellFace
{
    QString Text;
    CellKind Kind = CellKind::Text;
};

/// NULL is the remark "NULL", so that it differs from an empty text and from the text "NULL". Blobs show their first
/// bytes in hexadecimal and their size; dates are "yyyy-MM-dd hh:mm:ss", with three or six decimals if there are any.
CellFace FaceOf(const Variant& value);

/// The value text of an array, all of it. Throws ValueError for what has none.
QString ArrayTextOf(const Variant& value);
/// The whole text of a cell as it is copied; see CellText.
QString WholeText(const Variant& value);
