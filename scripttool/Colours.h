#pragma once

#include <QPalette>

/// Colours of the script window, made from the palette so that they can be read on light and on dark ground.
namespace Colours {

/// `share` of `ink` (0 to 1) on the ground of text fields.
QColor OnBase(const QPalette& palette, const QColor& ink, double share);
/// The one of two colours that is read better on the ground of text fields.
QColor Readable(const QPalette& palette, const QColor& onLight, const QColor& onDark);
/// The colour of errors.
QColor Error(const QPalette& palette);

} // namespace Colours
