#include "velsqllib/RemoteLibrary.h"

#include "core/automation/Errors.h"
#include "core/automation/FindProgram.h"
#include "velsqllib/EngineProxy.h"
#include "velsqllib/RemoteLink.h"
#include "velsqllib/ServerSocket.h"
#include "velsqllib/TypedTextConverter.h"

namespace {

constexpr int MostAttempts = 3;

} // namespace

RemoteLibrary::RemoteLibrary()
    : RemoteLibrary(RemoteLink::Socket().value_or(ServerSocketPath()), FindProgram(QStringLiteral("velsqlserver")))
{
    m_IsRemote = RemoteLink::Socket().has_value();
    if (m_IsRemote) m_Connection->SetRemote();
}

RemoteLibrary::RemoteLibrary(const QString& socketPath, const QString& serverProgram,
                             const Attachment::Patience& patience)
    : m_SocketPath(socketPath)
    , m_ServerProgram(serverProgram)
    , m_Connection(std::make_shared<Connection>(socketPath, patience))
{
}

RemoteLibrary::~RemoteLibrary() = default;

void RemoteLibrary::OnLongCall(std::function<void()> action)
{
    m_Connection->OnLongCall(std::move(action));
}

void RemoteLibrary::OnServerBusy(std::function<void(const QString& what)> action)
{
    m_Connection->OnServerBusy(std::move(action));
}

QString RemoteLibrary::Absence() const
{
    return m_Connection->Absence();
}

void RemoteLibrary::OnServerChange(std::function<void()> action)
{
    m_Connection->OnServerChange(std::move(action));
}

qsizetype RemoteLibrary::TakeSteps(const QList<CallStep>& steps, qsizetype first)
{
    return m_Connection->TakeSteps(steps, first);
}

EngineRef RemoteLibrary::CreateEngine()
{
    for (int attempt = 1;; ++attempt) {
        std::optional<ServerStarter> starter;
        AttachOrStart(starter);
        try {
            return AttachedEngine();
        } catch (const ServerError&) {
            if (!m_Connection->IsLost()) throw;
            // It listened before it had read its plant, and says what is wrong with that.
            if (starter) starter->WaitForEnd();
            // A server that was just ending has accepted the connection but no call: the next server is asked.
            if (attempt == MostAttempts) throw;
        }
    }
}

void RemoteLibrary::AttachOrStart(std::optional<ServerStarter>& starter)
{
    if (m_Connection->Attach()) return;
    // Another plant than the one that was asked for would be worse than none.
    if (m_IsRemote) throw ServerError(m_Connection->WhyUnreachable());
    starter.emplace(m_ServerProgram, m_SocketPath);
    while (!m_Connection->Attach()) starter->WaitAWhile();
}

EngineRef RemoteLibrary::AttachEngine()
{
    if (!m_Connection->Attach())
        throw ServerError(m_IsRemote ? m_Connection->WhyUnreachable() : QStringLiteral("No VelSQL server is running."));
    return AttachedEngine();
}

EngineRef RemoteLibrary::AttachedEngine()
{
    return m_Connection->Call([this] { return m_Connection->CreateEngineRequest().send(); },
                              [this](auto response) {
                                  return std::make_shared<EngineProxy>(m_Connection, ObjectWay{}, response.getResult());
                              });
}

ValueConverterRef RemoteLibrary::CreateValueConverter()
{
    return std::make_shared<TypedTextConverter>();
}

void RemoteLibrary::Ping()
{
    m_Connection->Call([this] { return m_Connection->PingRequest().send(); }, [](auto) {});
}
