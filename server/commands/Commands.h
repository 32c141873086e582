#pragma once

#include "server/rpc/Services.h"

#include <kj/timer.h>

/// The commands of the engine's and the controllers' Execute.
class Commands : public CommandHandler
{
public:
    explicit Commands(kj::Timer& timer);

    kj::Promise<Variant> ExecuteOnEngine(const QString& command) override;
    kj::Promise<Variant> ExecuteOnController(PlantController& controller, const QString& command,
                                             const Variant& parameter) override;

private:
    kj::Timer& m_Timer;
};
