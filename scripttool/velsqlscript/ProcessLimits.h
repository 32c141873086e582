#pragma once

#include <QString>

/// Bounds the memory of this process, and says a last word when a script goes beyond it or uses up the stack: such a process
/// ends at once with code 1, and a line that begins with `title`. To be called once.
void LimitProcess(int megabytes, const QString& title);
