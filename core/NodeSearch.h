#pragma once

#include "core/TreeNode.h"

#include <QObject>
#include <QStringMatcher>
#include <QTimer>

#include <deque>
#include <optional>
#include <vector>

class ObjectTreeModel;

/// A place in the tree's order, which is that of its rows, a node before its children. Good while no node comes or goes.
class NodeCursor
{
public:
    NodeCursor() = default;
    explicit NodeCursor(TreeNode& node);

    /// Null behind the last node.
    TreeNode* Node() const { return m_Node; }
    /// To the next node whose name may hold the text, but not past this one.
    void GoOn(const NameParts::Wanted& text, const TreeNode& notPast);

private:
    TreeNode* m_Node = nullptr;
    struct Level
    {
        TreeNode* Parent;
        int Row;   ///< the one that leads to the node
        int Until; ///< the rows before this one may hold the text
    };

    static void LeaveOut(Level& level, const NameParts::Wanted& text, const TreeNode& notPast);

    /// From the root down.
    std::vector<Level> m_Above;
};

/// The nodes of a tree, expanded or not, whose names contain a text, in the tree's order. Letter case does not matter,
/// in any script (Unicode's case folding, character by character); otherwise every character stands for itself.
///
/// Of a million names it looks at some between other events, so that the operator goes on typing meanwhile.
class NodeSearch : public QObject
{
    Q_OBJECT

public:
    explicit NodeSearch(const ObjectTreeModel& tree);

    /// Looks for the text, which is in no name when it is empty, from this node on and then from the root on. What takes
    /// longer than some milliseconds follows after this; the same text in the same tree is not looked for again.
    void Search(const QString& text, const TreeNodeRef& from);
    bool IsDone() const { return m_IsDone; }
    /// So far.
    qsizetype Count() const { return static_cast<qsizetype>(m_Hits.size()); }
    /// The hit found first, the next one at or after the node where the search began; null while there is none.
    TreeNodeRef First() const { return TreeNodeRef(m_First); }

    /// `hit` from 0, once the search is done.
    TreeNodeRef Hit(qsizetype hit) const { return TreeNodeRef(m_Hits.at(static_cast<std::size_t>(hit))); }
    /// The first hit that stands at this node or below it in the tree's order; Count when there is none, 0 for null.
    /// Once the search is done.
    qsizetype AtOrAfter(const TreeNodeRef& node) const;

Q_SIGNALS:
    /// These two only where Search has not come so far itself.
    void FirstFound();
    void Done();
    /// The tree has other nodes than before: what was found is forgotten until the next search.
    void TreeChanged();

private:
    void Forget();
    void GoOn();
    void LookAtSome();
    void NoteHit();
    void PassEnd();
    void SortHits();

    const ObjectTreeModel& m_Tree;
    QStringMatcher m_Text;
    NameParts::Wanted m_Parts;
    bool m_IsOfThisTree = false;
    bool m_IsDone = true;
    QTimer m_Turn;
    NodeCursor m_At;
    const TreeNode* m_From = nullptr;
    /// Plain pointers, because there may be a million, and in small pieces of memory, which there are also when large
    /// ones are not; forgotten before any of these nodes can go.
    std::deque<TreeNode*> m_Hits;
    TreeNode* m_First = nullptr;
    /// So many were found before the search went on from the root; none yet while it has not.
    std::optional<std::size_t> m_HitsToEnd;
};
