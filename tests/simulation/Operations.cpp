#include "tests/simulation/Operations.h"

#include "tests/simulation/ClientOperations.h"

#include <numeric>

namespace {

using namespace ClientOperations;
using namespace std::chrono_literals;

struct Operation
{
    int Weight;
    void (*Do)(World& world);
};

void ChangeMood(World& world)
{
    world.Server.Device().SetMood(static_cast<SimulatedDevice::Mood>(world.Chance.Below(5)));
}

void Tell(World& world)
{
    world.Server.Device().Tell();
}

void ChangeReach(World& world)
{
    world.Server.Device().SetConnected(!world.Chance.OneIn(3));
}

void ChangeDatabase(World& world)
{
    world.Server.Recorder().SetConnected(!world.Chance.OneIn(3));
}

void Keep(World& world)
{
    world.Server.Recorder().Keep();
}

void Write(World& world)
{
    world.Server.Recorder().Write();
}

void RestartRecorder(World& world)
{
    world.Server.Recorder().Restart();
}

/// By a little, by hours, by a year, and back.
void SetClock(World& world)
{
    static const std::vector<DrivenTime::Duration> jumps = {300ms, 3s, 1h, 25h, 8760h};
    const auto jump = world.Chance.OneOf(jumps) * (world.Chance.OneIn(2) ? 1 : -1);
    world.Log.Note(QStringLiteral("the clock is set by %1 s").arg(jump / 1s));
    DrivenTime::SetClock(jump);
    world.Server.NoteClockSet();
}

void Freeze(World& world)
{
    const auto time = world.Chance.Between(1, 5000) * 1ms;
    DrivenTime::Pass(time);
    world.Server.NoteFrozen(time);
}

/// Each is done so often of all.
constexpr auto Operations = std::to_array<Operation>({
    {12, Connect},         {4, Disconnect},    {1, SendRubbish}, {14, PutOwn},
    {8, GetOwn},           {8, Get},           {4, GetBurst},    {8, Put},
    {4, PutLater},         {3, PutActivation}, {6, ReadItem},    {3, ReadController},
    {5, SwitchController}, {5, AddItem},       {4, RemoveItem},  {7, Subscribe},
    {4, Unsubscribe},      {4, Execute},       {1, AskHistory},  {2, StopReading},
    {3, ReadOn},           {5, ChangeMood},    {3, Tell},        {3, ChangeReach},
    {3, ChangeDatabase},   {5, Keep},          {8, Write},       {4, RestartRecorder},
    {4, SetClock},         {1, Freeze},
});

} // namespace

void DoSomething(World& world)
{
    static const int all = std::accumulate(Operations.begin(), Operations.end(), 0,
                                           [](int sum, const Operation& operation) { return sum + operation.Weight; });
    int chosen = world.Chance.Between(0, all - 1);
    for (const Operation& operation : Operations)
        if ((chosen -= operation.Weight) < 0) return operation.Do(world);
}
