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
    /// Accepts only the engine, under any number of names. Throws ServerError for other objects, for names that are not
    /// identifiers, and for names that are already in use.
    void AddObject(const QString& name, const ObjectRef& object) override;
    /// Throws ServerError for unknown names.
    void RemoveObject(const QString& name) override;
    /// With CR LF between the lines.
    QString get_Script() override;
    /// Throws ServerError when the text is too long for the editor.
    void put_Script(const QString& script) override;

private:
    QStringList m_Names;
    std::unique_ptr<frmScriptTool> m_Form;
};
