#include "tests/simulation/SimulatedClient.h"

#include "core/automation/SafeArray.h"
#include "tests/server/Outcome.h"
#include "tests/simulation/SocketPair.h"

#include <QRegularExpression>

namespace {

QString Shown(const Variant& value)
{
    return OutcomeOf([&] { return WriteTypedText(value).left(60); });
}

} // namespace

SimulatedClient::SimulatedClient(KjLoop& loop, SimulatedServer& server, Trace& trace, Book& book, int number)
    : m_Loop(loop)
    , m_Server(server)
    , m_Trace(trace)
    , m_Book(book)
    , m_Number(number)
    , m_Tasks(*this)
{
    auto ends = SocketPair();
    m_Server.Accept(kj::mv(ends[0]));
    m_Stream = kj::heap<PausableStream>(loop.Wrap(kj::mv(ends[1])));
    m_Rpc = kj::heap<capnp::TwoPartyClient>(*m_Stream);
    m_Library = m_Rpc->bootstrap().castAs<wire::Library>();
    m_Engine = m_Library.createEngineRequest().send().getResult();
}

SimulatedClient::~SimulatedClient() noexcept(false)
{
    m_Trace.Note(QStringLiteral("c%1 goes").arg(m_Number));
}

template <typename Request, typename Action>
void SimulatedClient::Send(const QString& what, Request&& request, Expected expected, Action answered)
{
    const int call = ++m_Calls;
    m_UnderWay.emplace(call, what);
    m_Trace.Note(QStringLiteral("c%1 #%2 %3").arg(m_Number).arg(call).arg(what));
    m_Tasks.add(
        request.send().then([this, call, answered](auto&& response) { Answered(call, answered(response)); },
                            [this, call, expected](kj::Exception&& failure) { Failed(call, failure, expected); }));
}

template <typename Request>
void SimulatedClient::Send(const QString& what, Request&& request, Expected expected)
{
    Send(what, std::forward<Request>(request), expected, [](const auto&) { return QString(); });
}

void SimulatedClient::Answered(int call, const QString& answer)
{
    m_Trace.Note(QStringLiteral("c%1 #%2 done %3").arg(m_Number).arg(call).arg(answer));
    m_UnderWay.erase(call);
}

void SimulatedClient::Failed(int call, const kj::Exception& failure, Expected expected)
{
    const QString description = DescriptionOf(failure);
    const QString what =
        QStringLiteral("c%1 #%2 (%3) failed: %4").arg(m_Number).arg(call).arg(m_UnderWay[call], description);
    m_Trace.Note(what);
    // Neither a lost connection nor words of the library.
    static const QRegularExpression foreign(QStringLiteral("\\.c\\+\\+|kj::|[Ff]ulfiller"));
    const bool isOurs = failure.getType() == kj::Exception::Type::FAILED && !description.contains(foreign);
    m_Trace.Require(isOurs && expected == Expected::Anything, what);
    m_UnderWay.erase(call);
}

wire::Controller::Client SimulatedClient::Controller(const QString& name)
{
    auto request = m_Engine.getControllerRequest();
    Set(request.initName(), name);
    return request.send().getResult();
}

/// The item's reference comes first: calls keep their order only on one that is there.
void SimulatedClient::With(const QString& controller, const QString& item, const ItemAction& action)
{
    const QString path = controller + u'\\' + item;
    if (const auto known = m_Items.find(path); known != m_Items.end()) return action(known->second);
    auto request = Controller(controller).getItemRequest();
    Set(request.initName(), item);
    Send(QStringLiteral("Item ") + path, request, Expected::Anything, [this, path, action](const auto& response) {
        action(m_Items.insert_or_assign(path, response.getResult()).first->second);
        return QString();
    });
}

void SimulatedClient::Get(const QString& controller, const QString& item)
{
    With(controller, item, [=, this](wire::Item::Client& found) {
        Send(QStringLiteral("get_Value ") + item, found.getValueRequest(), Expected::Anything,
             [this](const auto& response) { return Shown(ReadValue(response.getResult(), m_Objects)); });
        Send(QStringLiteral("get_State ") + item, found.getStateRequest());
        Send(QStringLiteral("get_DateTime ") + item, found.getDateTimeRequest());
    });
}

void SimulatedClient::Put(const QString& controller, const QString& item, const Variant& value)
{
    With(controller, item, [=, this](wire::Item::Client& found) {
        auto request = found.putValueRequest();
        Set(request.initValue(), value);
        Send(QStringLiteral("put_Value ") + item + u' ' + Shown(value), request);
    });
}

void SimulatedClient::PutLater(const QString& controller, const QString& item, const Variant& value, qint32 delay)
{
    With(controller, item, [=, this](wire::Item::Client& found) {
        auto request = found.putValueExRequest();
        request.setDelay(delay);
        Set(request.initValue(), value);
        Send(QStringLiteral("PutValueEx %1 %2").arg(item).arg(delay), request);
    });
}

void SimulatedClient::PutActivation(const QString& controller, const QString& item, bool isActive)
{
    With(controller, item, [=, this](wire::Item::Client& found) {
        auto request = found.putActivationRequest();
        request.setValue(isActive);
        Send(QStringLiteral("put_Activation %1 %2").arg(item).arg(isActive), request);
    });
}

void SimulatedClient::ReadItem(const QString& controller, const QString& item)
{
    With(controller, item,
         [=, this](wire::Item::Client& found) { Send(QStringLiteral("Snapshot ") + item, found.snapshotRequest()); });
}

void SimulatedClient::ReadController(const QString& controller)
{
    Send(QStringLiteral("Snapshot ") + controller, Controller(controller).snapshotRequest());
}

void SimulatedClient::GetKnown()
{
    if (m_Items.empty()) return;
    auto request = m_Library.callInTurnRequest();
    const auto count = static_cast<uint>(m_Items.size());
    auto objects = request.initObjects(count);
    auto calls = request.initCalls(count);
    uint at = 0;
    for (auto& [path, item] : m_Items) {
        objects[at].setItem(item);
        calls[at].setObject(static_cast<quint16>(at));
        calls[at++].setMethod(0); // get_Value
    }
    Send(QStringLiteral("get_Value of %1").arg(count), request, Expected::Success, [=, this](const auto& response) {
        const auto outcomes = response.getOutcomes();
        m_Trace.Require(outcomes.size() == count && !outcomes[0].isUnanswered(),
                        QStringLiteral("a list of calls was not begun"));
        uint answered = 0;
        while (answered < outcomes.size() && !outcomes[answered].isUnanswered()) ++answered;
        return QString::number(answered);
    });
}

void SimulatedClient::SwitchController(const QString& controller, bool isOn)
{
    const QString what = (isOn ? QStringLiteral("Start ") : QStringLiteral("Stop ")) + controller;
    if (isOn) Send(what, Controller(controller).startRequest(), Expected::Success);
    else Send(what, Controller(controller).stopRequest(), Expected::Success);
}

void SimulatedClient::Execute(const QString& command)
{
    auto request = m_Engine.executeRequest();
    request.setCommand(WireBytes(command));
    Send(QStringLiteral("Execute ") + command, request);
}

void SimulatedClient::AskHistory()
{
    auto request = m_Engine.getHistoryRequest().send().getResult().executeRequest();
    request.setStatement(WireBytes(QStringLiteral("SELECT 1")));
    Send(QStringLiteral("history"), request);
}

void SimulatedClient::AddItem(const QString& name, const QString& link)
{
    auto definition = UntouchedDefinition();
    definition[0] = name;
    definition[8] = link;
    auto request = Controller(QStringLiteral("Added")).addItemRequest();
    Set(request.initDefinition(), SafeArray(definition));
    m_Book.Maybe.insert(name);
    const auto expected = link.isEmpty() ? Expected::Success : Expected::Anything;
    Send(QStringLiteral("AddItem ") + name + u' ' + link, request, expected, [this, name](const auto&) {
        m_Book.Maybe.remove(name);
        m_Book.Added.insert(name);
        return QString();
    });
}

void SimulatedClient::RemoveItem(const QString& name)
{
    m_Book.Added.remove(name);
    m_Book.Maybe.insert(name);
    auto request = Controller(QStringLiteral("Added")).removeItemRequest();
    request.setName(WireBytes(name));
    Send(QStringLiteral("RemoveItem ") + name, request, Expected::Success, [this, name](const auto&) {
        m_Book.Maybe.remove(name);
        return QString();
    });
}

void SimulatedClient::PutOwn(int item, const Variant& value)
{
    With(QStringLiteral("Own"), OwnName(item), [=, this](wire::Item::Client& found) {
        auto request = found.putValueRequest();
        Set(request.initValue(), value);
        m_Own[static_cast<std::size_t>(item)] = value;
        Send(QStringLiteral("put_Value ") + OwnName(item) + u' ' + Shown(value), request, Expected::Success,
             [=, this](const auto&) {
                 const bool isRecorded = item == SimulatedServer::OwnItems - 1;
                 if (const qint32* number = value.GetIf<qint32>(); number && isRecorded)
                     m_Book.Confirmed[OwnName(item)].append(*number);
                 return QString();
             });
    });
}

void SimulatedClient::GetOwn(int item)
{
    With(QStringLiteral("Own"), OwnName(item), [=, this](wire::Item::Client& found) {
        const Variant written = m_Own[static_cast<std::size_t>(item)];
        Send(QStringLiteral("get_Value ") + OwnName(item), found.getValueRequest(), Expected::Success,
             [=, this](const auto& response) {
                 const Variant read = ReadValue(response.getResult(), m_Objects);
                 m_Trace.Require(written.IsEmpty() || read == written,
                                 QStringLiteral("%1 was written to %2, and %3 read")
                                     .arg(Shown(written), OwnName(item), Shown(read)));
                 return Shown(read);
             });
    });
}

void SimulatedClient::Subscribe(const QString& controller, quint16 level, int milliseconds)
{
    const auto made =
        std::make_shared<SimulatedSubscription>(controller, milliseconds, m_Server.Events(controller).size());
    auto request = Controller(controller).subscribeRequest();
    request.setEvents(
        SimulatedSubscription::ReceiverOf(made, m_Loop.Timer(), m_Trace, QStringLiteral("c%1").arg(m_Number)));
    request.setLevel(level);
    Send(QStringLiteral("subscribe to ") + controller, request, Expected::Success, [=, this](auto& response) {
        made->Begin(response.getSubscription(), m_Server.Events(controller).size());
        m_Subscriptions.push_back(made);
        return QString();
    });
}

void SimulatedClient::Unsubscribe(std::size_t number)
{
    const SimulatedSubscriptionRef given = m_Subscriptions[number];
    m_Subscriptions.erase(m_Subscriptions.begin() + static_cast<std::ptrdiff_t>(number));
    m_Given.push_back(given);
    given->GiveUp();
    // Behind it on the same way: what was sent before has come once this is answered.
    Send(QStringLiteral("unsubscribe from ") + given->Controller(), m_Library.pingRequest(), Expected::Success,
         [given](const auto&) {
             given->End();
             return QString();
         });
}

void SimulatedClient::CheckEvents() const
{
    for (const SimulatedSubscriptionRef& held : m_Subscriptions)
        m_Trace.Require(held->HadAll(m_Server.Events(held->Controller())),
                        QStringLiteral("c%1 misses events of %2").arg(m_Number).arg(held->Controller()));
    for (const SimulatedSubscriptionRef& given : m_Given)
        m_Trace.Require(
            given->HadSome(m_Server.Events(given->Controller())),
            QStringLiteral("c%1 had other events of %2 than there were").arg(m_Number).arg(given->Controller()));
}

void SimulatedClient::taskFailed(kj::Exception&& exception)
{
    m_Trace.Require(false, QStringLiteral("c%1: %2").arg(m_Number).arg(DescriptionOf(exception)));
}
