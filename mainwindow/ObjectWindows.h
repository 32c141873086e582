#pragma once

#include "core/automation/ServerObjects.h"
#include "core/TreeNode.h"

#include <functional>
#include <map>

/// How windows are opened from the tree. The commands of a node whose kind is not listed do nothing.
struct ObjectWindows
{
    using ShowFunction = std::function<void(const TreeNodeRef& node)>;

    /// The Show command of a node's kind: finds or creates the window and brings it up; throws what loading the window
    /// throws.
    std::map<NodeTag, ShowFunction> Show;
    /// Opens the add-item dialog for a controller's node.
    ShowFunction AddItem;
    /// Brings up the batch-write window for a controller's node.
    ShowFunction BatchWrite;
    /// A new script tool, not yet shown.
    std::function<ScriptHostRef()> CreateScriptTool;
    /// Starts the trend program with these items; throws DescribedError when that is not possible.
    std::function<void(const QStringList& items)> StartTrend;
};

/// The windows of the console.
ObjectWindows ConsoleWindows();
