#include "server/commands/Commands.h"

#include "core/automation/Errors.h"
#include "core/automation/NumberText.h"

Commands::Commands(kj::Timer& timer)
    : m_Timer(timer)
{
}

kj::Promise<Variant> Commands::ExecuteOnEngine(const QString& command)
{
    const QString verb = command.section(u' ', 0, 0);
    const QString rest = command.section(u' ', 1);
    if (verb == QStringLiteral("echo")) return Variant(rest);
    if (verb == QStringLiteral("fail")) throw ServerError(rest);
    if (verb == QStringLiteral("sleep"))
        return m_Timer.afterDelay(RoundToInt32(ParseLeadingNumber(rest)) * kj::MILLISECONDS).then([] {
            return Variant();
        });
    throw ServerError(QStringLiteral("The command \"%1\" does not exist.").arg(verb));
}

kj::Promise<Variant> Commands::ExecuteOnController(PlantController&, const QString& command, const Variant& parameter)
{
    if (command == QStringLiteral("echo")) return parameter;
    return ExecuteOnEngine(command);
}
