#pragma once

#include "core/automation/Errors.h"
#include "core/automation/ServerObjects.h"
#include "server/plant/ItemTraits.h"
#include "server/plant/Moment.h"
#include "server/plant/Pending.h"
#include "server/sources/SourceVariable.h"

#include <forward_list>
#include <optional>

class ItemFollower;
class PlantController;

enum class ItemState : quint8
{
    Succeeded = 0,
    Failed = 1,
    Undefined = 2
};

/// An operation on an item failed: the description names the item, even when it reaches others along their links.
class ItemError : public ServerError
{
public:
    using ServerError::ServerError;
};

/// What values pass through on their way into an item, when its definition asks for more than its type.
class ValueRules
{
public:
    virtual ~ValueRules();
    /// A value that was read from a signal or a linked item, converted; empty when it is filtered out. Throws
    /// DescribedError.
    virtual std::optional<Variant> Read(const Variant& value, const Variant& before,
                                        const PlantController& controller) = 0;
    /// A value to be written, converted. Throws DescribedError.
    virtual Variant Written(const Variant& value) = 0;
    /// The names of the items whose values each reading needs.
    virtual QStringList Operands() const = 0;
};

/// A data point: it holds its last value and takes new ones from its variable, its linked items and clients.
class PlantItem : public ServerObject, public std::enable_shared_from_this<PlantItem>, private VariableHolder
{
public:
    PlantItem(PlantController& controller, ItemTraits traits, SourceVariableRef variable,
              std::unique_ptr<ValueRules> rules);

    /// The follower decides whether it hears of this item from now on.
    void OfferTo(ItemFollower& follower);
    const ItemTraits& Traits() const { return m_Traits; }
    const QString& Name() const { return m_Traits.Name; }
    /// Null once the item has been removed; then every operation throws.
    PlantController* Controller() const { return m_Controller; }
    /// Its place among the controller's items; 0 once it has been removed.
    qint32 Index() const;
    ItemState State() const { return m_State; }
    /// Why its state is Failed, as far as that was said; empty in other states.
    QString Failure() const { return m_State == ItemState::Failed ? m_Failure : QString(); }
    /// Null when it takes its values from nowhere or from links.
    const SourceVariable* Variable() const { return m_Variable.get(); }
    bool IsActive() const { return m_Active; }
    /// False for an item without links, because it has nothing that could be active.
    bool IsLinkActive() const { return m_LinkActive; }
    /// Whether reading and writing the item continue with its linked items.
    bool FollowsLinks() const { return IsLinkActive() && m_Active; }
    /// Whether reading it is quick for sure: it has one value, and needs no others.
    bool IsPlain() const { return !m_Rules && !FollowsLinks() && !m_Value.IsArray(); }
    QStringList Operands() const { return m_Rules ? m_Rules->Operands() : QStringList(); }
    /// Throws DescribedError when its links and operands form a circle or lead over too many items.
    void CheckLinks() const;
    const Variant& Tag() const { return m_Tag; }
    const Variant& Id() const { return m_Id; }
    TimeStamp Time() const { return m_Time; }
    /// The value, without any checks for reading.
    const Variant& LastValue() const { return m_Value; }

    /// The value; an alias asks its linked item. Throws ItemError for a write-only item.
    Variant Value();
    /// Converts the value to the item's type, passes it on to its variable or its linked items and raises the change.
    /// What a device has yet to confirm is answered. Throws ItemError, or the answer fails with its description.
    PendingRef PutValue(const Variant& value);
    /// As PutValue, `delay` milliseconds later; a failure then only shows in the state and the server's log.
    void PutValueEx(qint32 delay, const Variant& value);
    void PutTag(const Variant& value);
    void PutId(const Variant& value);
    void PutActivation(bool active);
    void PutLinkActivation(bool active);
    /// Reads its variable or its linked items once, whatever the controller's state. What a device has yet to tell is
    /// answered; failures then show in the state. Throws ItemError.
    PendingRef Snapshot();
    /// `count` elements from `first` on, every `step`-th one (0 counts as 1). With a count of 0, that element itself;
    /// with -1, all that follow. Throws ItemError.
    Variant Elements(qint32 first, qint32 count, qint32 step);
    Variant SettingData(qint32 index) const;
    /// The names of the linked items; EMPTY without links.
    Variant LinkItem() const;

    /// Items and variables lie anywhere in memory: the processor fetches what is scanned soon, then its variable.
    void Prefetch() const;
    void PrefetchVariable() const { __builtin_prefetch(m_Variable.get()); }
    /// Takes the next value from its variable or link, or joins the round. A failure of any kind shows in the state.
    void Scan(const Moment& moment, SourceRound& round);

private:
    friend class PlantController;

    void TakeRead(const Variant& value, TimeStamp time) override;
    bool TakeArrived(const Variant& value, TimeStamp time) override;
    bool NoteLost(const QString& why, TimeStamp time) override;
    void NoteFailure(const QString& why, TimeStamp time) override;

    /// "Item "D100" of controller "PLC1": <reason>."
    QString Described(const QString& reason) const;
    [[noreturn]] void Throw(const QString& reason) const;
    /// A failure in `action` is reported as this item's failure, unless it came from another item along a link.
    template <typename Action>
    void Attempt(Action action)
    {
        try {
            action();
        } catch (const ItemError&) {
            throw;
        } catch (const DescribedError& error) {
            Throw(error.Description());
        }
    }
    PendingRef ReadNow();
    void PutDelayed(const Variant& value);
    PendingRef PassOn(const Variant& value);
    PendingRef WriteVariable(const Variant& value);
    void EndWrite(const Variant& value, const QString& failure);
    bool TakesArrivals() const;
    void CheckExists() const;
    Variant Fitted(const Variant& value) const;
    void Read(const Moment& moment, SourceRound& round);
    /// A value from the item's source, or a written one, becomes the item's value unless its rules drop it.
    void Take(const Variant& raw, TimeStamp time, ForcedChange occasion);
    bool IsChange(const Variant& value, ForcedChange occasion) const;
    void Store(const Variant& value, TimeStamp time, ForcedChange occasion);
    void Fail(const QString& why);
    /// The history hears of every reading, followers of news only.
    void Tell(bool isNews);
    void Warn(const QString& text) const;
    void Record(bool isNews);
    void Forget();

    // What each reading touches stands together, up to the first traits: plants have hundreds of thousands of items, and
    // the time that a scan takes is the memory's.
    PlantController* m_Controller;
    SourceVariableRef m_Variable;
    std::unique_ptr<ValueRules> m_Rules;
    ItemState m_State = ItemState::Undefined;
    bool m_Active;
    bool m_LinkActive;
    bool m_IsBroken = false; ///< it has been told that its values do not go on
    Variant m_Value;
    TimeStamp m_Time;
    std::forward_list<ItemFollower*> m_Followers;
    qint64 m_Order = 0; ///< increases along the controller's items
    const ItemTraits m_Traits;
    std::unique_ptr<ExceptionFilter> m_Exceptions; ///< null when every change is recorded
    Variant m_Tag;
    Variant m_Id;
    /// The state of the plant's links for which this item's links were last found sound.
    mutable quint64 m_LinksChecked = 0;
    QString m_Failure; ///< the last one
};

using PlantItemRef = std::shared_ptr<PlantItem>;
/// So that lists of a million move in one piece.
Q_DECLARE_TYPEINFO(PlantItemRef, Q_RELOCATABLE_TYPE);
