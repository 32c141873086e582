#pragma once

#include "core/automation/Errors.h"

#include <QCommandLineParser>

/// A command line that a program cannot follow.
class UsageError : public DescribedError
{
public:
    using DescribedError::DescribedError;
};

/// The command line of one of the three programs: all of them answer -h and -v alike, and refuse alike what they do not know.
class CommandLine : public QCommandLineParser
{
public:
    /// The exit code of a program that was called wrongly.
    static constexpr int WrongUse = 2;

    enum class Files
    {
        None,
        Named
    };

    /// `program` as it is called in the shell.
    CommandLine(const QString& program, const QString& description);

    /// What -h or -v asks for: to be printed, and nothing else to be done; empty when there is more to do. Throws UsageError.
    QString Read(const QStringList& arguments, Files files = Files::None);
    /// Says on standard error what is wrong; returns WrongUse.
    int Refuse(const UsageError& error) const;

private:
    QString m_Program;
};
