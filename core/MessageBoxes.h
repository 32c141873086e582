#pragma once

#include <QString>

/// The few message boxes of the console: plain text, titled with the program's name, in front of the main window.
namespace modMain {

/// "Are you sure ?" with Yes and No. True for Yes; closing the box is No.
bool AskSure();
/// For input that the console itself refuses.
void ShowExclamation(const QString& text);
/// A message without an icon.
void ShowPlain(const QString& text);

} // namespace modMain
