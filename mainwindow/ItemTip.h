#pragma once

#include "core/automation/ServerObjects.h"
#include "core/TreeNode.h"

/// An item's description and value for the tool tip of its node, a line each, neither endless; "n/a" for a write-only
/// item, whose value is never asked for. Empty for nodes of other kinds, and when the server refuses. Nobody has asked
/// for these calls: they are not logged, and none is made while the server is away or slow.
QString ReadItemTip(const TreeNode& node, VelSQLLib& server);
