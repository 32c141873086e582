#include "additem/AddedNode.h"

#include "core/automation/Errors.h"
#include "core/automation/SafeArray.h"
#include "core/ObjectTreeModel.h"

#include <limits>
#include <optional>

namespace {

/// Position of the name in the list; the number of names when it is not among them.
qint16 PositionOf(const QString& name, const QList<QString>& names)
{
    qint16 position = 0;
    for (const QString& other : names) {
        if (other == name) break;
        if (position == std::numeric_limits<qint16>::max()) throw ValueError::Overflow();
        ++position;
    }
    return position;
}

/// The row of the controller's item with this name. Only the controller's own nodes are searched: names may hold
/// backslashes, so a node below another controller may have the same key.
std::optional<int> RowOf(const TreeNodeRef& controllerNode, const QString& name)
{
    for (int row = 0; row < controllerNode->ChildCount(); ++row)
        if (controllerNode->Child(row)->TextView() == name) return row;
    return std::nullopt;
}

/// The row of the neighbour, which stands at `position` of the list.
int RowOfNeighbour(const TreeNodeRef& controllerNode, const QList<QString>& names, qsizetype position)
{
    if (position >= names.size()) throw ValueError::SubscriptOutOfRange();
    if (const auto row = RowOf(controllerNode, names[position])) return *row;
    throw ValueError(QStringLiteral("The object tree has no node \"%1\".")
                         .arg(controllerNode->Key() + TreeNode::PathSeparator + names[position]));
}

/// The server may have lost an item whose node is still in the tree. Two nodes of one name would share one key.
void RefuseSecondNode(const TreeNodeRef& controllerNode, const QString& name)
{
    if (const auto row = RowOf(controllerNode, name))
        throw ValueError(
            QStringLiteral("The object tree has a node \"%1\" already.").arg(controllerNode->Child(*row)->Key()));
}

} // namespace

TreeNodeRef InsertAddedNode(ObjectTreeModel& tree, const TreeNodeRef& controllerNode, VelSQLController& controller,
                            const QString& name)
{
    const Variant list = controller.get_ItemNames();
    const auto& names = list.Array().Of<QString>();
    const qint16 position = PositionOf(name, names);
    const qint32 count = controller.get_Count();
    if (!controllerNode->IsInTree())
        throw ValueError(QStringLiteral("The object tree has no node \"%1\" any more.").arg(controllerNode->Key()));
    RefuseSecondNode(controllerNode, name);
    if (count == 1) return tree.Append(controllerNode, name, NodeTag::AddItem);
    if (position > 0)
        return tree.Insert(controllerNode, RowOfNeighbour(controllerNode, names, position - 1) + 1, name,
                           NodeTag::AddItem);
    // First of all, in front of the one that was first: that one must be there.
    RowOfNeighbour(controllerNode, names, 1);
    return tree.Insert(controllerNode, 0, name, NodeTag::AddItem);
}
