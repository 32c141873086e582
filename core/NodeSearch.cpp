#include "core/NodeSearch.h"

#include "core/ObjectTreeModel.h"

#include <QVarLengthArray>

#include <algorithm>

namespace {

/// The rows from the root down. Nodes stand in the order of their paths, a parent before its children.
using Path = QVarLengthArray<int, 8>;

Path PathOf(const TreeNode& node)
{
    Path path = {node.Row()};
    for (TreeNodeRef parent = node.Parent(); parent; parent = parent->Parent()) path.append(parent->Row());
    std::reverse(path.begin(), path.end());
    return path;
}

} // namespace

NodeSearch::NodeSearch(const ObjectTreeModel& tree)
    : m_Tree(tree)
    , m_Text(QString(), Qt::CaseInsensitive)
{
    // The model keeps removed nodes alive until it has told of it.
    connect(&tree, &ObjectTreeModel::rowsInserted, this, &NodeSearch::ForgetHits);
    connect(&tree, &ObjectTreeModel::rowsRemoved, this, &NodeSearch::ForgetHits);
    connect(&tree, &ObjectTreeModel::modelReset, this, &NodeSearch::ForgetHits);
}

void NodeSearch::ForgetHits()
{
    m_IsCurrent = false;
    m_Hits.clear();
    Q_EMIT TreeChanged();
}

void NodeSearch::SetText(const QString& text)
{
    const QString before = m_Text.pattern();
    if (text == before) return;
    m_Text.setPattern(text);
    m_IsCurrent = m_IsCurrent && !before.isEmpty() && text.contains(before, Qt::CaseInsensitive);
    if (m_IsCurrent)
        std::erase_if(m_Hits, [this](const TreeNode* node) { return m_Text.indexIn(node->TextView()) < 0; });
}

const std::vector<TreeNode*>& NodeSearch::Hits()
{
    if (std::exchange(m_IsCurrent, true)) return m_Hits;
    m_Hits.clear();
    if (m_Tree.Root() && !m_Text.pattern().isEmpty()) Collect(m_Tree.Root());
    return m_Hits;
}

void NodeSearch::Collect(const TreeNodeRef& node)
{
    if (m_Text.indexIn(node->TextView()) >= 0) m_Hits.push_back(node.get());
    for (const TreeNodeRef& child : node->Children()) Collect(child);
}

TreeNodeRef NodeSearch::Hit(qsizetype hit)
{
    return TreeNodeRef(Hits().at(static_cast<std::size_t>(hit)));
}

qsizetype NodeSearch::AtOrAfter(const TreeNodeRef& node)
{
    if (!node) return 0;
    const auto isBefore = [](const TreeNode* hit, const Path& path) { return PathOf(*hit) < path; };
    return std::lower_bound(Hits().begin(), Hits().end(), PathOf(*node), isBefore) - Hits().begin();
}
