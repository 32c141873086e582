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

/// From now on lines less important than `level` are dropped; at first these are the Debug lines.
void SetLogLevel(LogLevel level);

/// From now on lines go to this file, and also to standard error until LeaveStandardError. Logs a warning when the file
/// cannot be written.
void LogToFile(const QString& path);
/// To be called after LogToFile: standard error, which the starting process no longer reads, becomes that file, or
/// nothing.
void LeaveStandardError();

/// Writes lines to standard error without time and level, such as "<file>:<line>: <mistake>"; in the log file they are
/// errors.
void LogMistakes(const QString& lines);

/// Writes one line to standard error, from any thread, with the journal's level mark in front when standard error goes
/// to the journal.
void Log(LogLevel level, const QString& text);
