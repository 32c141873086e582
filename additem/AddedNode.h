#pragma once

#include "core/automation/ServerObjects.h"
#include "core/TreeNode.h"

class ObjectTreeModel;

/// Adds the node of an item that `controller` has just got below its node, at the place that the server's order of
/// items gives it. Throws ServerError when the server does not tell, and ValueError when the tree lacks the controller
/// or the neighbour, has the name already, or the position is beyond 32767; the tree is then unchanged.
TreeNodeRef InsertAddedNode(ObjectTreeModel& tree, const TreeNodeRef& controllerNode, VelSQLController& controller,
                            const QString& name);
