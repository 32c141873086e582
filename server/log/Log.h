#pragma once

#include <QString>

/// Severities as syslog numbers them, so that the journal sorts the lines.
enum class LogLevel
{
    Error = 3,
    Warning = 4,
    Info = 6,
    Debug = 7
};

/// Lines less important than `level` are left out from now on; at first Debug lines are.
void SetLogLevel(LogLevel level);

/// One line to standard error, from any thread; with the journal's level mark in front when the journal listens there.
void Log(LogLevel level, const QString& text);
