#include "scripttool/ScriptTool.h"

#include "core/automation/Errors.h"
#include "scripttool/frmScriptTool.h"

#include <QRegularExpression>

namespace {

bool IsIdentifier(const QString& name)
{
    static const QRegularExpression Identifier(QStringLiteral("\\A[A-Za-z_$][A-Za-z0-9_$]*\\z"));
    return Identifier.match(name).hasMatch();
}

} // namespace

ScriptTool::ScriptTool(const QString& program)
    : m_Form(std::make_unique<frmScriptTool>(program))
{
}

ScriptTool::~ScriptTool() = default;

void ScriptTool::Show()
{
    m_Form->ShowForm();
}

void ScriptTool::AddObject(const QString& name, const ObjectRef& object)
{
    if (!std::dynamic_pointer_cast<VelSQLEngine>(object))
        throw ServerError(QStringLiteral("Only the engine can be given to scripts."));
    if (!IsIdentifier(name))
        throw ServerError(QStringLiteral("\"%1\" is not a valid name for a script object.").arg(name));
    if (m_Names.contains(name)) throw ServerError(QStringLiteral("The script object \"%1\" exists already.").arg(name));
    m_Names << name;
    m_Form->SetNames(m_Names);
}

void ScriptTool::RemoveObject(const QString& name)
{
    if (!m_Names.removeOne(name)) throw ServerError(QStringLiteral("There is no script object \"%1\".").arg(name));
    m_Form->SetNames(m_Names);
}

QString ScriptTool::get_Script()
{
    return m_Form->Script().replace(u'\n', QStringLiteral("\r\n"));
}

void ScriptTool::put_Script(const QString& script)
{
    try {
        m_Form->SetScript(script);
    } catch (const DescribedError& error) {
        throw ServerError(error.Description());
    }
}
