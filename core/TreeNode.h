#pragma once

#include "core/NameParts.h"

#include <QExplicitlySharedDataPointer>
#include <QSharedData>
#include <QString>

#include <memory>
#include <vector>

/// What kind of server object a node stands for.
enum class NodeTag : quint8
{
    Engine,
    Controller,
    Item,
    AddItem, ///< an item added by this console
    History
};

/// "VelSQLEngine", "Controller", "Item", "AddItem", "VelSQLHistory": the tag as text and the key of the kind's image.
QString TagText(NodeTag tag);

class TreeNode;

/// A reference to a node; stays safe after the node has left the tree.
using TreeNodeRef = QExplicitlySharedDataPointer<TreeNode>;

/// One object of the server in the object tree. There may be a million: its key is computed from its parents, and
/// without children a node takes 32 bytes beside its text. Only ObjectTreeModel changes the structure.
class TreeNode : public QSharedData
{
public:
    static constexpr QChar PathSeparator = u'\\';

    /// With its text behind it, in one piece of memory.
    static TreeNodeRef Make(QStringView text, NodeTag tag);
    ~TreeNode();
    Q_DISABLE_COPY_MOVE(TreeNode)
    static void operator delete(void* memory) { ::operator delete(memory); }

    QString Text() const { return TextView().toString(); }
    /// For passes over very many nodes; lives as long as the node.
    QStringView TextView() const { return {reinterpret_cast<const char16_t*>(this + 1), m_Length}; }
    NodeTag Tag() const { return m_Tag; }
    /// The texts of the ancestors and of the node itself, joined by backslashes.
    QString Key() const;
    /// Null for the root and for a node that has left the tree.
    TreeNodeRef Parent() const { return TreeNodeRef(m_Parent); }
    int ChildCount() const { return static_cast<int>(Children().size()); }
    TreeNodeRef Child(int row) const { return Children().at(static_cast<std::size_t>(row)); }
    /// For passes over very many nodes.
    const std::vector<TreeNodeRef>& Children() const { return m_Below ? m_Below->Children : NoChildren; }
    /// The next children from this row on whose texts may hold what is wanted; behind the last one when there are none.
    /// Left out are many items that do not hold it; what has children itself never is.
    NameParts::Rows NextChildren(int row, const NameParts::Wanted& text) const
    {
        return m_Below ? m_Below->Names.Next(row, text) : NameParts::Rows{row, row};
    }
    /// Position among its siblings; 0 for a root.
    int Row() const;
    /// False once the node, or one of its ancestors, has been removed.
    bool IsInTree() const;

private:
    friend class ObjectTreeModel;

    TreeNode(QStringView text, NodeTag tag);

    static const std::vector<TreeNodeRef> NoChildren;

    bool m_IsRoot = false;
    NodeTag m_Tag;
    /// Where it stood when it was last asked: with a million siblings, they are not told of each that comes or goes.
    mutable int m_Row = 0;
    int m_Length;
    TreeNode* m_Parent = nullptr;
    struct Below
    {
        std::vector<TreeNodeRef> Children;
        NameParts Names; ///< if they are items
    };
    /// Most nodes have none.
    std::unique_ptr<Below> m_Below;
};
