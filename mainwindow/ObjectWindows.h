#pragma once

#include "core/automation/ServerObjects.h"
#include "core/TreeNode.h"

#include <functional>
#include <map>

/// How the windows that the tree leads to are brought up. The commands of one that is not listed do nothing.
struct ObjectWindows
{
    using ShowFunction = std::function<void(const TreeNodeRef& node)>;

    /// The Show command of a node's kind: finds or creates the window and brings it up; throws what its load throws.
    std::map<NodeTag, ShowFunction> Show;
    /// Opens the add-item dialog for a controller's node.
    ShowFunction AddItem;
    /// Brings the batch-write window up for a controller's node.
    ShowFunction BatchWrite;
    /// A new script tool, not yet shown.
    std::function<ScriptHostRef()> CreateScriptTool;
};

/// The console's own windows.
ObjectWindows ConsoleWindows();
