#include "server/plant/PlantItem.h"

#include "core/automation/SafeArray.h"
#include "core/automation/VariantCompare.h"
#include "server/plant/LinkCheck.h"
#include "server/plant/Links.h"
#include "server/plant/LinkWalk.h"
#include "server/plant/Plant.h"

namespace {

constexpr qint32 SettingDataCount = 36;

} // namespace

ValueRules::~ValueRules() = default;

PlantItem::PlantItem(PlantController& controller, ItemTraits traits, SignalRef signal,
                     std::unique_ptr<ValueRules> rules)
    : m_Controller(&controller)
    , m_Traits(std::move(traits))
    , m_Signal(std::move(signal))
    , m_Rules(std::move(rules))
    , m_Active(m_Traits.Active)
    , m_LinkActive(m_Traits.LinkActive)
    , m_Value(m_Traits.Initial)
    , m_Tag(m_Traits.Tag)
    , m_Id(m_Traits.Id)
    , m_Time(controller.Owner().Host().Now().Wall)
{
    if (!m_Traits.Initial.IsEmpty()) m_State = ItemState::Succeeded;
}

Variant PlantItem::Value()
{
    CheckExists();
    if (m_Traits.Attribute == Access::WriteOnly) Throw(QStringLiteral("it is write only and cannot be read"));
    if (m_Traits.Kind == ItemKind::Alias && FollowsLinks() && !LinkWalk::HasRead(*this)) ReadNow();
    return m_Value;
}

void PlantItem::PutValue(const Variant& value)
{
    CheckExists();
    if (m_Traits.Attribute == Access::ReadOnly) Throw(QStringLiteral("it is read only and cannot be written"));
    Attempt([&] {
        const Variant fitted = Fitted(value);
        if (FollowsLinks()) m_State = ItemState::Failed; // until the linked items have taken it
        LinkWalk walk(*this);
        if (FollowsLinks()) WriteLinks(*this, fitted);
        walk.NoteWrite();
        Take(fitted, m_Controller->Owner().Host().Now().Wall, ForcedChange::Writing);
    });
}

void PlantItem::PutValueEx(qint32 delay, const Variant& value)
{
    CheckExists();
    if (delay < 0) Throw(QStringLiteral("the delay %1 is negative").arg(delay));
    if (m_Traits.Attribute == Access::ReadOnly) Throw(QStringLiteral("it is read only and cannot be written"));
    const bool waits = m_Controller->Owner().RunLater(delay, [item = weak_from_this(), value] {
        if (const PlantItemRef self = item.lock()) self->PutDelayed(value);
    });
    if (!waits) Throw(QStringLiteral("%1 delayed writes are waiting already").arg(Plant::MostWaitingActions));
}

void PlantItem::PutDelayed(const Variant& value)
{
    if (!m_Controller) return;
    try {
        PutValue(value);
    } catch (...) {
        m_State = ItemState::Failed;
        m_Controller->Owner().Host().Warn(QStringLiteral("Delayed write: ") + CurrentErrorDescription());
    }
}

void PlantItem::PutTag(const Variant& value)
{
    CheckExists();
    m_Tag = value;
}

void PlantItem::PutId(const Variant& value)
{
    CheckExists();
    m_Id = value;
}

void PlantItem::PutActivation(bool active)
{
    CheckExists();
    if (active != m_Active) m_Controller->Owner().NoteLinksChanged();
    m_Active = active;
}

void PlantItem::PutLinkActivation(bool active)
{
    CheckExists();
    if (m_Traits.Links.isEmpty()) Throw(QStringLiteral("it is not linked to any item"));
    if (active != m_LinkActive) m_Controller->Owner().NoteLinksChanged();
    m_LinkActive = active;
}

void PlantItem::CheckLinks() const
{
    const quint64 links = m_Controller->Owner().LinksState();
    if (m_LinksChecked == links) return;
    if (LinkCheck(LinkCheck::Along::Followed).Look(*this) != LinkCheck::Finding::Sound)
        throw DescribedError(EndlessLinks());
    m_LinksChecked = links;
}

void PlantItem::Snapshot()
{
    CheckExists();
    if (m_Active) ReadNow();
}

Variant PlantItem::Elements(qint32 first, qint32 count, qint32 step)
{
    const Variant value = Value();
    if (!value.IsArray()) Throw(QStringLiteral("its value is not an array"));
    const SafeArray& array = value.Array();
    if (step < 0 || count < -1) Throw(QStringLiteral("Elements takes a count of -1 or more and a step of 0 or more"));
    if (first < 0 || first >= array.Count())
        Throw(QStringLiteral("it has no element %1, only %2 from 0 on").arg(first).arg(array.Count()));
    if (count == 0) return array.At(first);
    const qint64 distance = std::max(step, 1);
    const qint64 last = count < 0 ? array.Count() - 1 : first + (count - 1) * distance;
    if (last >= array.Count())
        Throw(QStringLiteral("it has no element %1, only %2 from 0 on").arg(last).arg(array.Count()));
    QList<Variant> elements;
    for (qint64 i = first; i <= last; i += distance) elements.append(array.At(i));
    return ConvertTo(SafeArray(std::move(elements)), value.Type());
}

Variant PlantItem::SettingData(qint32 index) const
{
    if (index < 0 || index >= SettingDataCount)
        Throw(QStringLiteral("SettingData has the indexes 0 to %1, not %2").arg(SettingDataCount - 1).arg(index));
    return m_Traits.SettingData.value(index);
}

Variant PlantItem::LinkItem() const
{
    return m_Traits.Links.isEmpty() ? Variant() : TextArray(m_Traits.Links);
}

void PlantItem::Scan(const Moment& moment)
{
    if (!m_Active || m_Traits.Attribute == Access::WriteOnly) return;
    try {
        Read(moment);
    } catch (const DescribedError&) {
        m_State = ItemState::Failed; // calls report the reason
    } catch (...) {
        m_State = ItemState::Failed;
        const QString reason = CurrentErrorDescription();
        if (std::exchange(m_Warned, reason) == reason) return;
        m_Controller->Owner().Host().Warn(QStringLiteral("Scanning item \"%1\" of controller \"%2\" failed: %3")
                                              .arg(Name(), m_Controller->Name(), reason));
    }
}

void PlantItem::Throw(const QString& reason) const
{
    const QString where = m_Controller ? QStringLiteral(" of controller \"%1\"").arg(m_Controller->Name()) : QString();
    throw ItemError(QStringLiteral("Item \"%1\"%2: %3.").arg(Name(), where, reason));
}

/// A failure in `action` is reported as this item's failure, unless it came from another item along a link.
template <typename Action>
void PlantItem::Attempt(Action action)
{
    try {
        action();
    } catch (const ItemError&) {
        throw;
    } catch (const DescribedError& error) {
        Throw(error.Description());
    }
}

void PlantItem::ReadNow()
{
    try {
        Attempt([&] { Read(m_Controller->Owner().Host().Now()); });
    } catch (const ItemError&) {
        m_State = ItemState::Failed;
        throw;
    }
}

void PlantItem::CheckExists() const
{
    if (!m_Controller) throw ItemError(QStringLiteral("Item \"%1\" has been removed.").arg(Name()));
}

Variant PlantItem::Fitted(const Variant& value) const
{
    if (value.IsEmpty()) {
        if (m_Traits.TakesEmpty) return value;
        throw ValueError(QStringLiteral("EMPTY cannot be written to it"));
    }
    return ConvertTo(m_Rules ? m_Rules->Written(value) : value, m_Traits.Type);
}

void PlantItem::Read(const Moment& moment)
{
    if (!FollowsLinks() && !m_Signal) return; // it holds what was written
    LinkWalk walk(*this);
    const Variant raw = FollowsLinks() ? ReadLinks(*this) : m_Signal->Next(moment.Seconds, m_Traits.Type);
    Take(raw, moment.Wall, ForcedChange::Reading);
    walk.NoteRead(*this);
}

void PlantItem::Take(const Variant& raw, TimeStamp time, ForcedChange occasion)
{
    if (!m_Rules) return Store(raw.IsEmpty() ? raw : ConvertTo(raw, m_Traits.Type), time, occasion);
    const auto value = m_Rules->Read(raw, m_Value, *m_Controller);
    if (value) Store(*value, time, occasion);
    else m_State = ItemState::Succeeded; // filtered out: the previous value stays
}

bool PlantItem::IsChange(const Variant& value, ForcedChange occasion) const
{
    if (m_Traits.Forced == occasion || m_State == ItemState::Undefined) return true;
    if (!m_Traits.ComparesArrays && value.IsArray()) return true;
    return !SameValue(value, m_Value);
}

void PlantItem::Store(const Variant& value, TimeStamp time, ForcedChange occasion)
{
    const bool isChange = m_Active && IsChange(value, occasion);
    // An equal block is not replaced, wherever it is shared.
    if (!(value == m_Value)) m_Value = value;
    m_Time = time;
    m_State = ItemState::Succeeded;
    if (!isChange) return;
    if (m_Traits.RaisesEvents) m_Controller->RaiseItemChanged(shared_from_this());
    if (m_Traits.Historic) m_Controller->Owner().Host().Record(*this);
}

void PlantItem::Forget()
{
    m_Controller = nullptr;
    // An object among them may hold this item.
    m_Value = m_Tag = m_Id = Variant();
}
