#pragma once

#include <QMessageBox>

#include <functional>

/// The few message boxes of the console: plain text, titled with the program's name, in front of the main window.
namespace modMain {

/// "Are you sure ?" with Yes and No. True for Yes; closing the box is No.
bool AskSure();
/// Input that the console itself refuses.
void ShowExclamation(const QString& text);
/// A message without icon.
void ShowPlain(const QString& text);

/// Shows a box that is ready and returns the button that ended it.
using MessageBoxRunner = std::function<QMessageBox::StandardButton(QMessageBox&)>;

/// From now on `runner` gets every box, so that tests can look at it and answer; an empty one goes back to showing it. Returns the one
/// before.
MessageBoxRunner ReplaceMessageBoxes(MessageBoxRunner runner);

} // namespace modMain
