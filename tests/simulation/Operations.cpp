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
    world.Server.Sources().ChangeMood();
}

void Tell(World& world)
{
    world.Server.Sources().Tell();
}

void ChangeReach(World& world)
{
    world.Server.Sources().ChangeReach();
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

/// What usually takes one turn of the loop then takes many.
void ChangePace(World& world)
{
    world.Server.SetSlow(world.Chance.OneIn(2));
}

/// Each is done so often of all in most runs; each run has things that it does more often or never.
constexpr auto Operations = std::to_array<Operation>({
    {12, Connect},         {4, Disconnect},    {1, SendRubbish}, {14, PutOwn},
    {8, GetOwn},           {8, Get},           {4, GetBurst},    {8, Put},
    {4, PutLater},         {3, PutActivation}, {6, ReadItem},    {3, ReadController},
    {8, SwitchController}, {6, AddItem},       {6, RemoveItem},  {7, Subscribe},
    {4, Unsubscribe},      {4, Execute},       {3, AskHistory},  {2, StopReading},
    {3, ReadOn},           {5, ChangeMood},    {3, Tell},        {3, ChangeReach},
    {3, ChangeDatabase},   {5, Keep},          {8, Write},       {4, RestartRecorder},
    {4, SetClock},         {1, Freeze},        {4, ChangePace},
});

} // namespace

void DoSomething(World& world)
{
    static constexpr std::array Factors = {0, 1, 1, 1, 4};
    if (world.Weights.empty())
        for (const Operation& operation : Operations)
            world.Weights.push_back(operation.Weight * (operation.Do == Connect ? 1 : world.Chance.OneOf(Factors)));
    int chosen = world.Chance.Between(0, std::accumulate(world.Weights.begin(), world.Weights.end(), 0) - 1);
    for (std::size_t i = 0; i < Operations.size(); ++i)
        if ((chosen -= world.Weights[i]) < 0) return Operations[i].Do(world);
}
