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
    AddItem, ///< an item that this console added
    History
};

/// "VelSQLEngine", "Controller", "Item", "AddItem", "VelSQLHistory": the tag as text and the key of the kind's image.
QString TagText(NodeTag tag);

class TreeNode;

/// A reference to a node; stays safe after the node was removed from the tree.
using TreeNodeRef = QExplicitlySharedDataPointer<TreeNode>;

/// One object of the server in the object tree. The key is computed from the parents, so a node costs little more
/// than its text; the structure is changed through ObjectTreeModel only.
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
    /// None for the root and for a node that was removed.
    TreeNodeRef Parent() const { return TreeNodeRef(m_Parent); }
    int ChildCount() const { return static_cast<int>(m_Children.size()); }
    TreeNodeRef Child(int row) const { return m_Children.at(static_cast<std::size_t>(row)); }
    /// Position among its siblings; 0 for a root.
    int Row() const { return m_Row; }
    /// False once the node, or one of its ancestors, was removed.
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
