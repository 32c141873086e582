#include "server/plant/PlantItem.h"

#include "core/automation/SafeArray.h"
#include "core/automation/VariantCompare.h"
#include "server/plant/Convert.h"
#include "server/plant/ItemFollower.h"
#include "server/plant/LinkCheck.h"
#include "server/plant/Links.h"
#include "server/plant/LinkWalk.h"
#include "server/plant/Plant.h"
#include "server/sources/SourceRound.h"

namespace {

constexpr qint32 SettingDataCount = 36;

} // namespace

ValueRules::~ValueRules() = default;

PlantItem::PlantItem(PlantController& controller, ItemTraits traits, SourceVariableRef variable,
                     std::unique_ptr<ValueRules> rules)
    : m_Controller(&controller)
    , m_Traits(std::move(traits))
    , m_Variable(std::move(variable))
    , m_Rules(std::move(rules))
    , m_Exceptions(m_Traits.Recorded ? std::make_unique<ExceptionFilter>(*m_Traits.Recorded) : nullptr)
    , m_Active(m_Traits.Active)
    , m_LinkActive(m_Traits.LinkActive)
    , m_Value(m_Traits.Initial)
    , m_Tag(m_Traits.Tag)
    , m_Id(m_Traits.Id)
    , m_Time(controller.Owner().Host().Now().Wall)
{
    if (!m_Traits.Initial.IsEmpty()) m_State = ItemState::Succeeded;
    if (m_Variable) m_Variable->SetHolder(*this);
}

Variant PlantItem::Value()
{
    CheckExists();
    if (m_Traits.Attribute == Access::WriteOnly) Throw(QStringLiteral("it is write only and cannot be read"));
    if (m_Traits.Kind == ItemKind::Alias && FollowsLinks() && !LinkWalk::HasRead(*this)) ReadNow();
    return m_Value;
}

PendingRef PlantItem::PutValue(const Variant& value)
{
    CheckExists();
    if (m_Traits.Attribute == Access::ReadOnly) Throw(QStringLiteral("it is read only and cannot be written"));
    PendingRef pending;
    Attempt([&] {
        const Variant fitted = Fitted(value);
        LinkWalk walk(*this);
        pending = PassOn(fitted);
        walk.NoteWrite();
        if (!pending) Take(fitted, m_Controller->Owner().Host().Now().Wall, ForcedChange::Writing);
    });
    return pending;
}

/// The value goes to the linked items or to the variable; the item itself takes it when they have.
PendingRef PlantItem::PassOn(const Variant& value)
{
    if (!FollowsLinks()) return m_Active && m_Variable && m_Variable->Owner() ? WriteVariable(value) : nullptr;
    const ItemState before = std::exchange(m_State, ItemState::Failed); // until the linked items have taken it
    PendingRef pending = WriteLinks(*this, value);
    if (!pending) return nullptr;
    m_State = before;
    pending->Then([item = weak_from_this(), value](const QString& failure) {
        if (const PlantItemRef self = item.lock()) self->EndWrite(value, failure);
    });
    return pending;
}

PendingRef PlantItem::WriteVariable(const Variant& value)
{
    auto pending = std::make_shared<Pending>(1);
    m_Variable->Owner()->Write(*m_Variable, value, [item = weak_from_this(), value, pending](const QString& failure) {
        const PlantItemRef self = item.lock();
        if (self) self->EndWrite(value, failure);
        pending->End(failure.isEmpty() || !self ? failure : self->Described(failure));
    });
    return pending;
}

/// A device has confirmed a written value, or has not.
void PlantItem::EndWrite(const Variant& value, const QString& failure)
{
    if (!m_Controller) return;
    if (!failure.isEmpty()) return Fail(failure);
    try {
        const LinkWalk walk(*this);
        Take(value, m_Controller->Owner().Host().Now().Wall, ForcedChange::Writing);
    } catch (...) {
        Fail(CurrentErrorDescription());
    }
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
    const auto warn = [item = weak_from_this()](const QString& failure) {
        const PlantItemRef self = item.lock();
        if (self && !failure.isEmpty()) self->Warn(QStringLiteral("Delayed write: ") + failure);
    };
    try {
        if (const PendingRef pending = PutValue(value)) pending->Then(warn);
    } catch (...) {
        Fail(CurrentErrorDescription());
        warn(CurrentErrorDescription());
    }
}

void PlantItem::Warn(const QString& text) const
{
    if (m_Controller) m_Controller->Owner().Host().Warn(text);
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

PendingRef PlantItem::Snapshot()
{
    CheckExists();
    return m_Active ? ReadNow() : nullptr;
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

void PlantItem::Scan(const Moment& moment, SourceRound& round)
{
    if (!m_Active || m_Traits.Attribute == Access::WriteOnly) return;
    try {
        Read(moment, round);
    } catch (const DescribedError& error) {
        Fail(error.Description()); // calls report the reason
    } catch (...) {
        const QString reason = CurrentErrorDescription();
        if (m_Failure != reason)
            Warn(QStringLiteral("Scanning item \"%1\" of controller \"%2\" failed: %3")
                     .arg(Name(), m_Controller->Name(), reason));
        Fail(reason);
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
    const bool isBreak = m_State == ItemState::Succeeded;
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

void PlantItem::OfferTo(ItemFollower& follower)
{
    if (follower.Follows(*this)) m_Followers.push_front(&follower);
}

void PlantItem::Fail(const QString& why)
{
    m_State = ItemState::Failed;
    if (m_Failure != why) m_Failure = why;
}

QString PlantItem::Described(const QString& reason) const
{
    const QString where = m_Controller ? QStringLiteral(" of controller \"%1\"").arg(m_Controller->Name()) : QString();
    return QStringLiteral("Item \"%1\"%2: %3.").arg(Name(), where, reason);
}

void PlantItem::Throw(const QString& reason) const
{
    throw ItemError(Described(reason));
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

PendingRef PlantItem::ReadNow()
{
    SourceRound round(false);
    try {
        Attempt([&] { Read(m_Controller->Owner().Host().Now(), round); });
    } catch (const ItemError& error) {
        Fail(error.Description());
        throw;
    }
    return BeginRound(round);
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
    if (isChange && m_Traits.RaisesEvents) m_Controller->RaiseItemChanged(shared_from_this());
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

void PlantItem::Forget()
{
    m_Controller = nullptr;
    m_Variable = nullptr;
    // An object among them may hold this item.
    m_Value = m_Tag = m_Id = Variant();
}
