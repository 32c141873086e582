#include "additem/AddedNode.h"

#include "core/automation/Errors.h"
#include "core/ObjectTreeModel.h"

#include <algorithm>
#include <limits>
#include <optional>

namespace {

constexpr qint16 LastPosition = std::numeric_limits<qint16>::max();
/// No more of the server's names are needed to tell where an item stands.
constexpr quint32 NamesNeeded = LastPosition + 1;

/// Where the server has the new item, and who stands before it; before the first one nobody does, but there is another
/// one behind it.
struct ServerPlace
{
    qint16 Position; ///< the number of names when the name is not among them
    std::optional<QString> Neighbour;
};

ServerPlace PlaceOf(const QString& name, const TextList& names)
{
    qint16 position = 0;
    for (; position < names.Count() && names[position] != name; ++position)
        if (position == LastPosition) throw ValueError::Overflow();
    const qsizetype neighbour = position > 0 ? position - 1 : 1;
    if (neighbour >= names.Count()) return {position, {}};
    return {position, names[neighbour].toString()};
}

/// The row of the controller's item with this name, which may be `expected`. Only the controller's own nodes are
/// searched: names may hold backslashes, so a node below another controller may have the same key.
std::optional<int> RowOf(const TreeNodeRef& controllerNode, const QString& name, int expected)
{
    if (expected < controllerNode->ChildCount() && controllerNode->Child(expected)->TextView() == name) return expected;
    const auto& children = controllerNode->Children();
    const NameParts::Wanted parts(name);
    const int count = controllerNode->ChildCount();
    for (NameParts::Rows rows = {0, 0}; rows.End < count;) {
        rows = controllerNode->NextChildren(rows.End, parts);
        for (int row = rows.First; row < std::min(rows.End, count); ++row)
            if (children[static_cast<std::size_t>(row)]->TextView() == name) return row;
    }
    return std::nullopt;
}

int RowOfNeighbour(const TreeNodeRef& controllerNode, const ServerPlace& place)
{
    if (!place.Neighbour) throw ValueError::SubscriptOutOfRange();
    if (const auto row = RowOf(controllerNode, *place.Neighbour, std::max(place.Position - 1, 0))) return *row;
    throw ValueError(QStringLiteral("The object tree has no node \"%1\".")
                         .arg(controllerNode->Key() + TreeNode::PathSeparator + *place.Neighbour));
}

/// The server may have lost an item whose node is still in the tree. Two nodes of one name would share one key.
void RefuseSecondNode(const TreeNodeRef& controllerNode, const QString& name)
{
    if (const auto row = RowOf(controllerNode, name, 0))
        throw ValueError(
            QStringLiteral("The object tree has a node \"%1\" already.").arg(controllerNode->Child(*row)->Key()));
}

} // namespace

TreeNodeRef InsertAddedNode(ObjectTreeModel& tree, const TreeNodeRef& controllerNode, VelSQLController& controller,
                            const QString& name)
{
    ServerPlace place{};
    controller.UseItemNames(NamesNeeded, [&](const TextList& names) { place = PlaceOf(name, names); });
    const qint32 count = controller.get_Count();
    if (!controllerNode->IsInTree())
        throw ValueError(QStringLiteral("The object tree has no node \"%1\" any more.").arg(controllerNode->Key()));
    RefuseSecondNode(controllerNode, name);
    if (count == 1) return tree.Append(controllerNode, name, NodeTag::AddItem);
    const int neighbour = RowOfNeighbour(controllerNode, place); // also the one that the first is put in front of
    return tree.Insert(controllerNode, place.Position > 0 ? neighbour + 1 : 0, name, NodeTag::AddItem);
}
