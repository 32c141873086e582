#pragma once

#include "server/plant/ItemFollower.h"
#include "server/plant/LinkWalk.h"
#include "server/plant/PlantController.h"

#include <functional>

/// What the plant needs of the process that runs it.
class PlantHost
{
public:
    virtual Moment Now() = 0;
    /// Runs `action` after `delay` milliseconds, between other events.
    virtual void After(qint32 delay, std::function<void()> action) = 0;
    /// A reading of an item that is to be recorded.
    virtual void Record(const PlantItem& item, const ItemReading& reading) = 0;
    /// The items of a controller whose device is back are to be scanned without waiting for their times.
    virtual void ScanSoon(PlantController& controller) = 0;
    /// Something went wrong in an action whose answer nobody waits for.
    virtual void Warn(const QString& text) = 0;

protected:
    ~PlantHost() = default;
};

/// All controllers with their items, independent of wire and database.
class Plant : public ServerObject
{
public:
    explicit Plant(PlantHost& host);
    ~Plant() override;

    PlantHost& Host() const { return m_Host; }
    /// Throws DescribedError when the name is taken.
    void AddSource(SourceRef source);
    /// Devices and whatever else the plant file names; null when there is none of that name.
    SourceRef FindSource(const QString& name) const;
    const QList<SourceRef>& Sources() const { return m_Sources; }
    /// From now on it hears of the items that it wants to follow, those that are there already and those to come.
    void Follow(ItemFollowerRef follower);
    const QList<ItemFollowerRef>& Followers() const { return m_Followers; }
    /// From now on sources may connect, and followers begin. The loop outlives the plant.
    void StartSources(Loop& loop);

    const QList<PlantControllerRef>& Controllers() const { return m_Controllers; }
    PlantControllerRef Find(const QString& name) const;
    /// Throws ServerError when there is none; case-sensitive.
    PlantControllerRef Controller(const QString& name) const;
    /// Throws DescribedError when the name is taken.
    PlantControllerRef Add(ControllerTraits traits);

    /// The item that "[<controller name>\]<item name>" means for items of the controller `from`; the controller's own
    /// items come first. Null when there is none.
    PlantItemRef Resolve(const PlantController& from, const QString& link) const;

    /// Increases whenever links may lead elsewhere than before: when items come or go, or are switched on or off.
    quint64 LinksState() const { return m_LinksState; }
    void NoteLinksChanged() { ++m_LinksState; }

    /// Puts the controllers into the states that their descriptions ask for.
    void Begin();
    /// Starts the engine as an operator does: the server then stays, even without clients.
    void Start();
    void Stop();
    bool IsStarted() const { return m_Started; }
    /// Tells all controllers that the server is ending.
    void Terminate();

    /// Runs `action` after `delay` milliseconds; returns false, without running it, when too many actions are already
    /// waiting.
    bool RunLater(qint32 delay, std::function<void()> action);
    static constexpr qint32 MostWaitingActions = 10'000;

    LinkWalk::State& Walk() { return m_Walk; }

private:
    PlantHost& m_Host;
    QList<SourceRef> m_Sources;
    QList<ItemFollowerRef> m_Followers;
    QList<PlantControllerRef> m_Controllers;
    QHash<QString, PlantControllerRef> m_ByName;
    bool m_Started = false;
    qint32 m_WaitingActions = 0;
    LinkWalk::State m_Walk;
    quint64 m_LinksState = 1;
};

/// Makes items from the definitions that clients send, and removes items.
class ItemMaker
{
public:
    /// Throws DescribedError.
    virtual void AddItem(PlantController& controller, const Variant& definition) = 0;
    /// Throws ServerError when no item has that name.
    virtual void RemoveItem(PlantController& controller, const QString& name) = 0;

protected:
    ~ItemMaker() = default;
};
