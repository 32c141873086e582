#include "tests/simulation/SimulatedServer.h"

#include "core/automation/SafeArray.h"
#include "server/rpc/ClientNetwork.h"
#include "server/rpc/WaitingLibrary.h"
#include "server/sources/simulated/Signal.h"
#include "velsqllib/WireText.h"

#include <capnp/rpc.h>

namespace {

using namespace std::chrono_literals;

HistorySettings HistoryIn(const QString& folder, Random& random)
{
    HistorySettings settings;
    settings.Destinations[0].ConnectionString =
        QStringLiteral("Driver=SQLite;Database=") + folder + QStringLiteral("/history.db");
    settings.Enabled = random.OneIn(2); // or else for statements only, which takes less time
    settings.Destinations[0].MaxRecord = random.OneIn(2) ? 0 : random.Between(1, 300);
    settings.Spool.Folder = folder + QStringLiteral("/spool");
    settings.Limits = {.ResultBytes = 1'000'000, .RestAfter = 50ms};
    return settings;
}

SourceVariableRef Counter()
{
    return std::make_unique<CounterSignal>(1, 2e9, 1);
}

} // namespace

/// One connection, with what serves it.
struct SimulatedServer::Client
{
    Client(SimulatedServer& server, kj::AutoCloseFd socket, Manners manners)
        : Server(server)
        , Mannered(manners)
        , Account(std::make_shared<ClientAccount>(server.m_Ledger, [] {}))
        , Network(server.m_Loop, kj::mv(socket), Account)
        , Rpc(capnp::makeRpcServer(Network, server.LibraryFor([this] { return Network.CallsUnderWay(); })))
    {
        ++Server.m_Clients;
        Server.m_Accounts.push_back(Account);
    }
    Client(const Client&) = delete;
    Client& operator=(const Client&) = delete;
    ~Client() noexcept(false)
    {
        Server.m_Trace.Require(Network.Refusal().isEmpty() || Mannered == Manners::Any,
                               QStringLiteral("a client was refused: ") + Network.Refusal());
        --Server.m_Clients;
    }

    SimulatedServer& Server;
    const Manners Mannered;
    ClientAccountRef Account;
    ClientNetwork Network;
    capnp::RpcSystem<capnp::rpc::twoparty::VatId> Rpc;
};

const QStringList& SimulatedServer::TouchedControllers()
{
    static const QStringList names = QStringLiteral("Own Live Device Unit Broker Added").split(u' ');
    return names;
}

SimulatedServer::SimulatedServer(KjLoop& loop, Random& random, Trace& trace)
    : m_Loop(loop)
    , m_Trace(trace)
    , m_Sources(loop.Timer(), random, trace)
    , m_Plant(*this)
    , m_Scanner(loop.Timer())
    , m_Watch(loop.Timer())
    , m_Added(m_Plant)
    , m_History(HistoryIn(m_Folder.path(), random), loop.Timer())
    , m_Commands(Subjects())
    , m_Objects(m_Plant, m_History, m_Commands, m_Added, m_Scanner, m_Watch)
    , m_Recorder(random, trace)
    , m_Ledger(std::make_shared<ClientLedger>(loop.Timer()))
    , m_Tasks(*this)
{
    AddItems();
    for (const PlantControllerRef& controller : m_Plant.Controllers())
        controller->AddObserver(*m_Observers.emplace(controller->Name(), std::make_unique<Observer>()).first->second);
    m_Plant.StartSources(m_Inbox);
    m_Plant.Begin();
    m_Scanner.Start(m_Plant);
}

SimulatedServer::~SimulatedServer() noexcept(false)
{
    m_Ledger->Close();
    for (const PlantControllerRef& controller : m_Plant.Controllers())
        controller->RemoveObserver(*m_Observers.at(controller->Name()));
}

CommandSubjects SimulatedServer::Subjects()
{
    return {m_Plant,
            m_History,
            [this] { return m_Objects.Held(); },
            m_Watch,
            m_Loop.Timer(),
            [this] { return m_Added.LastDefinition(); },
            [] { return QString(); },
            [] {}};
}

void SimulatedServer::AddItems()
{
    AddOwn(*m_Plant.Add({.Name = QStringLiteral("Own"), .ScanTimes = {ScanTime, 0, 0}}));

    PlantController& live = *m_Plant.Add({.Name = QStringLiteral("Live"), .ScanTimes = {150, 1000, 0}});
    for (int i = 0; i < 300; ++i) // more than a pass reads between two looks at the clock
        live.Add({.Name = QStringLiteral("L%1").arg(i), .Type = VT_I4, .RaisesEvents = i % 50 == 0, .ScanClass = i % 2},
                 i % 10 == 0 ? Counter() : std::make_unique<ConstantSignal>(Variant(i)));
    live.Add({.Name = QStringLiteral("clock"), .Type = VT_DATE, .ScanClass = 1}, std::make_unique<ClockSignal>());

    m_Sources.AddTo(m_Plant, m_Folder.path());

    PlantController& added =
        *m_Plant.Add({.Name = QStringLiteral("Added"), .ScanTimes = {ScanTime, 0, 0}, .SortsItems = true});
    for (int i = 0; i < Readings; ++i)
        added.Add({.Name = NameOfReading(i), .Type = VT_I4, .RaisesEvents = false}, Counter());

    PlantController& rhythm = *m_Plant.Add({.Name = QStringLiteral("Rhythm"), .ScanTimes = {ScanTime, 0, 0}});
    rhythm.Add({.Name = QStringLiteral("scans"), .Type = VT_I4, .Historic = true}, Counter());
    rhythm.Add({.Name = QStringLiteral("steady"), .Type = VT_I4, .Historic = true, .Recorded = RecordRule{0, AtLeast}},
               std::make_unique<ConstantSignal>(Variant(1)));
}

void SimulatedServer::AddOwn(PlantController& controller) const
{
    for (int client = 0; client < MostClients; ++client) {
        for (int item = 0; item < OwnItems; ++item) {
            const bool isRecorded = item == OwnItems - 1;
            controller.Add({.Name = NameOfOwn(client, item),
                            .Type = isRecorded ? VT_I4 : VT_VARIANT,
                            .Historic = isRecorded,
                            .TakesEmpty = true});
        }
    }
}

void SimulatedServer::NoteLoaded()
{
    m_IsLoaded = true;
    m_Loaded.fulfiller->fulfill();
}

wire::Library::Client SimulatedServer::LibraryFor(std::function<int()> callsUnderWay)
{
    if (m_IsLoaded) return m_Objects.Library(std::move(callsUnderWay));
    return kj::heap<WaitingLibrary>(
        m_Ready.addBranch(), [this, callsUnderWay] { return m_Objects.Library(callsUnderWay); }, callsUnderWay,
        [] { return QStringLiteral("the plant"); });
}

void SimulatedServer::Accept(kj::AutoCloseFd socket, Manners manners)
{
    auto client = kj::heap<Client>(*this, kj::mv(socket), manners);
    auto end = client->Network.OnDisconnect();
    m_Tasks.add(end.attach(kj::mv(client)));
}

Moment SimulatedServer::Now()
{
    const auto passed = std::chrono::duration<double>(DrivenTime::Passed());
    return {std::chrono::system_clock::now(), passed.count()};
}

void SimulatedServer::After(qint32 delay, std::function<void()> action)
{
    m_Tasks.add(m_Loop.Timer().afterDelay(delay * kj::MILLISECONDS).then(std::move(action)));
}

void SimulatedServer::Record(const PlantItem& item, const ItemReading& reading)
{
    if (const qint32* number = reading.Value.GetIf<qint32>()) m_Recorded[item.Name()].append(*number);
    if (item.Name() == QStringLiteral("steady")) CheckSteady();
    const RecordedValue value{item.Controller()->Name(), item.Name(), reading.Value, reading.Time, reading.State};
    m_Recorder.Record(value);
    m_History.Record(value);
    m_Sources.NoteRecorded(item, reading);
}

/// Where the clock is set back by less than the silence that is allowed, that lasts longer.
void SimulatedServer::CheckSteady()
{
    const auto slow = m_SlowSince ? DrivenTime::Passed() - std::max(*m_SlowSince, m_SteadyAt) : DrivenTime::Duration();
    const auto silence = DrivenTime::Passed() - m_SteadyAt - m_FrozenSinceSteady - slow;
    const int sets = m_ClockSets - m_ClockSetsAtSteady;
    m_Trace.Require(silence <= AtLeast * (1 + sets) + 3 * ScanTime * 1ms,
                    QStringLiteral("an item that is to be recorded every 2 s was silent for %1 ms").arg(silence / 1ms));
    m_SteadyAt = DrivenTime::Passed();
    m_FrozenSinceSteady = {};
    m_ClockSetsAtSteady = m_ClockSets;
}

void SimulatedServer::NoteFrozen(DrivenTime::Duration time)
{
    m_Frozen += time;
    m_FrozenSinceSteady += time;
    ++m_Freezes;
}

void SimulatedServer::SetSlow(bool isSlow)
{
    constexpr quint64 Slow = 3;
    DrivenTime::SetPace(isSlow ? Slow : DrivenTime::Usual);
    const auto now = DrivenTime::Passed();
    const auto lasted = now - m_SlowSince.value_or(now);
    m_Slow += lasted;
    m_FrozenSinceSteady += lasted;
    m_SlowSince = isSlow ? std::optional(now) : std::nullopt;
}

void SimulatedServer::taskFailed(kj::Exception&& exception)
{
    m_Trace.Note(QStringLiteral("server: a client was dropped: ") + DescriptionOf(exception));
}
