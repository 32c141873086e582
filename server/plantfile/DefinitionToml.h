#pragma once

#include "core/automation/Variant.h"

#include <QList>

/// Item definitions as plant files hold them: a list of texts, flags and whole numbers, whose types follow from their
/// places.

/// `["Note", false, "", ...]`, in one line.
QString DefinitionToToml(const Variant& definition);

/// A text in TOML's double quotes.
QString TomlText(const QString& text);

/// The definition that such a list spells, valid or not.
Variant DefinitionFromToml(const QList<Variant>& values);
