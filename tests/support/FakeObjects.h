#pragma once

#include "core/automation/ServerObjects.h"

class FakeServer;

/// The objects of a fake server: each answers from the server's tables and has every call recorded there first.
EngineRef MakeFakeEngine(FakeServer& server);
ItemRef MakeFakeItem(FakeServer& server, const QString& controller, const QString& item);
