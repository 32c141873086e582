#include "mainwindow/ObjectCommands.h"

#include "core/ChildWindow.h"
#include "core/MessageBoxes.h"
#include "core/modMain.h"
#include "core/ObjectTreeModel.h"

#include <algorithm>

using modMain::AddLog;
using modMain::Announce;
using modMain::Engine;
using modMain::SetStatus;

namespace {

ScriptHostRef PrepareScriptTool(ScriptHostRef tool)
{
    tool->AddObject(QStringLiteral("Vlx"), Engine);
    tool->put_Script(tool->get_Script() +
                     QStringLiteral("\r\n' [Syntax] Vlx.Controller(\"<Controller Name>\").Item(\"<Item Name>\")"));
    return tool;
}

} // namespace

ObjectCommands::ObjectCommands(MainWindow& mainWindow, ObjectWindows windows)
    : m_MainWindow(mainWindow)
    , m_Windows(std::move(windows))
{
}

void ObjectCommands::Show(TreeNodeRef node)
{
    if (!node || !node->IsInTree()) return;
    const auto show = m_Windows.Show.find(node->Tag());
    if (show == m_Windows.Show.end()) return;
    SetStatus(QStringLiteral("Show..."));
    show->second(node);
    SetStatus(QStringLiteral("Ready."));
}

void ObjectCommands::ShowCurrent(std::initializer_list<NodeTag> tags)
{
    Show(CurrentNode(tags));
}

void ObjectCommands::SnapshotItem()
{
    const TreeNodeRef node = CurrentNode({NodeTag::Item, NodeTag::AddItem});
    if (!node) return;
    const ControllerRef controller = Engine->get_Controller(node->Parent()->Text());
    const ItemRef item = controller->get_Item(node->Text());
    // On purpose, although it is the item's snapshot.
    Announce(u"Controller", u"Snapshot");
    item->Snapshot();
    AddLog(QStringLiteral("Succeeded."));
}

void ObjectCommands::RemoveItem()
{
    const TreeNodeRef node = CurrentNode({NodeTag::AddItem});
    if (!node || !modMain::AskSure()) return;
    // Either may have gone while the question was open.
    if (!node->IsInTree() || !Engine) return;
    const ControllerRef controller = Engine->get_Controller(node->Parent()->Text());
    Announce(u"Controller", u"RemoveItem");
    controller->RemoveItem(node->Text());
    AddLog(QStringLiteral("Succeeded."));
    if (ChildWindow* form = modMain::FindFormByNode(node->Key())) form->Unload();
    m_MainWindow.Tree().Remove(node);
    m_MainWindow.m_CurrentNode = m_MainWindow.SelectedNode();
    m_MainWindow.RefreshStatusBar();
}

void ObjectCommands::AddItem()
{
    const TreeNodeRef node = CurrentNode({NodeTag::Controller});
    if (!node || !m_Windows.AddItem) return;
    SetStatus(QStringLiteral("Show..."));
    m_Windows.AddItem(node);
    SetStatus(QStringLiteral("Ready."));
}

void ObjectCommands::BatchWrite()
{
    const TreeNodeRef node = CurrentNode({NodeTag::Controller});
    if (node && m_Windows.BatchWrite) m_Windows.BatchWrite(node);
}

void ObjectCommands::ShowScriptTool()
{
    if (!m_Windows.CreateScriptTool) return;
    if (!modMain::ScriptTool) modMain::ScriptTool = PrepareScriptTool(m_Windows.CreateScriptTool());
    modMain::ScriptTool->Show();
}

void ObjectCommands::ShowTrend()
{
    const TreeNodeRef node = CurrentNode({NodeTag::Item, NodeTag::AddItem});
    if (m_Windows.StartTrend) m_Windows.StartTrend(node ? QStringList(ItemName(*node)) : QStringList());
}

TreeNodeRef ObjectCommands::CurrentNode(std::initializer_list<NodeTag> tags) const
{
    const TreeNodeRef& node = m_MainWindow.m_CurrentNode;
    const bool fits = node && node->IsInTree() && std::find(tags.begin(), tags.end(), node->Tag()) != tags.end();
    return fits ? node : TreeNodeRef();
}
