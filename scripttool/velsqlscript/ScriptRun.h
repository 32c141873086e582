#pragma once

#include "scripttool/velsqlscript/ScriptBridge.h"

#include <optional>

/// Runs one script.
class ScriptRun
{
public:
    ScriptRun(const EngineRef& engine, const QStringList& names, std::function<void()> checkServer);

    /// Empty when the script ended without an error; otherwise the exception that it threw and did not catch:
    /// "TITLE:LINE: message", with the functions being called when there were several.
    std::optional<QString> Run(const QString& script, const QString& title);

private:
    QJSEngine m_Engine;
    ScriptBridge m_Bridge;
};
