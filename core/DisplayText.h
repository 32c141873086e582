#pragma once

#include <QString>

/// Makes texts of any length and content fit for a line of a list or a tool tip. Only what is painted is shortened;
/// code that keeps or copies a text uses the text itself.

/// Whether a character ends a line: CR, LF and the two separators.
bool IsLineEnd(QChar character);
/// At most `length` characters, with blanks for line ends: one line of a list or tree.
QString OneLine(const QString& text, qsizetype length = 1000);
/// The text for a tool tip that shows it literally and wrapped, at most two thousand characters of it. Empty for an
/// empty text.
QString ToolTipHtml(const QString& text);
