#pragma once

#include <QAccessible>

class LargeTreeView;

/// The tree as screen readers know it: a table of one column with a cell for each row, which says what the node is,
/// whether it is open or selected, and opens and closes it.
namespace SpokenTree {

/// Makes screen readers see trees so; once is enough.
void Announce();
/// What has happened to a row; nothing where no screen reader listens.
void Tell(LargeTreeView& tree, QAccessible::Event event, int row);
void TellExpanded(LargeTreeView& tree, int row, bool isExpanded);

} // namespace SpokenTree
