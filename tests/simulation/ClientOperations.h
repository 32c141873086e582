#pragma once

#include "tests/simulation/World.h"

/// What a client may do; chance decides which one does it, and with what.
namespace ClientOperations {

void Connect(World& world);
void Disconnect(World& world);
void SendRubbish(World& world);
void PutOwn(World& world);
void GetOwn(World& world);
void Get(World& world);
void GetBurst(World& world);
void Put(World& world);
void PutLater(World& world);
void PutActivation(World& world);
void ReadItem(World& world);
void ReadController(World& world);
void SwitchController(World& world);
void AddItem(World& world);
void RemoveItem(World& world);
void Subscribe(World& world);
void Unsubscribe(World& world);
void Execute(World& world);
void AskHistory(World& world);
void StopReading(World& world);
void ReadOn(World& world);

} // namespace ClientOperations
