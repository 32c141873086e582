#pragma once

#include "core/automation/Variant.h"

/// How a cell is drawn.
enum class CellKind : quint8
{
    Text,
    Number, ///< stands at the right edge
    Remark  ///< says something about the cell, such as that it holds nothing
};

/// What a cell of a result shows: one line, shortened.
struct CellFace
{
    QString Text;
    CellKind Kind = CellKind::Text;
};

/// "NULL" as a remark, so that it differs from an empty text and from the text "NULL"; blobs as their first bytes in
/// hexadecimal and their size; dates as "yyyy-MM-dd hh:mm:ss", with three or six decimals when there are any.
CellFace FaceOf(const Variant& value);

/// The whole text of a cell, as it is copied: nothing for NULL, all bytes of a blob in hexadecimal.
QString WholeText(const Variant& value);
