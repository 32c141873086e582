#pragma once

#include "server/added/AddedItems.h"
#include "server/commands/Commands.h"
#include "server/LoopInbox.h"
#include "server/PlantScanner.h"
#include "server/rpc/ClientLedger.h"
#include "server/rpc/ObjectDirectory.h"
#include "tests/simulation/DrivenTime.h"
#include "tests/simulation/SimulatedRecorder.h"
#include "tests/simulation/SimulatedSources.h"
#include "velsqllib/transport/KjLoop.h"

#include <map>

/// The server without its process: plant, scanner, history, objects and connections are the real ones, with their
/// threads; devices are stand-ins, and so are a recorder and its database, which stand beside the real history.
///
/// Its controllers: "Own" has items that no scan changes, some for each client; "Live" has signals; "Device", "Unit" and
/// "Broker" have what SimulatedSources says; operators add items to "Added"; nobody touches "Rhythm".
class SimulatedServer : private PlantHost, private kj::TaskSet::ErrorHandler
{
public:
    static constexpr int MostClients = 5;
    static constexpr int OwnItems = 4; ///< of each client; the last of them is recorded
    static constexpr int ScanTime = 100;
    static constexpr std::chrono::seconds AtLeast{2}; ///< of "Rhythm\steady"
    static const QStringList& TouchedControllers();
    static constexpr int Readings = 60; ///< items that count how often they are read, behind the ones that are added
    static QString NameOfReading(int number) { return QStringLiteral("Y%1").arg(number, 2, 10, QChar(u'0')); }
    static QString NameOfOwn(int client, int item) { return QStringLiteral("Own%1_%2").arg(client).arg(item); }

    SimulatedServer(KjLoop& loop, Random& random, Trace& trace);
    ~SimulatedServer() noexcept(false);

    enum class Manners
    {
        Good,
        Any ///< the server may refuse what it sends
    };
    void Accept(kj::AutoCloseFd socket, Manners manners = Manners::Good);
    /// The plant has been read; until then all calls wait.
    void NoteLoaded();
    int ClientCount() const { return m_Clients; }
    ::Plant& Plant() { return m_Plant; }
    const QList<PlantItemRef>& Added() const { return m_Added.Items(); }
    SimulatedSources& Sources() { return m_Sources; }
    SimulatedRecorder& Recorder() { return m_Recorder; }

    /// The events of a controller since the beginning.
    const QStringList& Events(const QString& controller) const { return m_Observers.at(controller)->Events; }
    /// The numbers that were recorded of an item.
    const QList<qint32>& Recorded(const QString& item) { return m_Recorded[item]; }
    /// Time passed without the loop, or the clock was set: what is required of scans allows for that.
    void NoteFrozen(DrivenTime::Duration time);
    void NoteClockSet() { ++m_ClockSets; }
    void SetSlow(bool isSlow);

    /// Requires that scans have kept their time.
    void CheckRhythm();
    /// Requires that each pass has read what lies behind items that come and go, and once.
    void CheckReadings() const;
    /// Requires that what was recorded is there.
    void CheckHistory();
    /// Requires, once the last client has gone, that nothing is kept for any.
    void CheckNothingIsHeld() const;

private:
    struct Client;
    struct Observer final : ControllerObserver
    {
        void StateChanged(qint32 state) override { Events.append(QString::number(state)); }
        void ItemChanged(const PlantItemRef& item) override { Events.append(item->Name()); }
        QStringList Events;
    };

    Moment Now() override;
    void After(qint32 delay, std::function<void()> action) override;
    void Record(const PlantItem& item, const ItemReading& reading) override;
    void ScanSoon(PlantController& controller) override { m_Scanner.ScanSoon(controller.shared_from_this()); }
    void Warn(const QString& text) override
    {
        m_Trace.Note(QStringLiteral("server: ") + text);
        m_Sources.NoteWarning(text);
    }
    void taskFailed(kj::Exception&& exception) override;

    void AddItems();
    void AddOwn(PlantController& controller) const;
    void CheckSteady();
    QStringList Ask(const QString& statement);
    CommandSubjects Subjects();
    wire::Library::Client LibraryFor(std::function<int()> callsUnderWay);

    KjLoop& m_Loop;
    Trace& m_Trace;
    const QTemporaryDir m_Folder;
    SimulatedSources m_Sources;
    LoopInbox m_Inbox;
    ::Plant m_Plant;
    PlantScanner m_Scanner;
    CallWatch m_Watch;
    AddedItems m_Added;
    History m_History;
    Commands m_Commands;
    ObjectDirectory m_Objects;
    SimulatedRecorder m_Recorder;
    std::map<QString, std::unique_ptr<Observer>> m_Observers;
    std::map<QString, QList<qint32>> m_Recorded;
    DrivenTime::Duration m_Frozen{};
    DrivenTime::Duration m_FrozenSinceSteady{};
    DrivenTime::Duration m_SteadyAt{};
    DrivenTime::Duration m_Slow{};
    std::optional<DrivenTime::Duration> m_SlowSince;
    int m_Freezes = 0;
    int m_ClockSets = 0;
    int m_ClockSetsAtSteady = 0;
    std::shared_ptr<ClientLedger> m_Ledger;
    std::vector<std::weak_ptr<ClientAccount>> m_Accounts;
    int m_Clients = 0;
    bool m_IsLoaded = false;
    kj::PromiseFulfillerPair<void> m_Loaded = kj::newPromiseAndFulfiller<void>();
    kj::ForkedPromise<void> m_Ready = m_Loaded.promise.fork();
    kj::TaskSet m_Tasks;
};
