#pragma once

#include <QStringList>

/// What the command line asks for.
struct ScriptOptions
{
    QString File; ///< "-" is standard input
    QString Title;
    QStringList Names;
    int MemoryMegabytes = 1024;
    bool AttachOnly = false;  ///< no server is started
    bool MarksErrors = false; ///< in standard output
    QString Answer;           ///< of --help and --version: to be printed, and nothing else to be done
};

/// Throws DescribedError for a command line that cannot be understood.
ScriptOptions ReadOptions(const QStringList& arguments);
