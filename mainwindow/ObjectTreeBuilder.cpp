#include "mainwindow/ObjectTreeBuilder.h"

#include "core/automation/SafeArray.h"
#include "core/ConsoleServices.h"
#include "core/modMain.h"
#include "core/ObjectTreeModel.h"

using modMain::Engine;

namespace {

void AddItems(ObjectTreeModel& tree, const TreeNodeRef& controllerNode)
{
    const ControllerRef controller = Engine->get_Controller(controllerNode->Text());
    const Variant names = controller->get_ItemNames();
    tree.Append(controllerNode, names.Array().Of<QString>(), NodeTag::Item);
}

void AddControllers(ObjectTreeModel& tree)
{
    const Variant names = Engine->get_ControllerNames();
    for (const QString& name : names.Array().Of<QString>()) {
        AddItems(tree, tree.Append(modMain::EngineNode, name, NodeTag::Controller));
    }
}

} // namespace

void BuildObjectTree(MainWindow& mainWindow)
{
    // Spelled like this on purpose.
    modMain::SetStatus(QStringLiteral("Drowing TreeView...."));
    ObjectTreeModel& tree = mainWindow.Tree();
    tree.Clear();
    Engine = mainWindow.Services().Library.CreateEngine();
    modMain::EngineNode = tree.SetRoot(TagText(NodeTag::Engine), NodeTag::Engine);
    mainWindow.m_CurrentNode = modMain::EngineNode;
    AddControllers(tree);
    modMain::History = Engine->get_History();
    modMain::HistoryNode = tree.Append(modMain::EngineNode, TagText(NodeTag::History), NodeTag::History);
    modMain::SetStatus(QStringLiteral("Ready."));
}
