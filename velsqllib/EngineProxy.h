#pragma once

#include "core/automation/ServerObjects.h"
#include "velsqllib/Proxy.h"

/// The server's engine as the console sees it.
class EngineProxy : public VelSQLEngine, public Proxy<wire::Engine>
{
public:
    using Proxy::Proxy;

    ControllerRef get_Controller(const Variant& name) override;
    FoundItem FindItem(const QString& controllerName, const QString& itemName) override;
    void Start() override;
    void Stop() override;
    void Snapshot() override;
    Variant Execute(const QString& command) override;
    HistoryRef get_History() override;
    Variant get_ControllerNames() override;
};
