#pragma once

#include <QString>

class QAbstractItemView;
class QCheckBox;
class QLineEdit;
class QWidget;

/// Small routines on input fields that all windows share.
namespace modMain {

/// Enables a control and gives it the window background colour.
void EnableField(QWidget* control);
/// Disables a control and gives it the button-face colour.
void DisableField(QWidget* control);
/// EnableField or DisableField for several controls.
void EnableFields(bool enable, std::initializer_list<QWidget*> controls);

/// Ticked is true; unticked and grayed are false.
bool CheckToBool(const QCheckBox* box);

/// Rewrites a text that is a number as a signed 32-bit integer (halves to even) and returns true; leaves any other text
/// unchanged and returns false. Throws ValueError "Overflow" beyond 32 bits.
bool NormalizeIntegerText(QString& text);

void SelectAllText(QLineEdit* box);

/// Puts the current cell's text on the clipboard; errors are ignored.
void CopyCellToClipboard(const QAbstractItemView* grid);

/// Replaces the selection of a single-line box with the text up to its first line end.
void InsertLine(QLineEdit* box, const QString& text);

/// Whether cut, copy and paste can work on a widget: a QLineEdit or QPlainTextEdit, but not a LabelPane.
bool IsEditBox(const QWidget* widget);
bool HasSelection(const QWidget* editBox);
/// Whether the operator cannot change the text: read-only or disabled.
bool IsReadOnly(const QWidget* editBox);

/// Clipboard operations on ActiveEditBox; they do nothing when there is none. Copying without a selection leaves the
/// clipboard unchanged; pasting an empty clipboard deletes the selection; text that the operator cannot change is
/// neither cut nor replaced.
void EditCut();
void EditCopy();
void EditPaste();
/// Empties a text field.
void ClearTextBox(QWidget* editBox);

} // namespace modMain
