#pragma once

#include "server/plant/PlantItem.h"
#include "server/sources/Source.h"

#include <QHash>

#include <array>

class ItemPass;
class Plant;
class PlantController;

enum class ControllerState : qint32
{
    Uninitialized = 0,
    Active = 1,
    Deactive = 2,
    Error = 3,
    Terminated = 4
};

/// Receives a controller's events while they happen; must not change the plant meanwhile.
class ControllerObserver
{
public:
    virtual void StateChanged(qint32 state) = 0;
    virtual void ItemChanged(const PlantItemRef& item) = 0;

protected:
    ~ControllerObserver() = default;
};

struct ControllerTraits
{
    QString Name = {};
    QString Description = {};
    /// Milliseconds; items of a class with 0 are not scanned.
    std::array<qint32, 3> ScanTimes = {100, 1000, 5000};
    QList<Variant> SettingData = {};
    Variant Tag = {};
    SourceRef Device = {}; ///< whose variables its items are; none: they have no variables
    bool StartsActive = true;
    /// For the next server, unless the plant is the built-in one.
    bool KeepsAddedItems = true;
    /// Added items go to their place by name instead of to the end.
    bool SortsItems = false;
};

/// A named group of items that are scanned together.
class PlantController : public ServerObject, public std::enable_shared_from_this<PlantController>, private SourceUser
{
public:
    PlantController(Plant& plant, ControllerTraits traits);
    ~PlantController() override;

    Plant& Owner() const { return m_Plant; }
    const ControllerTraits& Traits() const { return m_Traits; }
    const QString& Name() const { return m_Traits.Name; }
    qint32 Index() const { return m_Index; }
    /// Usually a ControllerState; a test may set any number.
    qint32 State() const { return m_State; }
    bool IsActive() const { return m_State == static_cast<qint32>(ControllerState::Active); }
    /// Active, or it would be if its device could be reached.
    bool IsScanned() const { return IsActive() || m_HasLostDevice; }
    /// Null for a controller without a device.
    Source* Device() const { return m_Traits.Device.get(); }
    const Variant& Tag() const { return m_Tag; }
    void PutTag(const Variant& value) { m_Tag = value; }

    const QList<PlantItemRef>& Items() const { return m_Items; }
    /// Null when there is none; case-sensitive.
    PlantItemRef Find(const QString& name) const { return m_ByName.value(name); }
    /// Throws ServerError when there is none.
    PlantItemRef Item(const QString& name) const;

    /// Room for so many more items, which are about to be added.
    void Reserve(qsizetype count);

    /// Where one of its items is among them.
    qsizetype PlaceOf(const PlantItem& item) const { return PlaceIn(m_Items, item); }

    /// What a scan of a class asks sources for when all of its items are active.
    std::vector<SourceVariable*> AskedVariables(int scanClass) const;

    void Start();
    void Stop();
    /// Tells the observers when the state has changed.
    void SetState(qint32 state);
    qint32 ScanTime(qint32 index) const;
    Variant SettingData(qint32 index) const;

    /// Adds an item at the end, in the order of the plant's description. Null when the name is taken.
    PlantItemRef AddNew(ItemTraits traits, SourceVariableRef variable = nullptr,
                        std::unique_ptr<ValueRules> rules = nullptr);
    /// The same; throws ServerError when the name is taken.
    PlantItemRef Add(ItemTraits traits, SourceVariableRef variable = nullptr,
                     std::unique_ptr<ValueRules> rules = nullptr);
    /// Adds an item later: at the end or, if the controller sorts its items, before the first one with a greater name.
    PlantItemRef AddInPlace(ItemTraits traits, SourceVariableRef variable, std::unique_ptr<ValueRules> rules);
    void Remove(const QString& name);

    void AddObserver(ControllerObserver& observer) { m_Observers.append(&observer); }
    void RemoveObserver(ControllerObserver& observer) { m_Observers.removeOne(&observer); }
    bool IsObserved() const { return !m_Observers.isEmpty(); }
    void RaiseItemChanged(const PlantItemRef& item);
    void RaiseStateChanged(qint32 state);

private:
    friend class ItemPass;
    friend class Plant;

    void NoteReachable(bool isReachable) override;
    void UseDevice(bool uses);
    void ChangeState(qint32 state, bool hasLostDevice);
    PlantItemRef Insert(qsizetype at, PlantItemRef item);
    PlantItemRef Added(PlantItemRef item, const QString& name) const;
    template <typename Action>
    void TellAll(Action action);
    qint64 OrderAt(qsizetype at);
    void Insert(QList<PlantItemRef>& items, qsizetype at, const PlantItemRef& item);
    void RemoveAt(QList<PlantItemRef>& items, qsizetype at);
    QList<PlantItemRef>& OfClassOf(const PlantItem& item);
    static qsizetype PlaceIn(const QList<PlantItemRef>& items, const PlantItem& item);

    Plant& m_Plant;
    const ControllerTraits m_Traits;
    qint32 m_Index = 0;
    bool m_UsesDevice = false;
    bool m_HasLostDevice = false;
    qint32 m_State = static_cast<qint32>(ControllerState::Uninitialized);
    Variant m_Tag;
    QList<PlantItemRef> m_Items;
    std::array<QList<PlantItemRef>, 3> m_ByClass; ///< the items of each scan class, in their order
    QHash<QString, PlantItemRef> m_ByName;
    QList<ControllerObserver*> m_Observers;
    QList<ItemPass*> m_Passes; ///< under way
};

using PlantControllerRef = std::shared_ptr<PlantController>;
