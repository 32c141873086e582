#pragma once

#include <QPalette>

/// Colours that no palette has, derived from the palette so that they are legible on light and dark backgrounds.
namespace Colours {

/// `share` (0 to 1) of `ink` mixed into the background of text fields.
QColor OnBase(const QPalette& palette, const QColor& ink, double share);
/// Whichever colour is more legible on the background of text fields.
QColor Readable(const QPalette& palette, const QColor& onLight, const QColor& onDark);
/// The colour of errors.
QColor Error(const QPalette& palette);

} // namespace Colours
