#include "server/plant/PlantItem.h"

#include "core/automation/SafeArray.h"
#include "server/plant/Convert.h"
#include "server/plant/LinkCheck.h"
#include "server/plant/Links.h"
#include "server/plant/LinkWalk.h"
#include "server/plant/Plant.h"

namespace {

constexpr qint32 SettingDataCount = 36;

} // namespace

ValueRules::~ValueRules() = default;

PlantItem::PlantItem(PlantController& controller, ItemTraits traits, SourceVariableRef variable,
                     std::unique_ptr<ValueRules> rules)
    : m_Controller(&controller)
    , m_Variable(std::move(variable))
    , m_Rules(std::move(rules))
    , m_Active(traits.Active)
    , m_LinkActive(traits.LinkActive && !traits.Links.isEmpty())
    , m_Value(traits.Initial)
    , m_Time(controller.Owner().Host().Now().Wall)
    , m_Traits(std::move(traits))
    , m_Exceptions(m_Traits.Recorded ? std::make_unique<ExceptionFilter>(*m_Traits.Recorded) : nullptr)
    , m_Tag(m_Traits.Tag)
    , m_Id(m_Traits.Id)
{
    if (!m_Traits.Initial.IsEmpty()) m_State = ItemState::Succeeded;
    if (m_Variable) m_Variable->SetHolder(*this);
}

qint32 PlantItem::Index() const
{
    return m_Controller ? static_cast<qint32>(m_Controller->PlaceOf(*this)) : 0;
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

void PlantItem::Forget()
{
    m_Controller = nullptr;
    m_Variable = nullptr;
    // An object among them may hold this item.
    m_Value = m_Tag = m_Id = Variant();
}
