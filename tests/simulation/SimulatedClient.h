#pragma once

#include "tests/simulation/Book.h"
#include "tests/simulation/PausableStream.h"
#include "tests/simulation/SimulatedServer.h"
#include "tests/simulation/SimulatedSubscription.h"
#include "velsqllib/velsqllib.capnp.h"

#include <capnp/rpc-twoparty.h>

/// A client as the wire sees it, whose every call has to be answered, and rightly.
class SimulatedClient : private kj::TaskSet::ErrorHandler
{
public:
    SimulatedClient(KjLoop& loop, SimulatedServer& server, Trace& trace, Book& book, int number);
    /// Goes at once, whatever is under way.
    ~SimulatedClient() noexcept(false);

    /// The oldest call that has not been answered; empty when there is none.
    QString OldestCall() const { return m_UnderWay.empty() ? QString() : m_UnderWay.begin()->second; }
    std::size_t Subscriptions() const { return m_Subscriptions.size(); }
    /// From now on it reads nothing, or goes on reading.
    void SetReading(bool isReading) { m_Stream->SetReading(isReading); }

    void Get(const QString& controller, const QString& item);
    void Put(const QString& controller, const QString& item, const Variant& value);
    void PutLater(const QString& controller, const QString& item, const Variant& value, qint32 delay);
    void PutActivation(const QString& controller, const QString& item, bool isActive);
    void ReadItem(const QString& controller, const QString& item);
    void ReadController(const QString& controller);
    /// Of all items that it knows, in one message.
    void GetKnown();
    void SwitchController(const QString& controller, bool isOn);
    void Execute(const QString& command);
    /// Then for how far it is and for what it has, and keeps it.
    void AskHistory(const QString& statement);
    void ForgetResults() { m_Results.clear(); }
    /// `origin` is a link, or a variable of the unit or the broker.
    void AddItem(const QString& name, const QString& origin);
    void RemoveItem(const QString& name);
    /// One of its own items, which nobody else writes.
    void PutOwn(int item, const Variant& value);
    /// Requires that it is what it has written last.
    void GetOwn(int item);
    /// `milliseconds` is how long it works on what a message tells it.
    void Subscribe(const QString& controller, quint16 level, int milliseconds);
    void Unsubscribe(std::size_t number);

    /// Requires, once nothing is on its way, that its subscriptions had every event, once and in order.
    void CheckEvents() const;

private:
    using ItemAction = std::function<void(wire::Item::Client& item)>;
    enum class Expected
    {
        Anything,
        Success
    };

    template <typename Request, typename Answered>
    void Send(const QString& what, Request&& request, Expected expected, Answered answered);
    template <typename Request>
    void Send(const QString& what, Request&& request, Expected expected = Expected::Anything);
    void Answered(int call, const QString& answer);
    void Failed(int call, const kj::Exception& failure, Expected expected);
    void With(const QString& controller, const QString& item, const ItemAction& action);
    wire::Controller::Client Controller(const QString& name);
    void Set(wire::Value::Builder builder, const Variant& value) { WriteValue(value, builder, m_Objects); }
    QString OwnName(int item) const { return SimulatedServer::NameOfOwn(m_Number, item); }
    void taskFailed(kj::Exception&& exception) override;

    KjLoop& m_Loop;
    SimulatedServer& m_Server;
    Trace& m_Trace;
    Book& m_Book;
    const int m_Number;
    kj::Own<PausableStream> m_Stream;
    kj::Own<capnp::TwoPartyClient> m_Rpc;
    wire::Library::Client m_Library = nullptr;
    wire::Engine::Client m_Engine = nullptr;
    NoObjects m_Objects;
    std::map<QString, wire::Item::Client> m_Items; ///< that it knows
    std::map<QString, int> m_Asked;                ///< of these references so many are on their way
    std::vector<wire::ResultSet::Client> m_Results;
    std::map<int, QString> m_UnderWay;
    int m_Calls = 0;
    std::array<Variant, SimulatedServer::OwnItems> m_Own; ///< what it has written to them last
    std::vector<SimulatedSubscriptionRef> m_Subscriptions;
    std::vector<SimulatedSubscriptionRef> m_Given; ///< up
    kj::TaskSet m_Tasks;
};

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
