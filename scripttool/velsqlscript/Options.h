#pragma once

#include "scripttool/velsqlscript/QueryOptions.h"

#include <QStringList>

#include <optional>

/// The options of the command line.
struct ScriptOptions
{
    QString File; ///< "-" is standard input
    QString Title;
    QStringList Names;
    int MemoryMegabytes = 1024;
    bool AttachOnly = false;           ///< does not start a server
    bool MarksErrors = false;          ///< on standard output
    std::optional<QueryOptions> Query; ///< in place of a script
    /// The answer to --help or --version; when it is not empty, it is printed and nothing else is done.
    QString Answer;
};

/// Throws DescribedError for a command line that cannot be understood.
ScriptOptions ReadOptions(const QStringList& arguments);
