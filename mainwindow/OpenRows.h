#pragma once

#include "core/ObjectTreeModel.h"

#include <QObject>
#include <QPointer>

#include <unordered_map>
#include <unordered_set>
#include <vector>

/// Which nodes of a tree have a row in a view of it, and where: the root, and the children of each open node that has a
/// row itself. Rows count from 0.
///
/// No node has a place of its own in memory: the rows are runs of siblings between open nodes. So a question takes a
/// time that grows with the logarithm of the number of open nodes, and the first one after nodes have come, gone, been
/// opened or closed one that grows with their number; how many rows there are does not matter to either.
class OpenRows : public QObject
{
    Q_OBJECT

public:
    /// Hears of the tree's changes before all that are connected to it later.
    explicit OpenRows(const ObjectTreeModel& tree);

    bool IsOpen(const TreeNode& node) const { return m_Open.contains(&node); }
    /// The node must be in the tree.
    void Open(const TreeNode& node);
    void Close(const TreeNode& node);

    int Count() const;
    /// Null where there is no such row.
    TreeNode* NodeAt(int row) const;
    /// -1 for a node without a row: one of those above it is closed, or it has left the tree.
    int RowOf(const TreeNode& node) const;
    /// The first row from `from` on, and behind the last row from the first one on, whose node's name begins with the
    /// text, in any letter case; -1 for none.
    int Find(int from, QStringView beginning) const;

private:
    /// Siblings without an open one among them, except that the last one may be open.
    struct Run
    {
        int Row;                ///< of the first one
        const TreeNode* Parent; ///< null for the root
        int Child;              ///< the first one's place among all its siblings
        int Count;
    };
    using OpenBelow = std::unordered_map<const TreeNode*, std::vector<const TreeNode*>>;

    void Changed() { m_IsBuilt = false; }
    void ForgetGone();
    void Build() const;
    OpenBelow OpenByParent() const;
    void AddChildren(const TreeNode& parent, const OpenBelow& open) const;
    void AddRun(const TreeNode* parent, int child, int count) const;
    int FindIn(const Run& run, int from, int end, const NameParts::Wanted& parts, QStringView beginning) const;
    TreeNode* NodeOf(const Run& run, int at) const;

    QPointer<const ObjectTreeModel> m_Tree; ///< may go first
    std::unordered_set<const TreeNode*> m_Open;
    // Made when they are asked for:
    mutable bool m_IsBuilt = false;
    mutable int m_Count = 0;
    mutable std::vector<Run> m_Runs;
    /// Which runs a parent's children are, in their order.
    mutable std::unordered_map<const TreeNode*, std::vector<std::size_t>> m_RunsOf;
};
