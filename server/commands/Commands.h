#pragma once

#include "server/commands/CallWatch.h"
#include "server/commands/CommandText.h"
#include "server/rpc/ObjectDirectory.h"

#include <functional>

/// What the commands work on.
struct CommandSubjects
{
    ::Plant& Plant;
    History& Records;
    std::function<HeldCounts()> Held;
    CallWatch& Watch;
    kj::Timer& Timer;
    std::function<Variant()> LastDefinition;
    std::function<QString()> PlantText;
    std::function<void()> EndServer;
};

/// The commands of the engine's and the controllers' Execute.
class Commands : public CommandHandler
{
public:
    explicit Commands(CommandSubjects subjects);

    kj::Promise<Variant> ExecuteOnEngine(const QString& command) override;
    kj::Promise<Variant> ExecuteOnController(PlantController& controller, const QString& command,
                                             const Variant& parameter) override;
    QStringList ListedItems(const PlantController& controller, qsizetype most) const override;

private:
    /// A command, and where it was given.
    struct Order
    {
        CommandText Text;
        PlantController* Controller; ///< null for the engine
        Variant Parameter;           ///< from a controller's Execute
    };
    using Action = kj::Promise<Variant> (Commands::*)(Order& order);
    struct Command
    {
        const char16_t* Name;
        const char16_t* Usage;
        Action Run;
    };
    static const std::array<Command, 19> s_Commands;

    kj::Promise<Variant> Execute(Order order);
    kj::Promise<Variant> Echo(Order& order);
    kj::Promise<Variant> Fail(Order& order);
    kj::Promise<Variant> Sleep(Order& order);
    kj::Promise<Variant> Return(Order& order);
    kj::Promise<Variant> ReturnObject(Order& order);
    kj::Promise<Variant> SetState(Order& order);
    kj::Promise<Variant> Fire(Order& order);
    kj::Promise<Variant> Disturb(Order& order);
    kj::Promise<Variant> Restore(Order& order);
    kj::Promise<Variant> ListItems(Order& order);
    kj::Promise<Variant> ReportDefinition(Order& order);
    kj::Promise<Variant> ReportPlant(Order& order);
    kj::Promise<Variant> ReportReferences(Order& order);
    kj::Promise<Variant> ReportCalls(Order& order);
    kj::Promise<Variant> ReportStatements(Order& order);
    kj::Promise<Variant> BreakStatement(Order& order);
    kj::Promise<Variant> ReportDevices(Order& order);
    kj::Promise<Variant> ReportItem(Order& order);
    kj::Promise<Variant> Terminate(Order& order);
    PlantController& ControllerOf(Order& order) const;

    CommandSubjects m_Subjects;
    /// By controller: "missing", "renamed" or "reordered".
    QHash<QString, QString> m_WrongLists;
};
