#include "tests/simulation/SimulatedClient.h"

#include "tests/simulation/SocketPair.h"
#include "velsqllib/WireText.h"

#include <QRegularExpression>

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

/// The item's reference comes first: calls keep their order only on one that is there, and none overtakes those that wait
/// for it.
void SimulatedClient::With(const QString& controller, const QString& item, const ItemAction& action)
{
    const QString path = controller + u'\\' + item;
    const auto known = m_Items.find(path);
    if (known != m_Items.end() && m_Asked[path] == 0) return action(known->second);
    ++m_Asked[path];
    auto request = Controller(controller).getItemRequest();
    Set(request.initName(), item);
    Send(QStringLiteral("Item ") + path, request, Expected::Anything, [this, path, action](const auto& response) {
        --m_Asked[path];
        action(m_Items.insert_or_assign(path, response.getResult()).first->second);
        return QString();
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
