#include "tests/velsqllib/WireServer.h"

#include "core/automation/Errors.h"
#include "core/automation/PlainText.h"
#include "core/automation/SafeArray.h"
#include "core/automation/ServerObjects.h"
#include "velsqllib/KjLoop.h"
#include "velsqllib/ServerSocket.h"
#include "velsqllib/WireText.h"
#include "velsqllib/WireValue.h"

#include <QList>
#include <QMap>

#include <capnp/rpc-twoparty.h>
#include <unistd.h>

namespace {

using State = WireServer::State;

[[noreturn]] void Fail(const QString& description)
{
    const QByteArray text = description.toUtf8();
    throw kj::Exception(kj::Exception::Type::FAILED, __FILE__, __LINE__,
                        kj::heapString(text.constData(), static_cast<std::size_t>(text.size())));
}

/// What the server's values hold in place of an object: the item's name.
class NamedItem : public ServerObject
{
public:
    explicit NamedItem(wire::Item::Client client)
        : Client(kj::mv(client))
    {
    }
    ~NamedItem() noexcept override = default;
    wire::Item::Client Client;
};

class Objects : public WireObjects
{
public:
    void Write(const ObjectRef& object, wire::Object::Builder builder) override
    {
        if (object) builder.setItem(static_cast<NamedItem*>(object.get())->Client);
        else builder.setNone();
    }
    ObjectRef Read(wire::Object::Reader reader) override
    {
        if (reader.isItem()) return std::make_shared<NamedItem>(reader.getItem());
        return nullptr;
    }
};

struct Model
{
    std::shared_ptr<State> Counts;
    QMap<QString, Variant> Values = {{QStringLiteral("A"), qint32{25}}, {QStringLiteral("B"), Variant()}};
    QList<wire::ControllerEvents::Client*> Subscribers;
    Objects WireObjects;
};

class ItemServer : public wire::Item::Server
{
public:
    ItemServer(Model& model, QString name)
        : m_Model(model)
        , m_Name(std::move(name))
    {
        ++m_Model.Counts->LiveItems;
    }
    ~ItemServer() noexcept { --m_Model.Counts->LiveItems; }

    kj::Promise<void> getValue(GetValueContext context) override
    {
        WriteValue(m_Model.Values.value(m_Name), context.getResults().initResult(), m_Model.WireObjects);
        return kj::READY_NOW;
    }
    kj::Promise<void> putValue(PutValueContext context) override
    {
        m_Model.Values[m_Name] = ReadValue(context.getParams().getValue(), m_Model.WireObjects);
        return kj::READY_NOW;
    }
    kj::Promise<void> getName(GetNameContext context) override
    {
        context.getResults().setResult(WireBytes(m_Name));
        return kj::READY_NOW;
    }

private:
    Model& m_Model;
    QString m_Name;
};

class SubscriptionServer : public wire::Subscription::Server
{
public:
    SubscriptionServer(Model& model, wire::ControllerEvents::Client events)
        : m_Model(model)
        , m_Events(kj::mv(events))
    {
        m_Model.Subscribers.append(&m_Events);
        ++m_Model.Counts->LiveSubscriptions;
    }
    ~SubscriptionServer() noexcept
    {
        m_Model.Subscribers.removeOne(&m_Events);
        --m_Model.Counts->LiveSubscriptions;
    }

private:
    Model& m_Model;
    wire::ControllerEvents::Client m_Events;
};

class ControllerServer : public wire::Controller::Server
{
public:
    explicit ControllerServer(Model& model)
        : m_Model(model)
    {
    }

    kj::Promise<void> getItem(GetItemContext context) override
    {
        const QString name = ToPlainText(ReadValue(context.getParams().getName(), m_Model.WireObjects));
        if (!m_Model.Values.contains(name)) Fail(QStringLiteral("No item ") + name);
        context.getResults().setResult(kj::heap<ItemServer>(m_Model, name));
        return kj::READY_NOW;
    }
    kj::Promise<void> subscribe(SubscribeContext context) override
    {
        context.getResults().setSubscription(kj::heap<SubscriptionServer>(m_Model, context.getParams().getEvents()));
        return kj::READY_NOW;
    }

private:
    Model& m_Model;
};

class EngineServer : public wire::Engine::Server
{
public:
    EngineServer(Model& model, KjLoop& loop)
        : m_Model(model)
        , m_Loop(loop)
    {
    }

    kj::Promise<void> getController(GetControllerContext context) override
    {
        const QString name = ToPlainText(ReadValue(context.getParams().getName(), m_Model.WireObjects));
        if (name != u"PLC1") Fail(QStringLiteral("No controller ") + name);
        context.getResults().setResult(kj::heap<ControllerServer>(m_Model));
        return kj::READY_NOW;
    }
    kj::Promise<void> execute(ExecuteContext context) override
    {
        const QString command = FromWireText(context.getParams().getCommand());
        const QString verb = command.section(u' ', 0, 0);
        const QString rest = command.section(u' ', 1);
        if (verb == u"fail") Fail(rest);
        if (verb == u"sleep") return m_Loop.Timer().afterDelay(rest.toUInt() * kj::MILLISECONDS);
        if (verb == u"fire") Fire(rest.toInt());
        if (verb == u"hang")
            m_Tasks = m_Loop.Timer()
                          .afterDelay(1 * kj::MILLISECONDS)
                          .then([rest] { usleep(rest.toUInt() * 1000); })
                          .eagerlyEvaluate(nullptr);
        return kj::READY_NOW;
    }

private:
    void Fire(int count)
    {
        for (wire::ControllerEvents::Client* events : m_Model.Subscribers) {
            for (int i = 0; i < count; ++i) {
                auto request = events->onChangeItemRequest();
                auto item = request.initItem();
                item.setItem(kj::heap<ItemServer>(m_Model, QStringLiteral("A")));
                item.setControllerName(WireBytes(QStringLiteral("PLC1")));
                item.setItemName(WireBytes(QStringLiteral("A")));
                request.send().ignoreResult().detach([](kj::Exception&&) {});
            }
            auto request = events->onChangeStateRequest();
            request.setNewVal(count);
            request.send().ignoreResult().detach([](kj::Exception&&) {});
        }
    }

    Model& m_Model;
    KjLoop& m_Loop;
    kj::Promise<void> m_Tasks = nullptr;
};

class LibraryServer : public wire::Library::Server
{
public:
    LibraryServer(Model& model, KjLoop& loop)
        : m_Engine(kj::heap<EngineServer>(model, loop))
    {
    }
    kj::Promise<void> createEngine(CreateEngineContext context) override
    {
        context.getResults().setResult(m_Engine);
        return kj::READY_NOW;
    }
    kj::Promise<void> ping(PingContext) override { return kj::READY_NOW; }

private:
    wire::Engine::Client m_Engine;
};

} // namespace

WireServer::WireServer(const QString& socketPath)
{
    if (pipe(m_Stop) != 0) qFatal("no pipe");
    m_Thread = std::thread([this, socketPath] { Run(socketPath); });
    while (!m_Ready) usleep(1000);
}

WireServer::~WireServer()
{
    close(m_Stop[1]);
    m_Thread.join();
    close(m_Stop[0]);
}

void WireServer::Run(const QString& socketPath)
{
    const auto loop = KjLoop::OfThisThread();
    const ListeningSocket socket(socketPath);
    Model model;
    model.Counts = m_State;
    capnp::TwoPartyServer server(kj::heap<LibraryServer>(model, *loop));
    auto listener = loop->LowLevel().wrapListenSocketFd(socket.Descriptor());
    auto listening = server.listen(*listener).eagerlyEvaluate([](kj::Exception&&) {});
    auto stop = loop->LowLevel().wrapInputFd(m_Stop[0]);
    m_Ready = true;
    char nothing;
    stop->tryRead(&nothing, 1, 1).wait(loop->WaitScope());
}
