#include "server/plant/PlantController.h"

#include "core/automation/Errors.h"
#include "server/plant/ItemPass.h"
#include "server/plant/Plant.h"

#include <algorithm>

namespace {

constexpr qint32 SettingDataCount = 21;

} // namespace

PlantController::PlantController(Plant& plant, ControllerTraits traits)
    : m_Plant(plant)
    , m_Traits(std::move(traits))
    , m_Tag(m_Traits.Tag)
{
}

PlantController::~PlantController()
{
    UseDevice(false);
    for (const PlantItemRef& item : m_Items) item->Forget();
}

PlantItemRef PlantController::Item(const QString& name) const
{
    PlantItemRef item = Find(name);
    if (!item) throw ServerError(QStringLiteral("Controller \"%1\" has no item \"%2\".").arg(Name(), name));
    return item;
}

std::vector<SourceVariable*> PlantController::AskedVariables(int scanClass) const
{
    std::vector<SourceVariable*> variables;
    for (const PlantItemRef& item : m_ByClass[static_cast<std::size_t>(scanClass)]) {
        SourceVariable* const variable = item->m_Variable.get();
        if (variable && variable->Owner() && item->Traits().Attribute != Access::WriteOnly)
            variables.push_back(variable);
    }
    return variables;
}

void PlantController::Start()
{
    SetState(static_cast<qint32>(ControllerState::Active));
}

void PlantController::Stop()
{
    SetState(static_cast<qint32>(ControllerState::Deactive));
}

void PlantController::UseDevice(bool uses)
{
    if (!Device() || std::exchange(m_UsesDevice, uses) == uses) return;
    uses ? Device()->AddUser(*this) : Device()->RemoveUser(*this);
}

/// A controller that has been stopped, or set to another state, stays as it is.
void PlantController::NoteReachable(bool isReachable)
{
    if (isReachable ? !m_HasLostDevice : !IsActive()) return;
    ChangeState(static_cast<qint32>(isReachable ? ControllerState::Active : ControllerState::Error), !isReachable);
    if (isReachable) m_Plant.Host().ScanSoon(*this);
}

void PlantController::SetState(qint32 state)
{
    const bool isStarted = state == static_cast<qint32>(ControllerState::Active);
    if (isStarted && m_HasLostDevice) return; // it becomes active as soon as it can
    UseDevice(isStarted);
    ChangeState(state, false);
    if (isStarted && Device() && !Device()->IsReachable()) NoteReachable(false);
}

void PlantController::ChangeState(qint32 state, bool hasLostDevice)
{
    m_HasLostDevice = hasLostDevice;
    if (std::exchange(m_State, state) == state) return;
    for (ItemPass* pass : m_Passes) pass->NoteState();
    RaiseStateChanged(state);
}

qint32 PlantController::ScanTime(qint32 index) const
{
    if (index < 0 || index >= static_cast<qint32>(m_Traits.ScanTimes.size()))
        throw ServerError(QStringLiteral("Controller \"%1\": ScanTimes has the indexes 0 to 2, not %2.")
                              .arg(Name(), QString::number(index)));
    return m_Traits.ScanTimes[static_cast<std::size_t>(index)];
}

Variant PlantController::SettingData(qint32 index) const
{
    if (index < 0 || index >= SettingDataCount)
        throw ServerError(QStringLiteral("Controller \"%1\": SettingData has the indexes 0 to %2, not %3.")
                              .arg(Name(), QString::number(SettingDataCount - 1), QString::number(index)));
    return m_Traits.SettingData.value(index);
}

void PlantController::Reserve(qsizetype count)
{
    const qsizetype added = count / 8; // by operators, later on
    m_Items.reserve(m_Items.size() + count + added);
    m_ByName.reserve(m_ByName.size() + count);
}

PlantItemRef PlantController::AddNew(ItemTraits traits, SourceVariableRef variable, std::unique_ptr<ValueRules> rules)
{
    return Insert(m_Items.size(),
                  std::make_shared<PlantItem>(*this, std::move(traits), std::move(variable), std::move(rules)));
}

PlantItemRef PlantController::Add(ItemTraits traits, SourceVariableRef variable, std::unique_ptr<ValueRules> rules)
{
    const QString name = traits.Name;
    return Added(AddNew(std::move(traits), std::move(variable), std::move(rules)), name);
}

PlantItemRef PlantController::AddInPlace(ItemTraits traits, SourceVariableRef variable,
                                         std::unique_ptr<ValueRules> rules)
{
    const QString name = traits.Name;
    const auto greater = [&](const PlantItemRef& item) { return item->Name() > name; };
    const auto found = m_Traits.SortsItems ? std::ranges::find_if(m_Items, greater) : m_Items.end();
    const qsizetype at = found - m_Items.begin();
    return Added(
        Insert(at, std::make_shared<PlantItem>(*this, std::move(traits), std::move(variable), std::move(rules))), name);
}

PlantItemRef PlantController::Added(PlantItemRef item, const QString& name) const
{
    if (!item) throw ServerError(QStringLiteral("Controller \"%1\" has an item \"%2\" already.").arg(Name(), name));
    return item;
}

/// Null when the name is taken; it is looked up once, because a plant may have a million.
PlantItemRef PlantController::Insert(qsizetype at, PlantItemRef item)
{
    PlantItemRef& place = m_ByName[item->Name()];
    if (place) return nullptr;
    place = item;
    item->m_Order = OrderAt(at);
    Insert(m_Items, at, item);
    Insert(OfClassOf(*item), PlaceIn(OfClassOf(*item), *item), item);
    for (const ItemFollowerRef& follower : m_Plant.Followers()) item->OfferTo(*follower);
    m_Plant.NoteLinksChanged();
    return item;
}

void PlantController::Remove(const QString& name)
{
    const PlantItemRef item = Item(name);
    RemoveAt(OfClassOf(*item), PlaceIn(OfClassOf(*item), *item));
    RemoveAt(m_Items, PlaceOf(*item));
    m_ByName.remove(name);
    if (item->m_Variable) {
        for (ItemPass* pass : m_Passes) pass->NoteForgotten(*item->m_Variable);
    }
    item->Forget();
    m_Plant.NoteLinksChanged();
}

void PlantController::Insert(QList<PlantItemRef>& items, qsizetype at, const PlantItemRef& item)
{
    items.insert(at, item);
    for (ItemPass* pass : m_Passes) pass->NoteInserted(items, at);
}

void PlantController::RemoveAt(QList<PlantItemRef>& items, qsizetype at)
{
    items.removeAt(at);
    for (ItemPass* pass : m_Passes) pass->NoteRemoved(items, at);
}

QList<PlantItemRef>& PlantController::OfClassOf(const PlantItem& item)
{
    return m_ByClass[static_cast<std::size_t>(item.Traits().ScanClass)];
}

qsizetype PlantController::PlaceIn(const QList<PlantItemRef>& items, const PlantItem& item)
{
    const auto orderOf = [](const PlantItemRef& other) { return other->m_Order; };
    if (items.isEmpty() || items.last()->m_Order < item.m_Order) return items.size(); // as when a plant is read
    return std::ranges::lower_bound(items, item.m_Order, {}, orderOf) - items.begin();
}

/// For an item that comes to this place: between those of its neighbours. Others get new ones only when there is no room,
/// after thirty insertions at one place at the earliest.
qint64 PlantController::OrderAt(qsizetype at)
{
    constexpr qint64 room = qint64{1} << 31;
    const auto before = [&] { return at > 0 ? m_Items[at - 1]->m_Order : 0; };
    if (at == m_Items.size()) return before() + room;
    if (m_Items[at]->m_Order - before() < 2) {
        for (qsizetype i = 0; i < m_Items.size(); ++i) m_Items[i]->m_Order = (i + 1) * room;
    }
    return before() + (m_Items[at]->m_Order - before()) / 2;
}

void PlantController::RaiseItemChanged(const PlantItemRef& item)
{
    TellAll([&](ControllerObserver& observer) { observer.ItemChanged(item); });
}

void PlantController::RaiseStateChanged(qint32 state)
{
    TellAll([&](ControllerObserver& observer) { observer.StateChanged(state); });
}

/// An observer that fails neither keeps the event from the others nor stops the plant.
template <typename Action>
void PlantController::TellAll(Action action)
{
    for (ControllerObserver* observer : std::as_const(m_Observers)) {
        try {
            action(*observer);
        } catch (...) {
            m_Plant.Host().Warn(
                QStringLiteral("An event of controller \"%1\" was lost: %2").arg(Name(), CurrentErrorDescription()));
        }
    }
}
