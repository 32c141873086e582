#pragma once

#include <QString>

/// Texts of any length and content made fit for a line of a list or for a tool tip. Only what is painted is
/// shortened; whoever keeps or copies the text uses the text itself.

/// Whether a character ends a line: CR, LF and the two separators.
bool IsLineEnd(QChar character);
/// At most a thousand characters, line ends as blanks: one line of a list or tree.
QString OneLine(const QString& text);
/// The text as a tool tip that shows it literally, wrapped, at most two thousand characters of it. Empty for an empty
/// text.
QString ToolTipHtml(const QString& text);
