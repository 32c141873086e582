#include "server/plant/PlantItem.h"

#include "core/automation/VariantCompare.h"
#include "server/plant/Convert.h"
#include "server/plant/ItemFollower.h"
#include "server/plant/Links.h"
#include "server/plant/LinkWalk.h"
#include "server/plant/Plant.h"
#include "server/sources/SourceRound.h"

// How values come into an item, and who hears of them.

void PlantItem::OfferTo(ItemFollower& follower)
{
    if (follower.Follows(*this)) m_Followers.push_front(&follower);
}

PendingRef PlantItem::ReadNow()
{
    const Moment now = m_Controller->Owner().Host().Now();
    SourceRound round(false);
    try {
        Attempt([&] { Read(now, round); });
    } catch (const ItemError& error) {
        NoteFailure(error.Description(), now.Wall);
        throw;
    }
    return BeginRound(round);
}

void PlantItem::Prefetch() const
{
    const auto* bytes = reinterpret_cast<const char*>(this);
    const auto* const end = reinterpret_cast<const char*>(&m_Traits.Initial);
    for (; bytes < end; bytes += CacheLine) __builtin_prefetch(bytes);
}

void PlantItem::Scan(const Moment& moment, SourceRound& round)
{
    if (!m_Active || m_Traits.Attribute == Access::WriteOnly) return;
    try {
        Read(moment, round);
    } catch (const DescribedError& error) {
        NoteFailure(error.Description(), moment.Wall); // calls report the reason
    } catch (...) {
        const QString reason = CurrentErrorDescription();
        if (m_Failure != reason)
            Warn(QStringLiteral("Scanning item \"%1\" of controller \"%2\" failed: %3")
                     .arg(Name(), m_Controller->Name(), reason));
        NoteFailure(reason, moment.Wall);
    }
}

void PlantItem::TakeRead(const Variant& value, TimeStamp time)
{
    if (!m_Controller || !m_Active) return;
    try {
        const LinkWalk walk(*this);
        Take(value, time, ForcedChange::Reading);
    } catch (...) {
        NoteFailure(CurrentErrorDescription(), time);
    }
}

bool PlantItem::TakesArrivals() const
{
    return m_Controller && m_Controller->IsScanned() && m_Active && m_Traits.Attribute != Access::WriteOnly;
}

bool PlantItem::TakeArrived(const Variant& value, TimeStamp time)
{
    const bool takes = TakesArrivals();
    if (takes) TakeRead(value, time);
    return takes;
}

bool PlantItem::NoteLost(const QString& why, TimeStamp time)
{
    const bool takes = TakesArrivals();
    if (takes) NoteFailure(why, time);
    return takes;
}

/// The value stays as it was. That it no longer goes on is recorded, once.
void PlantItem::NoteFailure(const QString& why, TimeStamp time)
{
    if (!m_Controller || !m_Active) return;
    m_Time = time;
    const bool isBreak = m_State != ItemState::Undefined && !m_IsBroken; // also when a writing has failed before
    Fail(why);
    if (!isBreak) return;
    m_IsBroken = true;
    Tell(true);
}

void PlantItem::Tell(bool isNews)
{
    if (m_Traits.Historic) Record(isNews);
    if (!isNews) return;
    for (ItemFollower* follower : m_Followers) follower->NoteChange(*this);
}

void PlantItem::Read(const Moment& moment, SourceRound& round)
{
    if (!FollowsLinks() && !m_Variable) return; // it holds what was written
    if (!FollowsLinks() && m_Variable->Owner()) return round.Add(*m_Variable);
    LinkWalk walk(*this);
    const auto raw = FollowsLinks() ? ReadLinks(*this) : m_Variable->AtOnce(moment.Seconds, m_Traits.Type);
    if (!raw) return; // nothing has come yet
    Take(*raw, moment.Wall, ForcedChange::Reading);
    walk.NoteRead(*this);
}

void PlantItem::Take(const Variant& raw, TimeStamp time, ForcedChange occasion)
{
    if (!m_Rules) return Store(raw.IsEmpty() ? raw : ConvertTo(raw, m_Traits.Type), time, occasion);
    const auto value = m_Rules->Read(raw, m_Value, *m_Controller);
    if (value) return Store(*value, time, occasion);
    m_State = ItemState::Succeeded;                            // filtered out: the previous value stays
    if (m_IsBroken) Store(m_Value, time, ForcedChange::Never); // and goes on
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
    const bool goesOn = m_Active && std::exchange(m_IsBroken, false); // with the same value, too
    if (isChange && m_Traits.RaisesEvents && m_Controller->IsObserved())
        m_Controller->RaiseItemChanged(shared_from_this());
    if (m_Active) Tell(isChange || goesOn);
}

void PlantItem::Record(bool isNews)
{
    PlantHost& host = m_Controller->Owner().Host();
    const ItemReading reading{m_Value, m_Time, static_cast<qint32>(m_State)};
    if (m_Exceptions) {
        for (const ItemReading& due : m_Exceptions->Take(reading)) host.Record(*this, due);
    } else if (isNews) {
        host.Record(*this, reading);
    }
}
