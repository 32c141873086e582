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

/// From now on lines go to this file; to standard error as well until LeaveStandardError. A file that cannot be written
/// is warned of.
void LogToFile(const QString& path);
/// After LogToFile: standard error, which the starting process no longer reads, becomes that file, or nothing.
void LeaveStandardError();

/// The lines of a text that stands for itself on standard error, such as "<file>:<line>: <mistake>".
void LogMistakes(const QString& lines);

/// One line to standard error, from any thread; with the journal's level mark in front when the journal listens there.
void Log(LogLevel level, const QString& text);
