#pragma once

#include "core/TreeNode.h"

#include <QObject>
#include <QStringMatcher>

class ObjectTreeModel;

/// The nodes of a tree, expanded or not, whose names contain a text, in the tree's order. Letter case does not matter,
/// in any script (Unicode's case folding, character by character); otherwise every character stands for itself.
class NodeSearch : public QObject
{
    Q_OBJECT

public:
    explicit NodeSearch(const ObjectTreeModel& tree);

    /// An empty text is in no name. A text that has grown is looked for only where it was before.
    void SetText(const QString& text);
    qsizetype Count() { return static_cast<qsizetype>(Hits().size()); }
    /// `hit` from 0.
    TreeNodeRef Hit(qsizetype hit);
    /// The first hit that stands at this node or below it in the tree's order; Count when there is none, 0 for null.
    qsizetype AtOrAfter(const TreeNodeRef& node);

Q_SIGNALS:
    /// The tree has other nodes than before; the hits are those of the tree as it is now.
    void TreeChanged();

private:
    void ForgetHits();
    const std::vector<TreeNode*>& Hits();
    void Collect(const TreeNodeRef& node);

    const ObjectTreeModel& m_Tree;
    QStringMatcher m_Text;
    /// Plain pointers, because there may be a million; forgotten before any of these nodes can go.
    std::vector<TreeNode*> m_Hits;
    bool m_IsCurrent = false;
};
