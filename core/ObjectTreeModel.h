#pragma once

#include "core/automation/TextList.h"
#include "core/TreeNode.h"

#include <QAbstractItemModel>
#include <QIcon>
#include <QTimer>

#include <array>

/// Whether a node is an item, given by the server or added.
bool IsItem(const TreeNode& node);
/// "PLC1\Level": an item as programs beside the console name it.
QString ItemName(const TreeNode& item);

/// The object tree: the nodes in the server's order, never sorted, labels not editable.
class ObjectTreeModel : public QAbstractItemModel
{
    Q_OBJECT

public:
    explicit ObjectTreeModel(QObject* parent = nullptr);
    ~ObjectTreeModel() override;

    /// The image for nodes of a kind; to be set before the tree is filled.
    void SetImage(NodeTag tag, const QIcon& image);
    QIcon Image(NodeTag tag) const;

    void Clear();
    /// Replaces the whole tree by a single root.
    TreeNodeRef SetRoot(const QString& text, NodeTag tag);
    TreeNodeRef Root() const { return m_Root; }
    /// `row` from 0 (first) to the number of children (last). Throws ValueError when it is out of range or the parent
    /// has left the tree.
    TreeNodeRef Insert(const TreeNodeRef& parent, int row, const QString& text, NodeTag tag);
    TreeNodeRef Append(const TreeNodeRef& parent, const QString& text, NodeTag tag);
    /// Adds many children with one announcement to the view.
    void Append(const TreeNodeRef& parent, const QStringList& texts, NodeTag tag);
    void Append(const TreeNodeRef& parent, const TextList& texts, NodeTag tag);
    /// Takes the node and everything below it out of the tree; references to them stay safe. Does nothing when it has
    /// already left.
    void Remove(const TreeNodeRef& node);

    /// The node with exactly this key, case-sensitive; null when there is none.
    TreeNodeRef FindByKey(QStringView key) const;
    TreeNodeRef NodeAt(const QModelIndex& index) const;
    /// Invalid for a node that has left the tree.
    QModelIndex IndexOf(const TreeNodeRef& node) const;

    QModelIndex index(int row, int column, const QModelIndex& parent = {}) const override;
    QModelIndex parent(const QModelIndex& child) const override;
    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    bool hasChildren(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;
    QStringList mimeTypes() const override;
    /// The items among these nodes as text, a line such as "PLC1\Level" for each.
    QMimeData* mimeData(const QModelIndexList& indexes) const override;

private:
    void ReplaceRoot(const TreeNodeRef& root);
    void InsertRows(const TreeNodeRef& parent, int row, const TextList& texts, NodeTag tag);
    static std::vector<TreeNodeRef> NewChildren(TreeNode& parent, int row, const TextList& texts, NodeTag tag);
    void LearnSome();
    bool Holds(const TreeNodeRef& node) const;
    static TreeNodeRef FindBelow(const TreeNodeRef& node, QStringView key);

    TreeNodeRef m_Root;
    /// Whose items' names are still to be looked at, between other events.
    std::vector<TreeNodeRef> m_ToLearn;
    QTimer m_Learning;
    /// One image for each kind of node.
    std::array<QIcon, 5> imglstMDI;
};
