#include "commandline/CommandLine.h"

#include <cstdio>

CommandLine::CommandLine(const QString& program, const QString& description)
    : m_Program(program)
{
    setApplicationDescription(description);
    addOptions({
        {{QStringLiteral("h"), QStringLiteral("help")}, QStringLiteral("Only print this text.")},
        {{QStringLiteral("v"), QStringLiteral("version")}, QStringLiteral("Only print the version.")},
    });
}

QString CommandLine::Read(const QStringList& arguments, Files files)
{
    if (!parse(arguments)) throw UsageError(errorText());
    if (isSet(QStringLiteral("help"))) return helpText().trimmed();
    if (isSet(QStringLiteral("version"))) return m_Program + QStringLiteral(" " VELSQL_VERSION);
    const QStringList others = positionalArguments();
    if (files == Files::None && !others.isEmpty())
        throw UsageError(QStringLiteral("\"%1\" is not an option; --help lists them.").arg(others.first()));
    return {};
}

int CommandLine::Refuse(const UsageError& error) const
{
    std::fprintf(stderr, "%s: %s\n", qPrintable(m_Program), qPrintable(error.Description()));
    return WrongUse;
}
