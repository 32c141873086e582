#pragma once

#include "core/automation/ResultSet.h"
#include "core/automation/TextList.h"
#include "core/automation/Variant.h"

#include <functional>

/// Anything that a server hands out by reference. Every operation of every object throws ServerError when it fails.
class ServerObject
{
public:
    ServerObject() = default;
    ServerObject(const ServerObject&) = delete;
    ServerObject& operator=(const ServerObject&) = delete;
    virtual ~ServerObject();
};

class VelSQLController;
class VelSQLItem;
class VelSQLHistory;

using ControllerRef = std::shared_ptr<VelSQLController>;
using ItemRef = std::shared_ptr<VelSQLItem>;
using HistoryRef = std::shared_ptr<VelSQLHistory>;

/// An item, and the controller that it was got from.
struct FoundItem
{
    ControllerRef Controller;
    ItemRef Item;
};

/// The root of the server's objects. The operations stand in the order of the server's operation table.
class VelSQLEngine : public ServerObject
{
public:
    virtual ControllerRef get_Controller(const Variant& name) = 0;
    /// get_Controller and its get_Item, in no more time than one call where that is possible.
    virtual FoundItem FindItem(const QString& controllerName, const QString& itemName);
    virtual void Start() = 0;
    virtual void Stop() = 0;
    virtual void Snapshot() = 0;
    virtual Variant Execute(const QString& command) = 0;
    virtual HistoryRef get_History() = 0;
    /// An array of texts: the names of all controllers, in the server's order.
    virtual Variant get_ControllerNames() = 0;
};

using EngineRef = std::shared_ptr<VelSQLEngine>;

/// Receives a controller's events on the thread that subscribed, between other events and never inside a call.
class ControllerEvents
{
public:
    virtual void OnChangeState(qint32 lNewVal) = 0;
    virtual void OnChangeItem(const ItemRef& pICSItem) = 0;
    /// See CallStep: makes the calls that OnChangeItem will make next.
    virtual void ForeseeChangeItem(const ItemRef&) {}

protected:
    ~ControllerEvents() = default;
};

/// A running subscription; destroying it ends it, and no event arrives afterwards.
class EventSubscription
{
public:
    EventSubscription() = default;
    EventSubscription(const EventSubscription&) = delete;
    EventSubscription& operator=(const EventSubscription&) = delete;
    virtual ~EventSubscription();

    /// False when no more events arrive, because a restarted server has refused the subscription.
    virtual bool IsOpen() const { return true; }
};

using EventSubscriptionRef = std::unique_ptr<EventSubscription>;

/// A named group of items.
class VelSQLController : public ServerObject
{
public:
    virtual ItemRef get_Item(const Variant& name) = 0;
    virtual void Start() = 0;
    virtual void Stop() = 0;
    virtual void Snapshot() = 0;
    /// `definition` is an array of 41 variants.
    virtual void AddItem(const Variant& definition) = 0;
    virtual void RemoveItem(const QString& name) = 0;
    virtual Variant Execute(const QString& command, const Variant& parameter) = 0;
    virtual qint32 get_Count() = 0;
    virtual qint32 get_Index() = 0;
    /// An array of texts: the names of the controller's items, in the server's order.
    virtual Variant get_ItemNames() = 0;
    static constexpr quint32 AllItems = 0;
    /// get_ItemNames, and the names are used where the answer stands: the first `most` of them, or AllItems. Throws also
    /// what `use` throws, and ValueError when the answer is no array of texts.
    virtual void UseItemNames(quint32 most, const std::function<void(const TextList& names)>& use);
    /// Milliseconds; `index` is 0, 1 or 2.
    virtual qint32 get_ScanTimes(qint32 index) = 0;
    /// See StateName.
    virtual qint32 get_State() = 0;
    virtual Variant get_Tag() = 0;
    virtual void put_Tag(const Variant& value) = 0;
    virtual QString get_Description() = 0;
    virtual QString get_Name() = 0;
    /// `index` is an I2.
    virtual Variant get_SettingData(const Variant& index) = 0;

    /// From now on `events` receives the controller's events; it must outlive the subscription.
    virtual EventSubscriptionRef Subscribe(ControllerEvents& events) = 0;
};

/// A data point.
class VelSQLItem : public ServerObject
{
public:
    virtual Variant get_Value() = 0;
    virtual void put_Value(const Variant& value) = 0;
    virtual void Snapshot() = 0;
    virtual bool get_Activation() = 0;
    virtual void put_Activation(bool active) = 0;
    virtual Variant get_DateTime() = 0;
    virtual qint32 get_Index() = 0;
    virtual bool get_LinkActivation() = 0;
    virtual void put_LinkActivation(bool active) = 0;
    virtual qint32 get_Microsecond() = 0;
    /// 0 succeeded, 1 failed, 2 undefined.
    virtual qint32 get_State() = 0;
    virtual Variant get_Tag() = 0;
    virtual void put_Tag(const Variant& value) = 0;
    /// `delay` in milliseconds.
    virtual void put_ValueEx(qint32 delay, const Variant& value) = 0;
    /// 0 read and write, 1 read only, 2 write only.
    virtual qint32 get_Attribute() = 0;
    virtual QString get_Description() = 0;
    virtual Variant get_Elements(qint32 index1, qint32 index2, qint32 index3) = 0;
    virtual Variant get_ID() = 0;
    virtual void put_ID(const Variant& value) = 0;
    /// An array of texts, or EMPTY.
    virtual Variant get_LinkItem() = 0;
    virtual QString get_Name() = 0;
    /// `index` is 0 to 35.
    virtual Variant get_SettingData(qint32 index) = 0;
};

/// Records item values and answers SQL. Settings exist for two destinations, 1 and 2.
class VelSQLHistory : public ServerObject
{
public:
    virtual ResultSetRef Execute(const QString& statement) = 0;
    virtual QString get_ConnectionString(qint32 index) = 0;
    virtual bool get_Enabled() = 0;
    virtual qint32 get_MaxRecord(qint32 index) = 0;
    virtual QString get_TableName(qint32 index) = 0;

    /// What was recorded from `from` until before `to`, in the order of time: columns item, time, utc, value, state,
    /// quality. `items` is a text "<controller>\<item>" or an array of them; times are microseconds since 1970 UTC, local
    /// dates or texts, EMPTY for the beginning and the end. `bounds`: with the values next to the span. `atMost` is for
    /// each item, 0: all; `continuing` is what an earlier answer ended with, or empty.
    virtual ResultSetRef ReadRaw(const Variant& items, const Variant& from, const Variant& to, bool bounds,
                                 qint32 atMost, const QString& continuing) = 0;
    /// One row for each item and interval. `interval` is in microseconds or a text such as "10 min", 0: the whole span;
    /// `aggregates` names one or an array of Minimum, Maximum, Average, TimeAverage, Count, First, Last; or "All".
    virtual ResultSetRef ReadProcessed(const Variant& items, const Variant& from, const Variant& to,
                                       const Variant& interval, const Variant& aggregates) = 0;
};

/// Turns typed text (the decimal type code, ",", the value text) into values and back.
class ValueConverter : public ServerObject
{
public:
    /// Throws ValueError that says what is wrong with which text for which type.
    virtual Variant TextToValue(const QString& typedText) = 0;
    /// `flags` is always 0. Throws ValueError for what has no text (objects).
    virtual QString ValueToText(const Variant& value, qint32 flags) = 0;
};

using ValueConverterRef = std::shared_ptr<ValueConverter>;

/// The script tool as the console drives it.
class ScriptHost : public ServerObject
{
public:
    virtual void Show() = 0;
    virtual void AddObject(const QString& name, const ObjectRef& object) = 0;
    virtual void RemoveObject(const QString& name) = 0;
    virtual QString get_Script() = 0;
    virtual void put_Script(const QString& script) = 0;
};

using ScriptHostRef = std::shared_ptr<ScriptHost>;

/// A piece of work that calls the server. Where the server can, it answers the calls of many steps at once.
struct CallStep
{
    /// Makes the calls that Take will make, and nothing else. The answers are made up: true, 0, EMPTY, no text.
    /// A call right after a boolean is expected only when that is true, a value right after the attribute only when that
    /// is not "write only"; after a failed reading the server leaves out the rest of the step.
    std::function<void()> Foresee;
    /// Does the work; calls that were not foreseen are made one by one. Must not throw.
    std::function<void()> Take;
};

/// The server's type library: the classes that a client may create.
class VelSQLLib
{
public:
    virtual ~VelSQLLib();

    /// Every call that has lasted about 30 ms runs the given function once; it must neither call the server nor throw.
    virtual void OnLongCall(std::function<void()>) {}
    /// The server is there, as far as is known without asking it, and its last call took 100 ms at most: the time for a
    /// call that nobody has asked for.
    virtual bool IsPrompt() const { return true; }

    /// Why no call can succeed at present; empty while the server is there, as far as is known: a closed connection is
    /// known at once, a silent server by the first call that fails.
    virtual QString Absence() const { return {}; }
    /// The given function runs, between other events and never inside a call, each time that the above has changed.
    virtual void OnServerChange(std::function<void()>) {}

    /// Takes the steps from `first` on that one call on the server answers, in order, at least one; returns how many. A
    /// step that foresees no call is taken alone. Each call reaches the server as if it were made by itself.
    virtual qsizetype TakeSteps(const QList<CallStep>& steps, qsizetype first);

    /// That the server is of another version than this program, and which; empty while it is not, or is not known.
    virtual QString VersionNote() const { return {}; }

    /// Attaches to a running server or starts one. Throws ServerError when neither is possible.
    virtual EngineRef CreateEngine() = 0;
    virtual ValueConverterRef CreateValueConverter() = 0;
};

/// The text of a controller's state code: "Uninitialized", "Active", "Deactive", "Error", "Terminated"; "Unknown" for
/// any other.
QString StateName(qint32 state);
