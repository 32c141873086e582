#include "mainwindow/ObjectCommands.h"

#include "core/ChildWindow.h"
#include "core/MessageBoxes.h"
#include "core/modMain.h"
#include "core/ObjectTreeModel.h"

#include <algorithm>

using modMain::CallServer;
using modMain::Engine;
using modMain::SetStatus;

namespace {

/// The entries of engine and controller pop-up that call the engine.
MenuEntries EngineCalls(QStringView object)
{
    return {
        {2, [=] { CallServer(object, u"Start", [] { Engine->Start(); }); }},
        {3, [=] { CallServer(object, u"Stop", [] { Engine->Stop(); }); }},
        {4, [=] { CallServer(object, u"Snapshot", [] { Engine->Snapshot(); }); }},
    };
}

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

MenuEntries ObjectCommands::EngineEntries()
{
    MenuEntries entries = EngineCalls(u"Engine");
    entries[0] = [this] { ShowNode(CurrentNode({NodeTag::Engine})); };
    return entries;
}

MenuEntries ObjectCommands::ControllerEntries()
{
    // These entries drive the engine, not the controller: it is meant, operators rely on it.
    MenuEntries entries = EngineCalls(u"Controller");
    entries[0] = [this] { ShowNode(CurrentNode({NodeTag::Controller})); };
    entries[6] = [this] { AddItem(); };
    entries[8] = [this] { BatchWrite(); };
    return entries;
}

MenuEntries ObjectCommands::ItemEntries()
{
    return {
        {0,
         [this] {
             ShowNode(CurrentNode({NodeTag::Item, NodeTag::AddItem}));
         }},
        {2, [this] { SnapshotItem(); }},
        {4, [this] { RemoveItem(); }},
    };
}

MenuEntries ObjectCommands::HistoryEntries()
{
    return {{0, [this] { ShowNode(modMain::HistoryNode); }}}; // whatever node is current
}

void ObjectCommands::Show()
{
    ShowNode(m_MainWindow.m_CurrentNode);
}

void ObjectCommands::ShowNode(const TreeNodeRef& node)
{
    if (!node || !node->IsInTree()) return;
    const auto show = m_Windows.Show.find(node->Tag());
    if (show == m_Windows.Show.end()) return;
    SetStatus(QStringLiteral("Show..."));
    show->second(node);
    SetStatus(QStringLiteral("Ready."));
}

void ObjectCommands::SnapshotItem()
{
    const TreeNodeRef node = CurrentNode({NodeTag::Item, NodeTag::AddItem});
    if (!node) return;
    const ControllerRef controller = Engine->get_Controller(node->Parent()->Text());
    const ItemRef item = controller->get_Item(node->Text());
    // The item's snapshot is announced as a controller's: it is meant.
    CallServer(u"Controller", u"Snapshot", [&] { item->Snapshot(); });
}

void ObjectCommands::RemoveItem()
{
    const TreeNodeRef node = CurrentNode({NodeTag::AddItem});
    if (!node || !modMain::AskSure()) return;
    if (!node->IsInTree() || !Engine) return; // Much may happen while the question stands.
    const ControllerRef controller = Engine->get_Controller(node->Parent()->Text());
    const bool isRemoved = CallServer(u"Controller", u"RemoveItem", [&] { controller->RemoveItem(node->Text()); });
    if (!isRemoved) return;
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

TreeNodeRef ObjectCommands::CurrentNode(std::initializer_list<NodeTag> tags) const
{
    const TreeNodeRef& node = m_MainWindow.m_CurrentNode;
    const bool fits = node && node->IsInTree() && std::find(tags.begin(), tags.end(), node->Tag()) != tags.end();
    return fits ? node : TreeNodeRef();
}
