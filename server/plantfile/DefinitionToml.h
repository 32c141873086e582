#pragma once

#include "core/automation/Variant.h"

#include <QList>

/// Item definitions as plant files hold them: a list of texts, flags and whole numbers, whose types follow from their
/// places.

/// `["Note", false, "", ...]`, in one line.
QString DefinitionToToml(const Variant& definition);

/// A text in TOML's double quotes.
QString TomlText(const QString& text);

/// What such a list was read as becomes a definition again, right or wrong.
Variant DefinitionFromToml(const QList<Variant>& values);
