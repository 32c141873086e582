#include "core/NodeSearch.h"

#include "core/ObjectTreeModel.h"

#include <QVarLengthArray>

#include <algorithm>
#include <chrono>

using namespace std::chrono_literals;

namespace {

using Clock = std::chrono::steady_clock;

/// For so long the event loop is held.
constexpr auto Turn = 4ms;
/// Names between two looks at the clock, well below a tenth of that.
constexpr int NamesAtOnce = 1000;

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

NodeCursor::NodeCursor(TreeNode& node)
    : m_Node(&node)
{
    const TreeNode* below = &node;
    for (TreeNodeRef parent = node.Parent(); parent; below = parent.get(), parent = parent->Parent())
        m_Above.push_back({parent.get(), below->Row(), 0});
    std::reverse(m_Above.begin(), m_Above.end());
}

void NodeCursor::GoOn(const NameParts::Wanted& text, const TreeNode& notPast)
{
    if (m_Node->ChildCount() > 0) m_Above.push_back({m_Node, -1, 0});
    m_Node = nullptr;
    while (!m_Node && !m_Above.empty()) {
        Level& level = m_Above.back();
        if (++level.Row >= level.Until) LeaveOut(level, text, notPast);
        if (level.Row < level.Parent->ChildCount())
            m_Node = level.Parent->Children()[static_cast<std::size_t>(level.Row)].get();
        else m_Above.pop_back();
    }
}

void NodeCursor::LeaveOut(Level& level, const NameParts::Wanted& text, const TreeNode& notPast)
{
    const int from = level.Row;
    const NameParts::Rows rows = level.Parent->NextChildren(from, text);
    level.Row = rows.First;
    level.Until = rows.End;
    if (rows.First == from || notPast.Parent().get() != level.Parent) return;
    if (const int row = notPast.Row(); row >= from && row < rows.First) {
        level.Row = row;
        level.Until = row + 1;
    }
}

NodeSearch::NodeSearch(const ObjectTreeModel& tree)
    : m_Tree(tree)
    , m_Text(QString(), Qt::CaseInsensitive)
    , m_Parts(QString())
{
    // The model keeps removed nodes alive until it has told of it.
    connect(&tree, &ObjectTreeModel::rowsInserted, this, &NodeSearch::Forget);
    connect(&tree, &ObjectTreeModel::rowsRemoved, this, &NodeSearch::Forget);
    connect(&tree, &ObjectTreeModel::modelReset, this, &NodeSearch::Forget);
    connect(&m_Turn, &QTimer::timeout, this, &NodeSearch::GoOn);
}

void NodeSearch::Forget()
{
    m_Turn.stop();
    m_IsOfThisTree = false;
    m_Hits.clear();
    m_First = nullptr;
    Q_EMIT TreeChanged();
}

void NodeSearch::Search(const QString& text, const TreeNodeRef& from)
{
    if (std::exchange(m_IsOfThisTree, true) && text == m_Text.pattern()) return;
    m_Text.setPattern(text);
    m_Parts = NameParts::Wanted(text);
    m_Hits.clear();
    m_First = nullptr;
    m_HitsToEnd.reset();
    const TreeNodeRef first = from && from->IsInTree() ? from : m_Tree.Root();
    m_From = first.get();
    m_IsDone = !first || text.isEmpty();
    if (!m_IsDone) {
        m_At = NodeCursor(*first);
        LookAtSome();
    }
    if (m_IsDone) m_Turn.stop();
    else m_Turn.start(0);
}

void NodeSearch::GoOn()
{
    const bool hadFirst = m_First;
    LookAtSome();
    if (m_IsDone) m_Turn.stop();
    if (m_First && !hadFirst) Q_EMIT FirstFound();
    if (m_IsDone) Q_EMIT Done();
}

void NodeSearch::LookAtSome()
{
    const auto until = Clock::now() + Turn;
    do {
        for (int i = 0; i < NamesAtOnce && !m_IsDone; ++i) {
            if (m_Text.indexIn(m_At.Node()->TextView()) >= 0) NoteHit();
            m_At.GoOn(m_Parts, *m_From);
            if (!m_At.Node()) PassEnd();
            if (m_HitsToEnd && m_At.Node() == m_From) SortHits();
        }
    } while (!m_IsDone && Clock::now() < until);
}

void NodeSearch::NoteHit()
{
    m_Hits.push_back(m_At.Node());
    if (!m_First) m_First = m_At.Node();
}

void NodeSearch::PassEnd()
{
    m_HitsToEnd = m_Hits.size();
    m_At = NodeCursor(*m_Tree.Root());
}

/// All names have been looked at: from here on the hits stand in the tree's order.
void NodeSearch::SortHits()
{
    std::rotate(m_Hits.begin(), m_Hits.begin() + static_cast<qsizetype>(*m_HitsToEnd), m_Hits.end());
    m_IsDone = true;
}

qsizetype NodeSearch::AtOrAfter(const TreeNodeRef& node) const
{
    if (!node) return 0;
    const auto isBefore = [](const TreeNode* hit, const Path& path) { return PathOf(*hit) < path; };
    return std::lower_bound(m_Hits.begin(), m_Hits.end(), PathOf(*node), isBefore) - m_Hits.begin();
}
