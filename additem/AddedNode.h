#pragma once

#include "core/automation/ServerObjects.h"
#include "core/TreeNode.h"

class ObjectTreeModel;

/// Adds the node of an item that `controller` has just received below the controller's node, at its place in the
/// server's order. Throws ServerError when the server fails, and ValueError when the controller or the neighbour is
/// missing from the tree, when the name is already there, or when the position is beyond 32767; the tree is then
/// unchanged.
TreeNodeRef InsertAddedNode(ObjectTreeModel& tree, const TreeNodeRef& controllerNode, VelSQLController& controller,
                            const QString& name);
