#pragma once

#include <QString>

#include <optional>

/// What the add-item dialog makes of typed texts when a field is left.

/// Why an item cannot have this name, as a text for the operator; empty when it can. `name` is already trimmed.
QString NameComplaint(const QString& name);
/// The text as a 32-bit integer (halves to even) in plain decimal; "0" for an empty text and beyond the range. Empty
/// optional when it is not a number.
std::optional<QString> Int32Text(const QString& text);
/// The text as a single of at most 7 significant digits; "0" for an empty text and beyond the range. Empty optional
/// when it is not a number.
std::optional<QString> SingleText(const QString& text);
