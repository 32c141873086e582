#include "server/plant/Plant.h"

#include "core/automation/Errors.h"

Plant::Plant(PlantHost& host)
    : m_Host(host)
{
}

Plant::~Plant()
{
    for (const PlantControllerRef& controller : m_Controllers) controller->PutTag(Variant());
}

void Plant::AddSource(SourceRef source)
{
    if (FindSource(source->Name()))
        throw DescribedError(QStringLiteral("device \"%1\" exists already").arg(source->Name()));
    m_Sources.append(std::move(source));
}

SourceRef Plant::FindSource(const QString& name) const
{
    const auto found = std::ranges::find(m_Sources, name, [](const SourceRef& source) { return source->Name(); });
    return found == m_Sources.end() ? nullptr : *found;
}

void Plant::StartSources(Loop& loop)
{
    for (const SourceRef& source : m_Sources) source->Start(loop);
    for (const ItemFollowerRef& follower : m_Followers) follower->Start();
}

void Plant::Follow(ItemFollowerRef follower)
{
    for (const PlantControllerRef& controller : m_Controllers) {
        for (const PlantItemRef& item : controller->Items()) item->OfferTo(*follower);
    }
    m_Followers.append(std::move(follower));
}

PlantControllerRef Plant::Find(const QString& name) const
{
    return m_ByName.value(name);
}

PlantControllerRef Plant::Controller(const QString& name) const
{
    PlantControllerRef controller = Find(name);
    if (!controller) throw ServerError(QStringLiteral("Controller \"%1\" does not exist.").arg(name));
    return controller;
}

PlantControllerRef Plant::Add(ControllerTraits traits)
{
    if (Find(traits.Name)) throw DescribedError(QStringLiteral("Controller \"%1\" exists already.").arg(traits.Name));
    auto controller = std::make_shared<PlantController>(*this, std::move(traits));
    controller->m_Index = static_cast<qint32>(m_Controllers.size());
    m_Controllers.append(controller);
    m_ByName.insert(controller->Name(), controller);
    return controller;
}

PlantItemRef Plant::Resolve(const PlantController& from, const QString& link) const
{
    if (PlantItemRef item = from.Find(link)) return item;
    // Names may contain backslashes, so each of them may be the one between controller and item.
    for (qsizetype at = link.indexOf(u'\\'); at >= 0; at = link.indexOf(u'\\', at + 1)) {
        const PlantControllerRef controller = Find(link.left(at));
        if (!controller) continue;
        if (PlantItemRef item = controller->Find(link.mid(at + 1))) return item;
    }
    return nullptr;
}

bool Plant::RunLater(qint32 delay, std::function<void()> action)
{
    if (m_WaitingActions >= MostWaitingActions) return false;
    ++m_WaitingActions;
    m_Host.After(delay, [this, action = std::move(action)] {
        --m_WaitingActions;
        action();
    });
    return true;
}

void Plant::Begin()
{
    for (const PlantControllerRef& controller : m_Controllers) {
        if (controller->Traits().StartsActive) controller->Start();
    }
}

void Plant::Start()
{
    m_Started = true;
    for (const PlantControllerRef& controller : m_Controllers) controller->Start();
}

void Plant::Stop()
{
    m_Started = false;
    for (const PlantControllerRef& controller : m_Controllers) controller->Stop();
}

void Plant::Terminate()
{
    for (const PlantControllerRef& controller : m_Controllers)
        controller->SetState(static_cast<qint32>(ControllerState::Terminated));
}
