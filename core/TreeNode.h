#pragma once

#include <QExplicitlySharedDataPointer>
#include <QSharedData>
#include <QString>

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

/// One object of the server in the object tree. Its key is computed from its parents, so a node costs little more than
/// its text. Only ObjectTreeModel changes the structure.
class TreeNode : public QSharedData
{
public:
    static constexpr QChar PathSeparator = u'\\';

    TreeNode(QString text, NodeTag tag);
    ~TreeNode();
    Q_DISABLE_COPY_MOVE(TreeNode)

    const QString& Text() const { return m_Text; }
    NodeTag Tag() const { return m_Tag; }
    /// The texts of the ancestors and of the node itself, joined by backslashes.
    QString Key() const;
    /// Null for the root and for a node that has left the tree.
    TreeNodeRef Parent() const { return TreeNodeRef(m_Parent); }
    int ChildCount() const { return static_cast<int>(m_Children.size()); }
    TreeNodeRef Child(int row) const { return m_Children.at(static_cast<std::size_t>(row)); }
    /// For passes over very many nodes.
    const std::vector<TreeNodeRef>& Children() const { return m_Children; }
    /// Position among its siblings; 0 for a root.
    int Row() const { return m_Row; }
    /// False once the node, or one of its ancestors, has been removed.
    bool IsInTree() const;

private:
    friend class ObjectTreeModel;

    bool m_IsRoot = false;
    NodeTag m_Tag;
    int m_Row = 0;
    TreeNode* m_Parent = nullptr;
    QString m_Text;
    std::vector<TreeNodeRef> m_Children;
};
