#pragma once

#include "server/commands/Commands.h"
#include "server/definition/DefinitionMaker.h"
#include "server/PlantLife.h"
#include "server/rpc/ClientHost.h"
#include "server/rpc/ObjectDirectory.h"
#include "velsqllib/ServerSocket.h"

#include <optional>

/// What the command line asks for.
struct ServerOptions
{
    QString SocketPath;
    QString PlantPath; ///< empty: the built-in plant
    int ReadyDescriptor = -1;
    std::optional<int> StopWhenIdle; ///< seconds
    bool IsService = false;
};

/// The server from its start to its end: puts plant, history and wire together and runs the one event loop.
class ServerProcess : private Surroundings, private kj::TaskSet::ErrorHandler
{
public:
    /// Throws DescribedError when the server cannot start, PlantFileError for mistakes in the plant file.
    ServerProcess(kj::AsyncIoContext& io, const ServerOptions& options);
    ~ServerProcess();

    /// Serves until a signal, idleness or a command ends it.
    void Run();

private:
    Moment Now() override;
    void After(qint32 delay, std::function<void()> action) override;
    void Record(const PlantItem& item) override;
    void Warn(const QString& text) override;
    void taskFailed(kj::Exception&& exception) override;

    void TellReady() const;
    void WatchSignals();
    void WatchIdleness();
    bool IsIdle() const;
    CommandSubjects SubjectsOfCommands();
    void End(const QString& reason);
    void Close();

    kj::AsyncIoContext& m_Io;
    const ServerOptions m_Options;
    const kj::TimePoint m_Began;
    std::optional<ListeningSocket> m_Socket;
    Plant m_Plant;
    History m_History;
    DefinitionMaker m_Definitions;
    ObjectDirectory m_Objects;
    CallWatch m_Watch;
    Commands m_Commands;
    Services m_Services;
    kj::PromiseFulfillerPair<void> m_Ending;
    kj::Own<PlantLife> m_Life;
    kj::Own<ClientHost> m_Clients;
    kj::Promise<void> m_IdleWatch = kj::READY_NOW;
    kj::TaskSet m_Tasks;
};
