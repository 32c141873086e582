#pragma once

#include <QPalette>

/// How well colours can be told apart, whoever has chosen them.
namespace Contrast {

/// From 1 (the same) to 21 (black and white), by the formulas "contrast ratio" and "relative luminance" of the Web
/// Content Accessibility Guidelines 2.1 (W3C); transparency does not count.
double Ratio(const QColor& one, const QColor& other);

/// As little `ink` mixed into `ground` as makes a ratio of `ratio` to it; `ink` itself where even that is less.
QColor Toned(const QColor& ground, const QColor& ink, double ratio);

/// Below this ratio two fills next to each other are taken for the same.
constexpr double LeastOfFills = 1.5;
/// What the outline of a control needs, and what a text needs, by the same guidelines.
constexpr double LeastOfOutlines = 3;
constexpr double LeastOfTexts = 4.5;

/// Whether their fills alone tell open fields (Base) from locked ones (Button).
bool TellsFieldsApart(const QPalette& palette);

} // namespace Contrast
