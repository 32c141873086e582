#pragma once

#include "velsqllib/ClientObjects.h"
#include "velsqllib/Connection.h"
#include "velsqllib/WireText.h"

#include <concepts>

/// How an object is reached from the engine; parts that its kind does not need are empty.
struct ObjectWay
{
    QString ControllerName;
    QString ItemName;
};

/// What all proxies of server objects have in common: a reference over the wire that is got again, by the object's
/// path, whenever the connection has attached to another server.
template <typename Wire>
class Proxy
{
public:
    using WireClient = typename Wire::Client;

    Proxy(ConnectionRef connection, ObjectWay way, WireClient client)
        : m_Connection(std::move(connection))
        , m_Way(std::move(way))
        , m_Client(kj::mv(client))
        , m_Generation(m_Connection->Generation())
    {
    }
    Proxy(const Proxy&) = delete;
    Proxy& operator=(const Proxy&) = delete;
    ~Proxy() noexcept { m_Connection->PollLater(); }

    /// The reference on the present server; only inside a call.
    WireClient& Client()
    {
        if (m_Generation != m_Connection->Generation()) {
            m_Client = Find(static_cast<Wire*>(nullptr));
            m_Generation = m_Connection->Generation();
            m_Confirmed = false;
        }
        return m_Client;
    }
    const ObjectWay& Way() const { return m_Way; }

protected:
    static constexpr auto NoArguments = [](auto&) {};
    /// As the operation's schema says: a value, a text, a number, a boolean, or nothing.
    struct PlainResult
    {
    };

    /// Calls an operation: `fill` sets the arguments of the request, `read` makes the result from the response.
    template <typename Request, typename Fill = decltype(NoArguments), typename Read = PlainResult>
    auto Call(Request (WireClient::*operation)(kj::Maybe<capnp::MessageSize>), const Fill& fill = NoArguments,
              const Read& read = {})
    {
        KJ_ON_SCOPE_FAILURE(if (!m_Confirmed) m_Generation = 0); // the next call looks for it again
        return m_Connection->Call(
            [&] {
                auto request = (Client().*operation)(nullptr);
                fill(request);
                return request.send();
            },
            [&](auto response) {
                m_Confirmed = true;
                if constexpr (std::same_as<Read, PlainResult>) return ResultOf(response);
                else return read(response);
            });
    }

    WireObjects& Objects() { return m_Connection->Objects(); }
    const ConnectionRef& GetConnection() const { return m_Connection; }

private:
    template <typename Response>
    auto ResultOf(Response& response)
    {
        if constexpr (requires { response.getResult(); }) {
            using Result = decltype(response.getResult());
            if constexpr (std::same_as<Result, wire::Value::Reader>) return ReadValue(response.getResult(), Objects());
            else if constexpr (std::same_as<Result, capnp::Data::Reader>) return FromWireText(response.getResult());
            else return response.getResult();
        }
    }

    wire::Engine::Client Find(wire::Engine*) { return m_Connection->Engine(); }
    wire::Controller::Client Find(wire::Controller*) { return FindController(*m_Connection, m_Way.ControllerName); }
    wire::Item::Client Find(wire::Item*) { return FindItem(*m_Connection, m_Way.ControllerName, m_Way.ItemName); }
    wire::History::Client Find(wire::History*) { return FindHistory(*m_Connection); }

    ConnectionRef m_Connection;
    ObjectWay m_Way;
    WireClient m_Client;
    quint64 m_Generation;
    bool m_Confirmed = true;
};
