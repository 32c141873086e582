#include "velsqllib/ResultSetProxy.h"

#include "core/automation/Errors.h"
#include "velsqllib/WirePage.h"
#include "velsqllib/WireText.h"

ResultSetProxy::ResultSetProxy(ConnectionRef connection, wire::ResultSet::Client client)
    : m_Connection(std::move(connection))
    , m_Client(kj::mv(client))
    , m_Generation(m_Connection->Generation())
{
}

ResultSetProxy::~ResultSetProxy() noexcept
{
    m_Connection->PollLater();
}

template <std::invocable Send, typename Read>
auto ResultSetProxy::Call(Send&& send, Read&& read)
{
    return m_Connection->Call(
        [&] {
            if (m_Generation != m_Connection->Generation())
                throw ServerError(QStringLiteral("The result was lost with the server that held it."));
            return send();
        },
        std::forward<Read>(read));
}

QStringList ResultSetProxy::Columns()
{
    return Call([this] { return m_Client.columnsRequest().send(); },
                [](auto response) {
                    QStringList names;
                    for (const auto name : response.getNames()) names.append(FromWireText(name));
                    return names;
                });
}

ResultProgress ResultSetProxy::Progress()
{
    return Call([this] { return m_Client.progressRequest().send(); },
                [](auto response) {
                    return ResultProgress{response.getRowsSoFar(), response.getComplete(),
                                          FromWireText(response.getFailure()), response.getAffected()};
                });
}

ResultPageRef ResultSetProxy::PageOf(qint64 row)
{
    return Call(
        [&] {
            auto request = m_Client.pageOfRequest();
            request.setRow(row);
            return request.send();
        },
        [](auto response) -> ResultPageRef { return std::make_shared<WirePage>(response.getPage()); });
}
