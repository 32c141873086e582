#pragma once

#include <QStringList>

/// The options of the command line.
struct ScriptOptions
{
    QString File; ///< "-" is standard input
    QString Title;
    QStringList Names;
    int MemoryMegabytes = 1024;
    bool AttachOnly = false;  ///< no server is started
    bool MarksErrors = false; ///< in standard output
    QString Answer;           ///< to --help and --version: printed, and nothing else is done
};

/// Throws DescribedError for a command line that cannot be understood.
ScriptOptions ReadOptions(const QStringList& arguments);
