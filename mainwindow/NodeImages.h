#pragma once

class ObjectTreeModel;

/// Gives the tree's model the picture of each kind of node.
void LoadNodeImages(ObjectTreeModel& tree);
