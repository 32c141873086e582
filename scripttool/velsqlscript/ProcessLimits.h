#pragma once

#include <QString>

/// Limits the memory of this process. A script that exceeds the limit or uses up the stack ends the process at once
/// with code 1 and a last line that begins with `title`. To be called once.
void LimitProcess(int megabytes, const QString& title);
