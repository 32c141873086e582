#include "server/commands/Commands.h"

#include "core/automation/Errors.h"
#include "core/automation/PlainText.h"
#include "velsqllib/ValueText.h"

namespace {

constexpr qint32 MostEvents = 1'000'000;

/// A million events at once would hold up everybody else for seconds.
kj::Promise<Variant> RaiseInTurns(qint32 times, std::function<void()> raise)
{
    constexpr qint32 AtOnce = 100;
    for (qint32 i = 0; i < std::min(times, AtOnce); ++i) raise();
    if (times <= AtOnce) return Variant();
    return kj::evalLater([times, raise = std::move(raise)] { return RaiseInTurns(times - AtOnce, raise); });
}

} // namespace

// In the order of docs/server.md; an empty command lists them.
const std::array<Commands::Command, 19> Commands::s_Commands = {{
    {u"echo", u"TEXT", &Commands::Echo},
    {u"fail", u"TEXT", &Commands::Fail},
    {u"sleep", u"MILLISECONDS", &Commands::Sleep},
    {u"return", u"TYPED-TEXT", &Commands::Return},
    {u"object", u"[CONTROLLER] [ITEM]", &Commands::ReturnObject},
    {u"state", u"[CONTROLLER] NUMBER", &Commands::SetState},
    {u"fire", u"[CONTROLLER] state NUMBER TIMES | item NAME TIMES", &Commands::Fire},
    {u"disturb", u"OBJECT.OPERATION fail TEXT | slow MILLISECONDS", &Commands::Disturb},
    {u"restore", u"[OBJECT.OPERATION]", &Commands::Restore},
    {u"list", u"[CONTROLLER] missing | renamed | reordered | right", &Commands::ListItems},
    {u"definition", u"", &Commands::ReportDefinition},
    {u"plant", u"", &Commands::ReportPlant},
    {u"references", u"", &Commands::ReportReferences},
    {u"calls", u"", &Commands::ReportCalls},
    {u"statements", u"", &Commands::ReportStatements},
    {u"break", u"NUMBER", &Commands::BreakStatement},
    {u"devices", u"", &Commands::ReportDevices},
    {u"item", u"[CONTROLLER] ITEM", &Commands::ReportItem},
    {u"terminate", u"", &Commands::Terminate},
}};

Commands::Commands(CommandSubjects subjects)
    : m_Subjects(std::move(subjects))
{
}

kj::Promise<Variant> Commands::ExecuteOnEngine(const QString& command)
{
    return Execute({CommandText(command), nullptr, Variant()});
}

kj::Promise<Variant> Commands::ExecuteOnController(PlantController& controller, const QString& command,
                                                   const Variant& parameter)
{
    return Execute({CommandText(command), &controller, parameter});
}

QStringList Commands::ListedItems(const PlantController& controller, qsizetype most) const
{
    const QString wrong = m_WrongLists.value(controller.Name());
    const qsizetype listed = wrong.isEmpty() ? std::min(most, controller.Items().size()) : controller.Items().size();
    QStringList names;
    names.reserve(listed);
    for (qsizetype at = 0; at < listed; ++at) names.append(controller.Items()[at]->Name());
    if (names.isEmpty() || wrong.isEmpty()) return names;
    if (wrong == QStringLiteral("missing")) names.removeLast();
    else if (wrong == QStringLiteral("renamed")) names.last() += QStringLiteral(" renamed");
    else std::reverse(names.begin(), names.end());
    return names.first(std::min(most, names.size()));
}

kj::Promise<Variant> Commands::Execute(Order order)
{
    if (order.Text.IsAtEnd()) {
        QStringList usages;
        for (const Command& command : s_Commands)
            usages.append((QString::fromUtf16(command.Name) + u' ' + QString::fromUtf16(command.Usage)).trimmed());
        return Variant(usages.join(QStringLiteral("\r\n")));
    }
    const QString name = order.Text.Word(u"a name");
    for (const Command& command : s_Commands) {
        if (name == QStringView(command.Name)) return (this->*command.Run)(order);
    }
    throw ServerError(QStringLiteral("The command \"%1\" does not exist; an empty command lists all.").arg(name));
}

kj::Promise<Variant> Commands::Echo(Order& order)
{
    if (order.Controller) return order.Parameter;
    return Variant(order.Text.Rest());
}

kj::Promise<Variant> Commands::Fail(Order& order)
{
    throw ServerError(order.Text.Rest());
}

kj::Promise<Variant> Commands::Sleep(Order& order)
{
    const auto time = order.Text.Number(u"The time", 0) * kj::MILLISECONDS;
    return m_Subjects.Timer.afterDelay(time).then([] { return Variant(); });
}

kj::Promise<Variant> Commands::Return(Order& order)
{
    return ReadTypedText(order.Text.Rest());
}

kj::Promise<Variant> Commands::ReturnObject(Order& order)
{
    PlantController& controller = ControllerOf(order);
    if (order.Text.IsAtEnd()) return Variant(ObjectRef(controller.shared_from_this()));
    return Variant(ObjectRef(controller.Item(order.Text.Word(u"an item"))));
}

kj::Promise<Variant> Commands::SetState(Order& order)
{
    PlantController& controller = ControllerOf(order);
    controller.SetState(order.Text.Number(u"The state", std::numeric_limits<qint32>::min()));
    return Variant();
}

kj::Promise<Variant> Commands::Fire(Order& order)
{
    PlantController& controller = ControllerOf(order);
    const QString what = order.Text.Word(u"\"state\" or \"item\"");
    if (what != QStringLiteral("state") && what != QStringLiteral("item"))
        throw ServerError(QStringLiteral("There are events of \"state\" and \"item\", not of \"%1\".").arg(what));
    const bool isState = what == QStringLiteral("state");
    const qint32 state = isState ? order.Text.Number(u"The state", std::numeric_limits<qint32>::min()) : 0;
    const PlantItemRef item = isState ? nullptr : controller.Item(order.Text.Word(u"an item"));
    const qint32 times = order.Text.Number(u"The number of times", 0);
    if (times > MostEvents) throw ServerError(QStringLiteral("At most %1 events are fired at once.").arg(MostEvents));
    const PlantControllerRef held = controller.shared_from_this();
    return RaiseInTurns(times, [held, isState, state, item] {
        isState ? held->RaiseStateChanged(state) : held->RaiseItemChanged(item);
    });
}

kj::Promise<Variant> Commands::Disturb(Order& order)
{
    const QString operation = order.Text.Word(u"an operation");
    const QString how = order.Text.Word(u"\"fail\" or \"slow\"");
    if (how == QStringLiteral("fail")) m_Subjects.Watch.MakeFail(operation, order.Text.Rest());
    else if (how == QStringLiteral("slow")) m_Subjects.Watch.MakeSlow(operation, order.Text.Number(u"The time", 0));
    else throw ServerError(QStringLiteral("An operation can \"fail\" or be \"slow\", not \"%1\".").arg(how));
    return Variant();
}

kj::Promise<Variant> Commands::Restore(Order& order)
{
    if (order.Text.IsAtEnd()) m_Subjects.Watch.RestoreAll();
    else m_Subjects.Watch.Restore(order.Text.Word(u"an operation"));
    return Variant();
}

kj::Promise<Variant> Commands::ListItems(Order& order)
{
    const PlantController& controller = ControllerOf(order);
    const QString how = order.Text.Word(u"how to list");
    const QStringList known = {QStringLiteral("missing"), QStringLiteral("renamed"), QStringLiteral("reordered")};
    if (known.contains(how)) m_WrongLists.insert(controller.Name(), how);
    else if (how == QStringLiteral("right")) m_WrongLists.remove(controller.Name());
    else
        throw ServerError(
            QStringLiteral("Items can be listed missing, renamed, reordered or right, not \"%1\".").arg(how));
    return Variant();
}

kj::Promise<Variant> Commands::ReportDefinition(Order&)
{
    const Variant definition = m_Subjects.LastDefinition();
    if (definition.IsEmpty()) throw ServerError(QStringLiteral("No item definition has arrived yet."));
    return Variant(WriteTypedText(definition));
}

kj::Promise<Variant> Commands::ReportPlant(Order&)
{
    return Variant(m_Subjects.PlantText());
}

kj::Promise<Variant> Commands::ReportReferences(Order&)
{
    const HeldCounts held = m_Subjects.Held();
    return Variant(QStringLiteral("controllers %1, items %2, results %3, subscriptions %4, events %5")
                       .arg(held.Controllers)
                       .arg(held.Items)
                       .arg(held.Results)
                       .arg(held.Subscriptions)
                       .arg(held.Events));
}

kj::Promise<Variant> Commands::ReportCalls(Order&)
{
    return Variant(m_Subjects.Watch.ReportCalls());
}

kj::Promise<Variant> Commands::ReportStatements(Order&)
{
    return Variant(m_Subjects.Records.Statements().join(QStringLiteral("\r\n")));
}

kj::Promise<Variant> Commands::BreakStatement(Order& order)
{
    m_Subjects.Records.BreakStatement(order.Text.Number(u"The statement", 1));
    return Variant();
}

kj::Promise<Variant> Commands::ReportDevices(Order&)
{
    QStringList lines;
    for (const SourceRef& source : m_Subjects.Plant.Sources()) lines.append(source->Describe());
    return Variant(lines.join(QStringLiteral("\r\n")));
}

/// Whether it succeeded and when, and else why not.
kj::Promise<Variant> Commands::ReportItem(Order& order)
{
    const PlantController& controller = ControllerOf(order);
    const PlantItemRef item = controller.Item(order.Text.Word(u"an item"));
    const QString states[] = {QStringLiteral("Succeeded"), QStringLiteral("Failed"), QStringLiteral("Undefined")};
    QString text =
        QStringLiteral("%1: %2 at %3")
            .arg(item->Name(), states[static_cast<int>(item->State())], ToPlainText(ToLocalDate(item->Time())));
    if (!item->Failure().isEmpty()) text += QStringLiteral(": ") + item->Failure();
    return Variant(text);
}

kj::Promise<Variant> Commands::Terminate(Order&)
{
    m_Subjects.EndServer();
    return Variant();
}

PlantController& Commands::ControllerOf(Order& order) const
{
    return order.Controller ? *order.Controller : *m_Subjects.Plant.Controller(order.Text.Word(u"a controller"));
}
