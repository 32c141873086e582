#include "mainwindow/OpenRows.h"

#include <algorithm>

OpenRows::OpenRows(const ObjectTreeModel& tree)
    : m_Tree(&tree)
{
    connect(&tree, &ObjectTreeModel::rowsInserted, this, &OpenRows::Changed);
    // Before the nodes are released; the model keeps them alive until it has told of it.
    connect(&tree, &ObjectTreeModel::rowsRemoved, this, &OpenRows::ForgetGone);
    connect(&tree, &ObjectTreeModel::modelReset, this, &OpenRows::ForgetGone);
    connect(&tree, &QObject::destroyed, this, &OpenRows::Changed);
}

void OpenRows::ForgetGone()
{
    std::erase_if(m_Open, [](const TreeNode* node) { return !node->IsInTree(); });
    Changed();
}

void OpenRows::Open(const TreeNode& node)
{
    if (m_Open.insert(&node).second) Changed();
}

void OpenRows::Close(const TreeNode& node)
{
    if (m_Open.erase(&node) > 0) Changed();
}

int OpenRows::Count() const
{
    if (!m_IsBuilt) Build();
    return m_Count;
}

TreeNode* OpenRows::NodeAt(int row) const
{
    if (row < 0 || row >= Count()) return nullptr;
    const auto next = std::ranges::upper_bound(m_Runs, row, {}, &Run::Row);
    const Run& run = *std::prev(next);
    return NodeOf(run, row - run.Row);
}

int OpenRows::RowOf(const TreeNode& node) const
{
    if (Count() == 0) return -1;
    const TreeNodeRef parent = node.Parent();
    if (!parent && m_Tree->Root().get() != &node) return -1;
    const auto found = m_RunsOf.find(parent.get());
    if (found == m_RunsOf.end()) return -1;
    const int child = node.Row();
    const auto firstChild = [this](std::size_t run) { return m_Runs[run].Child; };
    const auto next = std::ranges::upper_bound(found->second, child, {}, firstChild);
    const Run& run = m_Runs[*std::prev(next)];
    return run.Row + child - run.Child;
}

int OpenRows::Find(int from, QStringView beginning) const
{
    const int count = Count();
    if (count == 0) return -1;
    const int start = std::clamp(from, 0, count) % count;
    const NameParts::Wanted parts(beginning);
    const auto findIn = [&](int first, int last) {
        for (const Run& run : m_Runs) {
            const int from = std::max(0, first - run.Row), end = std::min(run.Count, last - run.Row);
            if (const int at = FindIn(run, from, end, parts, beginning); at >= 0) return run.Row + at;
        }
        return -1;
    };
    const int found = findIn(start, count);
    return found >= 0 ? found : findIn(0, start);
}

int OpenRows::FindIn(const Run& run, int from, int end, const NameParts::Wanted& parts, QStringView beginning) const
{
    for (int next = from; next < end;) {
        NameParts::Rows rows = {run.Child + next, run.Child + end};
        if (run.Parent) rows = run.Parent->NextChildren(rows.First, parts);
        next = std::min(rows.End - run.Child, end);
        for (int at = rows.First - run.Child; at < next; ++at)
            if (NodeOf(run, at)->TextView().startsWith(beginning, Qt::CaseInsensitive)) return at;
    }
    return -1;
}

TreeNode* OpenRows::NodeOf(const Run& run, int at) const
{
    if (!run.Parent) return m_Tree->Root().get();
    return run.Parent->Children()[static_cast<std::size_t>(run.Child + at)].get();
}

void OpenRows::Build() const
{
    m_IsBuilt = true;
    m_Count = 0;
    m_Runs.clear();
    m_RunsOf.clear();
    const TreeNodeRef root = m_Tree ? m_Tree->Root() : TreeNodeRef();
    if (!root) return;
    AddRun(nullptr, 0, 1);
    if (IsOpen(*root)) AddChildren(*root, OpenByParent());
}

OpenRows::OpenBelow OpenRows::OpenByParent() const
{
    OpenBelow open;
    for (const TreeNode* node : m_Open) open[node->Parent().get()].push_back(node);
    for (auto& [parent, nodes] : open) std::ranges::sort(nodes, {}, &TreeNode::Row);
    return open;
}

void OpenRows::AddChildren(const TreeNode& parent, const OpenBelow& open) const
{
    int next = 0;
    if (const auto found = open.find(&parent); found != open.end()) {
        for (const TreeNode* node : found->second) {
            const int row = node->Row();
            AddRun(&parent, next, row + 1 - next);
            AddChildren(*node, open);
            next = row + 1;
        }
    }
    AddRun(&parent, next, parent.ChildCount() - next);
}

void OpenRows::AddRun(const TreeNode* parent, int child, int count) const
{
    if (count == 0) return;
    m_RunsOf[parent].push_back(m_Runs.size());
    m_Runs.push_back({m_Count, parent, child, count});
    m_Count += count;
}
