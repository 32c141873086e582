#pragma once

#include "server/added/AddedItems.h"
#include "server/commands/Commands.h"
#include "server/LoopInbox.h"
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
    /// Reads the plant and takes the socket; nothing runs yet. Throws DescribedError when the server cannot start,
    /// PlantFileError for mistakes in the plant file.
    ServerProcess(KjLoop& loop, const ServerOptions& options);
    ~ServerProcess();

    /// Serves until a signal, idleness or a command ends it.
    void Run();

private:
    Moment Now() override;
    void After(qint32 delay, std::function<void()> action) override;
    void Record(const PlantItem& item, const ItemReading& reading) override;
    void ScanSoon(PlantController& controller) override;
    void Warn(const QString& text) override;
    void taskFailed(kj::Exception&& exception) override;

    void Start();
    void TellReady() const;
    /// Whether this server gives way to a service that starts.
    bool GivesWay() const;
    void LookAfterSocket();
    void ListenAgain();
    void WatchSignals();
    void WatchIdleness();
    void EndIfIdle();
    bool IsIdle() const;
    CommandSubjects SubjectsOfCommands();
    void End(const QString& reason);
    void Close();
    void Disconnect();

    KjLoop& m_Loop;
    const ServerOptions m_Options;
    const kj::TimePoint m_Began;
    LoopInbox m_Inbox;
    Plant m_Plant;
    /// Read before the socket is taken, so that mistakes in a plant file are found before anybody can connect.
    const HistorySettings m_HistorySettings;
    std::optional<ListeningSocket> m_Socket;
    QString m_WhyDeaf; ///< why the server cannot be reached by new clients
    History m_History;
    CallWatch m_Watch;
    const QByteArray m_PlantToml;
    AddedItems m_AddedItems;
    Commands m_Commands;
    PlantScanner m_Scanner;
    ObjectDirectory m_Objects;
    kj::PromiseFulfillerPair<void> m_Ending;
    bool m_HandsOver = false;
    kj::Own<ClientHost> m_Clients;
    kj::Promise<void> m_IdleWatch = kj::READY_NOW;
    kj::TaskSet m_Tasks;
};
