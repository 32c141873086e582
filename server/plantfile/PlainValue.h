#pragma once

#include "core/automation/Variant.h"

#include <optional>
#include <toml++/toml.h>

/// Single values of a plant file, from TOML's own types and from the texts of a row.

/// I4, or R8 beyond it.
Variant IntegerToVariant(std::int64_t number);

/// A TOML date or time as a DATE in local time. Throws ValueError outside the years that a DATE can say.
Variant TimeToVariant(const toml::node& node);

/// The number that a text spells in the shortest way, so that making a text of it again loses nothing, such as zeros in
/// front.
std::optional<Variant> NumberInCell(const QString& text);

/// A flag (in any case, as spreadsheets write it), a whole number or a number that a text spells.
template <typename T>
std::optional<T> ParseCell(const QString& text);
template <>
std::optional<bool> ParseCell(const QString& text);
template <>
std::optional<std::int64_t> ParseCell(const QString& text);
template <>
std::optional<double> ParseCell(const QString& text);
