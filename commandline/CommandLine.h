#pragma once

#include "core/automation/Errors.h"

#include <QCommandLineParser>

/// A command line that a program does not understand.
class UsageError : public DescribedError
{
public:
    using DescribedError::DescribedError;
};

/// The command line of the programs: all answer -h and -v alike and reject unknown arguments in the same words.
class CommandLine : public QCommandLineParser
{
public:
    /// The exit code after wrong usage.
    static constexpr int WrongUse = 2;

    enum class Files
    {
        None,
        Named
    };

    /// `program` is the program's name in the shell.
    CommandLine(const QString& program, const QString& description);

    /// The text that -h or -v asks for, which the program prints before it ends; otherwise empty. Throws UsageError.
    QString Read(const QStringList& arguments, Files files = Files::None);
    /// Writes what is wrong to standard error; returns WrongUse.
    int Refuse(const UsageError& error) const;

private:
    QString m_Program;
};
