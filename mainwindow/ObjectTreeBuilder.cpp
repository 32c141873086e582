#include "mainwindow/ObjectTreeBuilder.h"

#include "core/automation/SafeArray.h"
#include "core/ConsoleServices.h"
#include "core/modMain.h"
#include "core/ObjectTreeModel.h"

#include <exception>
#include <malloc.h>

using modMain::Engine;

namespace {

void AddController(ObjectTreeModel& tree, const QString& name)
{
    const TreeNodeRef node = tree.Append(modMain::EngineNode, name, NodeTag::Controller);
    Engine->get_Controller(name)->UseItemNames(VelSQLController::AllItems,
                                               [&](const TextList& names) { tree.Append(node, names, NodeTag::Item); });
}

/// Many are asked for together. The first failure ends it.
void AddControllers(ObjectTreeModel& tree, VelSQLLib& server)
{
    const Variant names = Engine->get_ControllerNames();
    std::exception_ptr failure;
    QList<CallStep> steps;
    for (const QString& name : names.Array().Of<QString>()) {
        const auto add = [&tree, &failure, name] {
            try {
                if (!failure) AddController(tree, name);
            } catch (...) {
                failure = std::current_exception();
            }
        };
        const auto foresee = [name] {
            Engine->get_Controller(name)->UseItemNames(VelSQLController::AllItems, [](auto&&) {});
        };
        steps << CallStep{foresee, add};
    }
    for (qsizetype added = 0; added < steps.size() && !failure;) added += server.TakeSteps(steps, added);
    if (failure) std::rethrow_exception(failure);
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
    AddControllers(tree, mainWindow.Services().Library);
    malloc_trim(0); // the lists that the names came in would stay with the process, which matters in a large plant
    modMain::History = Engine->get_History();
    modMain::HistoryNode = tree.Append(modMain::EngineNode, TagText(NodeTag::History), NodeTag::History);
    modMain::SetStatus(QStringLiteral("Ready."));
}
