#include "tests/simulation/Simulation.h"

#include "tests/simulation/Operations.h"

namespace {

using namespace std::chrono_literals;

/// 2024-10-27 00:30 UTC: half an hour later clocks in Berlin are set back.
constexpr qint64 BeforeWinterTime = 1'729'989'000;

void Run(World& world, int milliseconds)
{
    world.Loop.Timer().afterDelay(milliseconds * kj::MILLISECONDS).wait(world.Loop.WaitScope());
    world.Log.Check();
}

void Work(World& world)
{
    const int loaded = world.Chance.Between(0, 9); // so many things happen before the plant has been read
    for (int done = 0, most = world.Chance.Between(10, 90); done < most; ++done) {
        if (done == loaded) world.Server.NoteLoaded();
        DoSomething(world);
        world.Server.Sources().CheckStates(world.Server.Plant());
        world.Log.Check();
        switch (world.Chance.Below(16)) {
        case 0: Run(world, world.Chance.Between(60, 3000)); break;
        case 1:
        case 2:
        case 3: Run(world, 0); break; // less than it needs
        case 4:
        case 5:
        case 6:
        case 7: break; // the next thing happens at the same time
        default: Run(world, world.Chance.Between(1, 60));
        }
    }
}

void SwitchItems(World& world, const char* controller, bool isOn)
{
    for (const PlantItemRef& item : world.Server.Plant().Controller(QLatin1String(controller))->Items())
        item->PutActivation(isOn);
}

/// Whatever has happened to them, scans reach them again; what a broker tells of items that are off is kept for them.
void CheckSourcesAreRead(World& world)
{
    SimulatedSources& sources = world.Server.Sources();
    for (const char* name : {"Device", "Unit", "Broker", "Added"}) {
        world.Server.Plant().Controller(QLatin1String(name))->Start();
        SwitchItems(world, name, true);
    }
    sources.SetReachable(false);
    Run(world, 1000);
    sources.CheckLost(world.Server.Plant());
    SwitchItems(world, "Broker", false);
    sources.SetReachable(true);
    Run(world, 1500);
    SwitchItems(world, "Broker", true);
    Run(world, 1000);
    for (const char* name : {"Device", "Unit"})
        for (const PlantItemRef& item : world.Server.Plant().Controller(QLatin1String(name))->Items())
            world.Log.Require(item->State() != ItemState::Failed &&
                                  std::chrono::system_clock::now() - item->Time() < 800ms,
                              item->Name() + QStringLiteral(" is not read any more: ") + item->Failure());
    sources.Check(world.Server.Plant());
}

/// Nothing hinders anybody any more; requires that all calls are answered.
void ComeToRest(World& world)
{
    world.Server.SetSlow(false);
    world.Server.Sources().ComeToRest();
    for (const auto& client : world.Clients)
        if (client) client->SetReading(true);
    Run(world, 0);    // the loop learns how long the machine has stood still
    Run(world, 9500); // a unit that was silent while the machine stood still may be left alone for 8.7 s
    for (const auto& client : world.Clients)
        world.Log.Require(!client || client->OldestCall().isEmpty(),
                          QStringLiteral("never answered: ") + (client ? client->OldestCall() : QString()));
    CheckSourcesAreRead(world);
    for (const QString& controller : SimulatedServer::TouchedControllers())
        world.Server.Plant().Controller(controller)->Stop();
    Run(world, 2500); // for events that slow clients work on
    world.Server.Sources().SetReachable(false);
    Run(world, 300);
    world.Server.Sources().SetReachable(true);
    Run(world, 700);
    for (const QString& controller : SimulatedServer::TouchedControllers())
        world.Log.Require(world.Server.Plant().Controller(controller)->State() == 2,
                          controller + QStringLiteral(" was stopped and is not"));
}

/// What was confirmed was recorded, each number once, and in the order in which it was written.
void CheckOwn(World& world)
{
    for (auto own = world.Known.Confirmed.cbegin(); own != world.Known.Confirmed.cend(); ++own) {
        const QList<qint32>& recorded = world.Server.Recorded(own.key());
        world.Log.Require(std::ranges::is_sorted(recorded, std::ranges::less_equal()),
                          own.key() + QStringLiteral(" was not recorded in the order in which it was written"));
        for (const qint32 number : own.value())
            world.Log.Require(std::ranges::binary_search(recorded, number),
                              QStringLiteral("%1 was written to %2 and not recorded").arg(number).arg(own.key()));
    }
}

void CheckAdded(World& world)
{
    const PlantController& added = *world.Server.Plant().Controller(QStringLiteral("Added"));
    for (const QString& name : world.Known.Added)
        world.Log.Require(added.Find(name) != nullptr, name + QStringLiteral(" was added and is not there"));
    for (const PlantItemRef& item : world.Server.Added())
        world.Log.Require(world.Known.Added.contains(item->Name()) || world.Known.Maybe.contains(item->Name()),
                          item->Name() + QStringLiteral(" was removed and is there"));
    world.Log.Require(added.Items().size() == world.Server.Added().size() + SimulatedServer::Readings,
                      QStringLiteral("what was added and what is there differ"));
    world.Log.Require(std::ranges::is_sorted(added.Items(), {}, [](const PlantItemRef& item) { return item->Name(); }),
                      QStringLiteral("the added items are not sorted"));
}

} // namespace

void Simulate(quint64 seed, Trace& trace)
{
    DrivenTime::Begin(BeforeWinterTime, seed);
    KJ_DEFER(DrivenTime::End());
    const auto loop = KjLoop::OfThisThread();
    World world(*loop, seed, trace);
    Work(world);
    ComeToRest(world);
    for (const auto& client : world.Clients)
        if (client) client->CheckEvents();
    CheckOwn(world);
    CheckAdded(world);
    world.Server.CheckRhythm();
    world.Server.CheckReadings();
    for (auto& client : world.Clients) client = nullptr;
    Run(world, 1000);
    world.Server.CheckNothingIsHeld();
    world.Server.CheckHistory();
    world.Server.Recorder().Finish();
    trace.Check();
}
