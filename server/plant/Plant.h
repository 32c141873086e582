#pragma once

#include "server/plant/LinkWalk.h"
#include "server/plant/PlantController.h"

#include <functional>

/// What the plant needs of the process that runs it.
class PlantHost
{
public:
    virtual Moment Now() = 0;
    /// Runs `action` after `delay` milliseconds, between other things.
    virtual void After(qint32 delay, std::function<void()> action) = 0;
    /// A change of an item that is to be recorded.
    virtual void Record(const PlantItem& item) = 0;
    /// Something went wrong in an action whose answer nobody waits for.
    virtual void Warn(const QString& text) = 0;

protected:
    ~PlantHost() = default;
};

/// All controllers with their items, without any wire or database.
class Plant : public ServerObject
{
public:
    explicit Plant(PlantHost& host);
    ~Plant() override;

    PlantHost& Host() const { return m_Host; }
    const QList<PlantControllerRef>& Controllers() const { return m_Controllers; }
    PlantControllerRef Find(const QString& name) const;
    /// Throws ServerError when there is none; upper and lower case differ.
    PlantControllerRef Controller(const QString& name) const;
    /// Throws DescribedError when the name is taken.
    PlantControllerRef Add(ControllerTraits traits);

    /// What "[<controller name>\]<item name>" means to items of the controller `from`: an item of its own first. Null
    /// when there is none.
    PlantItemRef Resolve(const PlantController& from, const QString& link) const;

    /// Counts on whenever links may lead elsewhere than before: items come or go, or are switched on or off.
    quint64 LinksState() const { return m_LinksState; }
    void NoteLinksChanged() { ++m_LinksState; }

    /// Brings the controllers to the state that their description asks for.
    void Begin();
    /// As an operator does: the server then stays, even without clients.
    void Start();
    void Stop();
    void Snapshot();
    bool IsStarted() const { return m_Started; }
    /// All controllers are told that the server goes.
    void Terminate();

    /// Runs `action` after `delay` milliseconds; false, and nothing, when too many wait already.
    bool RunLater(qint32 delay, std::function<void()> action);
    static constexpr qint32 MostWaitingActions = 10'000;

    LinkWalk::State& Walk() { return m_Walk; }

private:
    PlantHost& m_Host;
    QList<PlantControllerRef> m_Controllers;
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
    /// Throws ServerError when there is none of that name.
    virtual void RemoveItem(PlantController& controller, const QString& name) = 0;

protected:
    ~ItemMaker() = default;
};
