#pragma once

#include "server/added/AddedItems.h"
#include "server/commands/Commands.h"
#include "server/LoopInbox.h"
#include "server/PlantLoader.h"
#include "server/PlantScanner.h"
#include "server/rpc/ClientHost.h"
#include "server/rpc/ObjectDirectory.h"
#include "velsqllib/ServerSocket.h"

#include <optional>

/// What the command line asks for.
struct ServerOptions
{
    QString SocketPath;
    QString PlantPath; ///< empty: the built-in plant
    /// The plant file was named on the command line and is not the user's default.
    bool HasOwnPlant = false;
    int ReadyDescriptor = -1;
    std::optional<int> StopWhenIdle; ///< seconds
    bool IsService = false;
};

/// The server: combines plant, history and wire, and runs the event loop.
class ServerProcess : private PlantHost, private kj::TaskSet::ErrorHandler
{
public:
    /// Takes the socket; nothing runs yet. Throws DescribedError when the server cannot start.
    ServerProcess(KjLoop& loop, const ServerOptions& options);
    ~ServerProcess();

    /// Reads the plant, while clients may connect already, and serves until a signal, idleness or a command ends it.
    /// Throws PlantFileError for mistakes in the plant file.
    void Run();

private:
    struct Service;

    Moment Now() override;
    void After(qint32 delay, std::function<void()> action) override;
    void Record(const PlantItem& item, const ItemReading& reading) override;
    void ScanSoon(PlantController& controller) override;
    void Warn(const QString& text) override;
    void taskFailed(kj::Exception&& exception) override;

    void Begin();
    wire::Library::Client LibraryFor(std::function<int()> callsUnderWay);
    void NoteLoaded();
    void Serve(PlantLoader::Description plant);
    void TellReady() const;
    /// Whether this server gives way to a service that starts.
    bool GivesWay() const;
    void LookAfterFiles();
    void ListenAgain();
    void WatchSignals();
    void WatchIdleness();
    void EndIfIdle();
    bool IsIdle() const;
    CommandSubjects SubjectsOfCommands(Service& service);
    void End(const QString& reason);
    void Close();
    void Disconnect();

    KjLoop& m_Loop;
    const ServerOptions m_Options;
    const kj::TimePoint m_Began;
    LoopInbox m_Inbox;
    Plant m_Plant;
    std::optional<ListeningSocket> m_Socket;
    QString m_WhyDeaf; ///< why the server cannot be reached by new clients
    CallWatch m_Watch;
    AddedItems m_AddedItems;
    PlantScanner m_Scanner;
    kj::PromiseFulfillerPair<void> m_Ending;
    /// Why it cannot serve.
    std::exception_ptr m_Failure;
    bool m_HandsOver = false;
    std::unique_ptr<PlantLoader> m_Loader;
    kj::PromiseFulfillerPair<void> m_Loaded;
    kj::ForkedPromise<void> m_Ready;
    std::unique_ptr<Service> m_Service;
    kj::Own<ClientHost> m_Clients;
    kj::Promise<void> m_IdleWatch = kj::READY_NOW;
    kj::TaskSet m_Tasks;
};
