#pragma once

#include "core/automation/Variant.h"
#include "trend/data/TrendData.h"

/// What a pen has got at a moment, as it stands in a table: a number, a truth or a text; NaN where the state was not
/// good or there was no value.
struct TableValue
{
    Micros Time = 0;
    Variant Cell = {};
};

/// A pen's column, and what the trend has heard of it without the history.
struct ExportedPen
{
    PenSettings Settings;
    PenKind Kind = PenKind::Numbers;
    Variant Held = {};                  ///< when the span begins; EMPTY if that was not heard
    std::vector<TableValue> Heard = {}; ///< in the span, in order
};

/// A table of every value that pens have got in a span.
struct ExportOrder
{
    QString Path;
    Span Of;        ///< ends now at the latest
    Micros Now = 0; ///< as the server's clock has it
    std::vector<ExportedPen> Pens = {};
};

/// Of the visible pens.
ExportOrder OrderOf(const TrendData& data, const Span& shown, const QString& path);

/// How a value stands in a table.
Variant CellOf(const Variant& value, bool isGood, PenKind kind);
