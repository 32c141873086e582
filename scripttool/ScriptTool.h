#pragma once

#include "core/automation/ServerObjects.h"

#include <QStringList>

#include <memory>

class frmScriptTool;

/// The script tool of the console: a separate window in which scripts are written, and a separate process that runs
/// them. The process has its own connection to the server, so only the names of the objects given to scripts are kept
/// here. The tool's window and a running script end with the tool.
class ScriptTool : public ScriptHost
{
public:
    /// `program` runs the scripts; when it is empty, "velsqlscript" is looked for beside this program and on the path.
    explicit ScriptTool(const QString& program = {});
    ~ScriptTool() override;

    void Show() override;
    /// Only the engine can be given, under any number of names; throws ServerError for other objects, for names that
    /// are not identifiers, and for names already taken.
    void AddObject(const QString& name, const ObjectRef& object) override;
    /// Throws ServerError for names that were not given.
    void RemoveObject(const QString& name) override;
    /// With CR LF between lines.
    QString get_Script() override;
    /// Throws ServerError when the editor cannot take so long a text.
    void put_Script(const QString& script) override;

private:
    QStringList m_Names;
    std::unique_ptr<frmScriptTool> m_Form;
};
