#include "core/automation/Errors.h"
#include "core/automation/PlainText.h"
#include "core/automation/SafeArray.h"
#include "tests/support/FakeServer.h"

#include <QStringBuilder>

using namespace Qt::StringLiterals;

namespace {

QString PlainText(const Variant& value)
{
    if (!value.IsArray()) return ToPlainText(value);
    QStringList elements;
    for (qsizetype i = 0; i < value.Array().Count(); ++i) elements << ToPlainText(value.Array().At(i));
    return elements.join(u',');
}

/// The type code and the plain text, which is "..." where there is none.
QString ArgumentText(const Variant& value)
{
    const QString code = QString::number(value.Type());
    try {
        return value.IsNull() ? code : QString(code % u',' % PlainText(value));
    } catch (const ValueError&) {
        return code % u",...";
    }
}

template <typename T>
QString ArgumentText(const T& argument)
{
    return ToPlainText(Variant(argument));
}

/// What all objects of the fake share: they are counted while they live and say every call before they answer from
/// their row in the server's tables. Their names are the controller's and the item's.
template <typename Interface, typename Row>
class FakeObject : public Interface
{
public:
    FakeObject(FakeServer& server, const QString& kind, const QStringList& names = {})
        : m_Server(server)
        , m_Title(names.isEmpty() ? kind : QString(kind % u'(' % names.last() % u')'))
        , m_Names(names)
    {
        ++m_Server.m_LiveObjects;
    }
    ~FakeObject() override { --m_Server.m_LiveObjects; }

protected:
    template <typename... Arguments>
    Row& Called(const char* operation, const Arguments&... arguments)
    {
        const QString name = QString::fromLatin1(operation);
        const QStringList texts{ArgumentText(arguments)...};
        m_Server.Record(m_Title % u'.' % name % u'(' % texts.join(u", ") % u')', name);
        return Find(static_cast<Row*>(nullptr));
    }

    FakeServer& m_Server;
    const QString m_Title;
    const QStringList m_Names;

private:
    FakeServer& Find(FakeServer*) { return m_Server; }
    FakeServer::History& Find(FakeServer::History*) { return m_Server.m_History; }
    FakeServer::Controller& Find(FakeServer::Controller*) { return m_Server.FindController(m_Names[0]); }
    FakeServer::Item& Find(FakeServer::Item*) { return m_Server.FindItem(m_Names[0], m_Names[1]); }
};

class FakeItem : public FakeObject<VelSQLItem, FakeServer::Item>
{
public:
    using FakeObject::FakeObject;

    Variant get_Value() override { return Called("get_Value").Value; }
    void put_Value(const Variant& value) override { Called("put_Value", value).Value = value; }
    void Snapshot() override { Called("Snapshot"); }
    bool get_Activation() override { return Called("get_Activation").Activation; }
    void put_Activation(bool active) override { Called("put_Activation", active).Activation = active; }
    Variant get_DateTime() override { return Called("get_DateTime").DateTime; }
    qint32 get_Index() override
    {
        return static_cast<qint32>(&Called("get_Index") - m_Server.FindController(m_Names[0]).Items.data());
    }
    bool get_LinkActivation() override { return Called("get_LinkActivation").LinkActivation; }
    void put_LinkActivation(bool active) override { Called("put_LinkActivation", active).LinkActivation = active; }
    qint32 get_Microsecond() override { return Called("get_Microsecond").Microsecond; }
    qint32 get_State() override { return Called("get_State").State; }
    Variant get_Tag() override { return Called("get_Tag").Tag; }
    void put_Tag(const Variant& value) override { Called("put_Tag", value).Tag = value; }
    void put_ValueEx(qint32 delay, const Variant& value) override { Called("put_ValueEx", delay, value).Value = value; }
    qint32 get_Attribute() override { return Called("get_Attribute").Attribute; }
    QString get_Description() override { return Called("get_Description").Description; }
    Variant get_Elements(qint32 index1, qint32 index2, qint32 index3) override
    {
        return Called("get_Elements", index1, index2, index3).Elements;
    }
    Variant get_ID() override { return Called("get_ID").ID; }
    void put_ID(const Variant& value) override { Called("put_ID", value).ID = value; }
    Variant get_LinkItem() override { return Called("get_LinkItem").LinkItem; }
    QString get_Name() override { return Called("get_Name").Name; }
    Variant get_SettingData(qint32 index) override { return Called("get_SettingData", index).SettingData; }
};

/// Listed with the server while it lives.
class FakeSubscription : public EventSubscription
{
public:
    FakeSubscription(FakeServer& server, const FakeServer::Subscriber& subscriber)
        : m_Server(server)
        , m_Subscriber(subscriber)
    {
        m_Server.m_Subscribers << m_Subscriber;
    }
    ~FakeSubscription() override { m_Server.m_Subscribers.removeOne(m_Subscriber); }

private:
    FakeServer& m_Server;
    const FakeServer::Subscriber m_Subscriber;
};

Variant Names(const auto& rows)
{
    QStringList names;
    for (const auto& row : rows) names << row.Name;
    return Variant(SafeArray(QList<QString>(names)));
}

class FakeController : public FakeObject<VelSQLController, FakeServer::Controller>
{
public:
    using FakeObject::FakeObject;

    ItemRef get_Item(const Variant& name) override
    {
        Called("get_Item", name.Get<QString>());
        m_Server.FindItem(m_Names[0], name.Get<QString>());
        return m_Server.MakeItem(m_Names[0], name.Get<QString>());
    }
    void Start() override { Called("Start"); }
    void Stop() override { Called("Stop"); }
    void Snapshot() override { Called("Snapshot"); }
    void AddItem(const Variant& definition) override
    {
        Called("AddItem", definition).Items << FakeServer::Item{ToPlainText(definition.Array().At(0))};
        m_Server.m_AddedDefinition = definition;
    }
    void RemoveItem(const QString& name) override
    {
        auto& items = Called("RemoveItem", name).Items;
        items.removeAt(&m_Server.FindItem(m_Names[0], name) - items.data());
    }
    Variant Execute(const QString& command, const Variant& parameter) override
    {
        return Called("Execute", command, parameter).ExecuteResult;
    }
    qint32 get_Count() override
    {
        const FakeServer::Controller& row = Called("get_Count");
        return row.ListedCount.value_or(static_cast<qint32>(row.Items.size()));
    }
    qint32 get_Index() override { return static_cast<qint32>(&Called("get_Index") - m_Server.m_Controllers.data()); }
    Variant get_ItemNames() override
    {
        const FakeServer::Controller& row = Called("get_ItemNames");
        return row.ListedNames.value_or(Names(row.Items));
    }
    qint32 get_ScanTimes(qint32 index) override
    {
        Called("get_ScanTimes", index);
        return 100 * (index + 1);
    }
    qint32 get_State() override { return Called("get_State").State; }
    Variant get_Tag() override { return Called("get_Tag").Tag; }
    void put_Tag(const Variant& value) override { Called("put_Tag", value).Tag = value; }
    QString get_Description() override { return Called("get_Description").Description; }
    QString get_Name() override { return Called("get_Name").Name; }
    Variant get_SettingData(const Variant& index) override { return Called("get_SettingData", index).SettingData; }
    EventSubscriptionRef Subscribe(ControllerEvents& events) override
    {
        Called("Subscribe");
        return std::make_unique<FakeSubscription>(m_Server, FakeServer::Subscriber(m_Names[0], &events));
    }
};

class FakeHistory : public FakeObject<VelSQLHistory, FakeServer::History>
{
public:
    using FakeObject::FakeObject;

    ResultSetRef Execute(const QString& statement) override { return Called("Execute", statement).Result; }
    bool get_Enabled() override { return Called("get_Enabled").Enabled; }
    QString get_ConnectionString(qint32 index) override
    {
        return Called("get_ConnectionString", index).ConnectionString.at(index - 1);
    }
    qint32 get_MaxRecord(qint32 index) override { return Called("get_MaxRecord", index).MaxRecord.at(index - 1); }
    QString get_TableName(qint32 index) override { return Called("get_TableName", index).TableName.at(index - 1); }
    ResultSetRef ReadRaw(const Variant& items, const Variant& from, const Variant& to, bool, qint32,
                         const QString&) override
    {
        return Called("ReadRaw", items, from, to).Result;
    }
    ResultSetRef ReadProcessed(const Variant& items, const Variant& from, const Variant& to, const Variant& interval,
                               const Variant&) override
    {
        return Called("ReadProcessed", items, from, to, interval).Result;
    }
};

class FakeEngine : public FakeObject<VelSQLEngine, FakeServer>
{
public:
    using FakeObject::FakeObject;

    ControllerRef get_Controller(const Variant& name) override
    {
        Called("get_Controller", name.Get<QString>()).FindController(name.Get<QString>());
        return std::make_shared<FakeController>(m_Server, u"Controller"_s, QStringList(name.Get<QString>()));
    }
    void Start() override { Called("Start"); }
    void Stop() override { Called("Stop"); }
    void Snapshot() override { Called("Snapshot"); }
    Variant Execute(const QString& command) override { return Called("Execute", command).m_EngineExecuteResult; }
    HistoryRef get_History() override { return std::make_shared<FakeHistory>(Called("get_History"), u"History"_s); }
    Variant get_ControllerNames() override
    {
        const FakeServer& server = Called("get_ControllerNames");
        return server.m_ListedControllers.value_or(Names(server.m_Controllers));
    }
};

} // namespace

EngineRef FakeServer::CreateEngine()
{
    Record(u"VelSQLLib.CreateEngine()"_s, u"CreateEngine"_s);
    return std::make_shared<FakeEngine>(*this, u"Engine"_s);
}

ItemRef FakeServer::MakeItem(const QString& controller, const QString& item)
{
    return std::make_shared<FakeItem>(*this, u"Item"_s, QStringList{controller, item});
}
