#pragma once

#include "velsqllib/ClientObjects.h"
#include "velsqllib/Connection.h"
#include "velsqllib/WireText.h"

#include <array>
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
class Proxy : public CallTarget
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
    void WriteReference(wire::Object::Builder object) final { Write(Client(), object); }

protected:
    static constexpr auto NoArguments = [](auto&) {};
    static constexpr uint FewWords = 32;
    template <typename Fill>
    static constexpr bool TakesNothing = std::same_as<Fill, std::remove_const_t<decltype(NoArguments)>>;
    /// As the operation's schema says: a value, a text, a number, a boolean, or nothing.
    struct PlainResult
    {
    };
    /// An object of the server, that far from the engine.
    template <typename Object>
    struct ObjectResult
    {
        ObjectWay Way;
    };
    template <typename Read>
    static constexpr bool IsObject = requires(Read read)
    {
        read.Way;
    };
    /// The result as it stands in the message, which is then gone. Where the call is only foreseen, nobody takes it.
    template <typename Take>
    struct ResultInPlace
    {
        Take TakeResult;
    };

    /// Calls an operation: `fill` sets the arguments of the request, `read` makes the result from the response, where
    /// it is not of the kinds above. These may have been asked beforehand, together with others.
    template <typename Params, typename Results, typename Fill = std::remove_const_t<decltype(NoArguments)>,
              typename Read = PlainResult>
    auto Call(capnp::Request<Params, Results> (WireClient::*operation)(kj::Maybe<capnp::MessageSize>),
              const Fill& fill = NoArguments, const Read& read = {})
    {
        KJ_ON_SCOPE_FAILURE(if (!m_Confirmed) m_Generation = 0); // the next call looks for it again
        const WireMethod& method = WireMethod::Of<Wire, Params>();
        if constexpr (!std::invocable<Read, capnp::Response<Results>&>) {
            ForeseenCalls* foreseen = m_Connection->Foreseen();
            if (foreseen && foreseen->IsForeseeing()) return Foresee<Params, Results>(*foreseen, method, fill, read);
            if (foreseen) {
                if (const auto results =
                        m_Connection->Reading([&] { return Asked<Params>(*foreseen, method, fill); })) {
                    m_Confirmed = true;
                    return m_Connection->Reading([&] { return Answer<Results>(*foreseen, *results, read); });
                }
            }
        }
        return m_Connection->Call(
            [&] {
                m_Connection->RequireLevel(method.Since);
                auto request = (Client().*operation)(nullptr);
                fill(request);
                return request.send();
            },
            [&](auto response) {
                m_Confirmed = true;
                return ResultOf(response, read);
            });
    }

    WireObjects& Objects() { return m_Connection->Objects(); }
    const ConnectionRef& GetConnection() const { return m_Connection; }

private:
    template <typename Response>
    auto ResultOf(Response& response, const PlainResult&)
    {
        if constexpr (requires { response.getResult(); }) {
            using Result = decltype(response.getResult());
            if constexpr (std::same_as<Result, wire::Value::Reader>) return ReadValue(response.getResult(), Objects());
            else if constexpr (std::same_as<Result, capnp::Data::Reader>) return FromWireText(response.getResult());
            else return response.getResult();
        }
    }
    template <typename Response, typename Object>
    auto ResultOf(Response& response, const ObjectResult<Object>& object)
    {
        return std::make_shared<Object>(m_Connection, object.Way, response.getResult());
    }
    template <typename Response, typename Take>
    void ResultOf(Response& response, const ResultInPlace<Take>& use)
    {
        use.TakeResult(response.getResult());
    }
    template <typename Response, std::invocable<Response&> Read>
    auto ResultOf(Response& response, const Read& read)
    {
        return read(response);
    }

    /// Notes the call; the result is made up.
    template <typename Params, typename Results, typename Fill>
    auto Foresee(ForeseenCalls& foreseen, const WireMethod& method, const Fill& fill, const PlainResult& plain)
    {
        WriteParams<Params>(foreseen.Note(*this, method), fill);
        typename Results::Reader nothing;
        using Result = decltype(ResultOf(nothing, plain));
        if constexpr (std::same_as<Result, bool>) return true;
        else return ResultOf(nothing, plain);
    }
    template <typename Params, typename Results, typename Fill, typename Object>
    auto Foresee(ForeseenCalls& foreseen, const WireMethod& method, const Fill& fill,
                 const ObjectResult<Object>& object)
    {
        WriteParams<Params>(foreseen.Note(*this, method), fill);
        auto expected = std::make_shared<Object>(m_Connection, object.Way, nullptr);
        foreseen.ExpectResult(expected);
        return expected;
    }

    template <typename Params, typename Results, typename Fill, typename Take>
    void Foresee(ForeseenCalls& foreseen, const WireMethod& method, const Fill& fill, const ResultInPlace<Take>&)
    {
        WriteParams<Params>(foreseen.Note(*this, method), fill);
    }

    /// What the server has answered to this very call already.
    template <typename Params, typename Fill>
    std::optional<ForeseenCalls::Results> Asked(ForeseenCalls& foreseen, const WireMethod& method, const Fill& fill)
    {
        if constexpr (TakesNothing<Fill>) {
            return foreseen.ResultsOf(*this, method, {});
        } else {
            std::array<capnp::word, FewWords> words{};
            capnp::MallocMessageBuilder message(kj::ArrayPtr<capnp::word>(words.data(), words.size()));
            auto params = message.getRoot<capnp::AnyPointer>();
            WriteParams<Params>(params, fill);
            return foreseen.ResultsOf(*this, method, params);
        }
    }

    template <typename Results, typename Read>
    auto Answer(ForeseenCalls& foreseen, ForeseenCalls::Results results, const Read& read)
    {
        auto response = results.getAs<Results>();
        if constexpr (IsObject<Read>) {
            auto object = ResultOf(response, read);
            foreseen.SetResult(*object);
            return object;
        } else {
            return ResultOf(response, read);
        }
    }

    template <typename Params, typename Fill>
    static void WriteParams(capnp::AnyPointer::Builder builder, const Fill& fill)
    {
        if constexpr (!TakesNothing<Fill>) {
            auto params = builder.initAs<Params>();
            fill(params);
        }
    }

    static void Write(wire::Engine::Client& engine, wire::Object::Builder object) { object.setEngine(engine); }
    static void Write(wire::Controller::Client& controller, wire::Object::Builder object)
    {
        object.setController(controller);
    }
    static void Write(wire::Item::Client& item, wire::Object::Builder object) { object.setItem(item); }
    static void Write(wire::History::Client& history, wire::Object::Builder object) { object.setHistory(history); }

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
