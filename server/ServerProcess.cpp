#include "server/ServerProcess.h"

#include "server/added/PlantText.h"
#include "server/log/Log.h"
#include "server/rpc/WaitingLibrary.h"
#include "server/ServerPlace.h"
#include "server/worker/Priority.h"
#include "velsqllib/WireText.h"

#include <csignal>
#include <unistd.h>

/// What there is only once the plant has been read.
struct ServerProcess::Service
{
    Service(ServerProcess& process, PlantLoader::Description plant)
        : PackedToml(std::move(plant.PackedToml))
        , Recording(plant.History, process.m_Loop.Timer())
        , Understood(process.SubjectsOfCommands(*this))
        , Objects(process.m_Plant, Recording, Understood, process.m_AddedItems, process.m_Scanner, process.m_Watch)
    {
    }

    const QByteArray PackedToml;
    History Recording;
    Commands Understood;
    ObjectDirectory Objects;
};

ServerProcess::ServerProcess(KjLoop& loop, const ServerOptions& options)
    : m_Loop(loop)
    , m_Options(options)
    , m_Began(loop.Timer().now())
    , m_Plant(*this)
    , m_Socket(std::in_place, options.SocketPath)
    , m_Watch(loop.Timer())
    , m_AddedItems(m_Plant)
    , m_Scanner(loop.Timer())
    , m_Ending(kj::newPromiseAndFulfiller<void>())
    , m_Loaded(kj::newPromiseAndFulfiller<void>())
    , m_Ready(m_Loaded.promise.fork())
    , m_Tasks(*this)
{
}

ServerProcess::~ServerProcess() = default;

void ServerProcess::Begin()
{
    ServerPlace::Announce(m_Options.SocketPath, GivesWay());
    m_Loader = std::make_unique<PlantLoader>(m_Options.PlantPath, m_Plant, m_Inbox, [this] { NoteLoaded(); });
    m_Clients = kj::heap<ClientHost>(
        m_Loop, [this](std::function<int()> callsUnderWay) { return LibraryFor(std::move(callsUnderWay)); });
    m_Clients->Listen(m_Socket->Descriptor());
    m_Clients->OnCountChanged([this] { WatchIdleness(); });
    LookAfterFiles();
}

wire::Library::Client ServerProcess::LibraryFor(std::function<int()> callsUnderWay)
{
    if (m_Service) return m_Service->Objects.Library(std::move(callsUnderWay));
    return kj::heap<WaitingLibrary>(
        m_Ready.addBranch(), [this, callsUnderWay] { return m_Service->Objects.Library(callsUnderWay); }, callsUnderWay,
        [this] { return m_Loader ? m_Loader->Progress() : QString(); });
}

void ServerProcess::NoteLoaded()
{
    if (!m_Loader) return; // the server has been told to end
    try {
        Serve(m_Loader->Take());
    } catch (...) {
        m_Failure = std::current_exception();
        m_Ending.fulfiller->fulfill();
    }
}

void ServerProcess::Serve(PlantLoader::Description plant)
{
    m_Service = std::make_unique<Service>(*this, std::move(plant));
    if (!m_Options.PlantPath.isEmpty()) m_AddedItems.Keep(m_Options.PlantPath);
    if (m_Options.IsService) m_AddedItems.TakeOver(ServerPlace::HandOverPath(m_Options.SocketPath));
    m_Plant.StartSources(m_Inbox);
    m_Plant.Begin();
    m_Scanner.Start(m_Plant);
    m_Loaded.fulfiller->fulfill();
    WatchIdleness();
    TellReady();
    Log(LogLevel::Info,
        QStringLiteral("velsqlserver %1 listens at %2.").arg(QStringLiteral(VELSQL_VERSION), m_Socket->Path()));
    LeaveStandardError();
}

void ServerProcess::Run()
{
    TakeShortTurns();
    Begin();
    WatchSignals();
    m_Ending.promise.wait(m_Loop.WaitScope());
    if (m_Failure) std::rethrow_exception(m_Failure);
    Close();
}

/// Whoever tidies up temporary files may take the socket away; a disk that was full may have room again.
void ServerProcess::LookAfterFiles()
{
    constexpr qint32 FilesInterval = 1000;
    if (!m_Socket) return;
    if (!m_Socket->IsThere()) ListenAgain();
    m_AddedItems.StoreAgain();
    After(FilesInterval, [this] { LookAfterFiles(); });
}

void ServerProcess::ListenAgain()
{
    QString why;
    m_Clients->TakeWaiting(); // they have connected before
    m_Clients->Listen(-1);
    try {
        m_Socket->Renew();
        ServerPlace::Announce(m_Options.SocketPath, GivesWay());
        Log(LogLevel::Warning, QStringLiteral("The socket was removed; the server listens there again."));
    } catch (const DescribedError& error) {
        why = error.Description();
    }
    m_Clients->Listen(m_Socket->Descriptor());
    if (std::exchange(m_WhyDeaf, why) == why || why.isEmpty()) return;
    Log(LogLevel::Error, QStringLiteral("The socket was removed, and no new client reaches this server: %1").arg(why));
}

void ServerProcess::Close()
{
    m_AddedItems.StoreAgain();
    if (m_HandsOver && m_Service) m_AddedItems.HandOver(ServerPlace::HandOverPath(m_Options.SocketPath));
    // First, so that no client waits for a server that is only finishing its history.
    Disconnect();
    // The next turns of the loop cancel what clients were waiting for.
    m_Loop.Timer().afterDelay(10 * kj::MILLISECONDS).wait(m_Loop.WaitScope());
}

void ServerProcess::Disconnect()
{
    if (!m_Clients) return;
    m_Clients->OnCountChanged(nullptr); // their departure no longer matters
    m_Clients = nullptr;
    m_Socket.reset();
}

Moment ServerProcess::Now()
{
    const auto sinceBegin = kj::systemPreciseMonotonicClock().now() - m_Began;
    return {std::chrono::system_clock::now(), static_cast<double>(sinceBegin / kj::MICROSECONDS) / 1e6};
}

void ServerProcess::After(qint32 delay, std::function<void()> action)
{
    m_Tasks.add(m_Loop.Timer().afterDelay(delay * kj::MILLISECONDS).then(std::move(action)));
}

void ServerProcess::Record(const PlantItem& item, const ItemReading& reading)
{
    m_Service->Recording.Record({item.Controller()->Name(), item.Name(), reading.Value, reading.Time, reading.State});
}

void ServerProcess::ScanSoon(PlantController& controller)
{
    m_Scanner.ScanSoon(controller.shared_from_this());
}

void ServerProcess::Warn(const QString& text)
{
    Log(LogLevel::Warning, text);
}

void ServerProcess::taskFailed(kj::Exception&& exception)
{
    Log(LogLevel::Error, DescriptionOf(exception));
}

void ServerProcess::TellReady() const
{
    if (m_Options.ReadyDescriptor < 0) return;
    const char ready = '\n';
    if (write(m_Options.ReadyDescriptor, &ready, 1) != 1)
        Log(LogLevel::Warning, QStringLiteral("The process that started the server no longer listens."));
    close(m_Options.ReadyDescriptor);
}

bool ServerProcess::GivesWay() const
{
    return !m_Options.IsService && !m_Options.HasOwnPlant;
}

void ServerProcess::WatchSignals()
{
    m_Tasks.add(m_Loop.Port().onSignal(ServerPlace::RequestSignal).then([this](siginfo_t) {
        if (!GivesWay()) return;
        m_HandsOver = true;
        End(QStringLiteral("A service takes its place."));
    }));
    for (const int number : {SIGTERM, SIGINT})
        m_Tasks.add(
            m_Loop.Port().onSignal(number).then([this](siginfo_t) { End(QStringLiteral("It was told to end.")); }));
}

void ServerProcess::WatchIdleness()
{
    if (!m_Options.StopWhenIdle || m_Options.IsService || !m_Service) return;
    if (m_Clients->ClientCount() > 0) {
        m_IdleWatch = kj::READY_NOW;
        return;
    }
    const auto delay = *m_Options.StopWhenIdle * kj::SECONDS;
    m_IdleWatch = m_Loop.Timer()
                      .afterDelay(delay)
                      .then([this] { m_Tasks.add(kj::evalLater([this] { EndIfIdle(); })); })
                      .eagerlyEvaluate(nullptr);
}

void ServerProcess::EndIfIdle()
{
    if (m_Clients) m_Clients->TakeWaiting(); // clients that have already connected are served
    if (!m_Clients || !IsIdle()) return;
    // At once, so that a new client starts a new server instead of meeting one that is ending.
    Disconnect();
    End(QStringLiteral("The last client has gone."));
}

bool ServerProcess::IsIdle() const
{
    return m_Clients->ClientCount() == 0 && !m_Plant.IsStarted();
}

CommandSubjects ServerProcess::SubjectsOfCommands(Service& service)
{
    return {m_Plant,
            service.Recording,
            [&service] { return service.Objects.Held(); },
            m_Watch,
            m_Loop.Timer(),
            [this] { return m_AddedItems.LastDefinition(); },
            [this, &service] { return PlantTextWith(qUncompress(service.PackedToml), m_AddedItems.Items()); },
            [this] { End(QStringLiteral("A command ended it.")); }};
}

void ServerProcess::End(const QString& reason)
{
    Log(LogLevel::Info, QStringLiteral("The server ends: %1").arg(reason));
    m_Loader.reset(); // the plant belongs to it until it has been read
    m_Plant.Terminate();
    // Milliseconds for answers and events that are under way.
    constexpr qint32 TimeToTell = 100;
    After(TimeToTell, [this] { m_Ending.fulfiller->fulfill(); });
}
