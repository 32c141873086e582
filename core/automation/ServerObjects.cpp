#include "core/automation/ServerObjects.h"

#include "core/automation/SafeArray.h"

#include <array>

ServerObject::~ServerObject() = default;

EventSubscription::~EventSubscription() = default;

ResultPage::~ResultPage() = default;

ResultSet::~ResultSet() = default;

FoundItem VelSQLEngine::FindItem(const QString& controllerName, const QString& itemName)
{
    const ControllerRef controller = get_Controller(Variant(controllerName));
    return {controller, controller->get_Item(Variant(itemName))};
}

void VelSQLController::UseItemNames(quint32 most, const std::function<void(const TextList& names)>& use)
{
    const Variant names = get_ItemNames();
    const QList<QString>& texts = names.Array().Of<QString>();
    use(TextList::Of(texts).First(most == AllItems ? texts.size() : most));
}

VelSQLLib::~VelSQLLib() = default;

qsizetype VelSQLLib::TakeSteps(const QList<CallStep>& steps, qsizetype first)
{
    const CallStep step = steps.at(first); // whatever it does to the list
    step.Take();
    return 1;
}

QString StateName(qint32 state)
{
    static constexpr std::array<QStringView, 5> Names = {u"Uninitialized", u"Active", u"Deactive", u"Error",
                                                         u"Terminated"};
    const bool known = state >= 0 && state < static_cast<qint32>(Names.size());
    return known ? Names[static_cast<std::size_t>(state)].toString() : QStringLiteral("Unknown");
}
