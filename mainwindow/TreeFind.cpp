#include "mainwindow/TreeFind.h"

#include "core/FindBar.h"
#include "mainwindow/ObjectTreeView.h"

TreeFind::TreeFind(ObjectTreeView* tree, const ObjectTreeModel& nodes, FindBar* bar)
    : m_Tree(tree)
    , m_Bar(bar)
    , m_Search(nodes)
{
    // A tree may change a thousand times before the operator sees it.
    m_TreeHasChanged.setSingleShot(true);
    QObject::connect(&m_Search, &NodeSearch::TreeChanged, &m_TreeHasChanged, qOverload<>(&QTimer::start));
    QObject::connect(&m_TreeHasChanged, &QTimer::timeout, bar, [this] { SearchAgain(); });
    QObject::connect(&m_Search, &NodeSearch::FirstFound, bar, [this] { SearchFoundFirst(); });
    QObject::connect(&m_Search, &NodeSearch::Done, bar, [this] { SearchDone(); });
}

QWidget* TreeFind::Control()
{
    return m_Tree;
}

void TreeFind::Leave()
{
    m_IsTyping = false;
    m_WaitingSteps.clear();
    m_Tree->MarkNode({});
}

FindResult TreeFind::Typed(const QString& text)
{
    m_WaitingSteps.clear();
    const TreeNodeRef selected = m_Tree->SelectedNode();
    m_Search.Search(text, selected);
    m_IsTyping = !m_Search.IsDone();
    if (m_IsTyping) {
        m_Tree->MarkNode(m_Search.First());
        return SoFar();
    }
    const qsizetype hit = m_Search.AtOrAfter(selected);
    const qsizetype count = m_Search.Count();
    m_Tree->MarkNode(count > 0 ? m_Search.Hit(hit % count) : TreeNodeRef());
    return ResultFor(hit);
}

FindResult TreeFind::Find(const QString& text, bool backward)
{
    m_Search.Search(text, m_Tree->SelectedNode());
    if (m_Search.IsDone()) return GoToNext(backward);
    m_IsTyping = false;
    const TreeNodeRef marked = m_Tree->MarkedNode();
    if (marked && !backward) m_Tree->GoTo(marked);
    else m_WaitingSteps.append(backward);
    return SoFar();
}

FindResult TreeFind::GoToNext(bool backward)
{
    const qsizetype count = m_Search.Count();
    const qsizetype hit = NextHit(backward);
    if (count > 0) m_Tree->GoTo(m_Search.Hit((hit + count) % count));
    return ResultFor(hit);
}

qsizetype TreeFind::NextHit(bool backward)
{
    const TreeNodeRef selected = m_Tree->SelectedNode();
    const qsizetype hit = m_Search.AtOrAfter(selected);
    if (backward) return hit - 1;
    if (const TreeNodeRef marked = m_Tree->MarkedNode(); marked && marked != selected)
        return m_Search.AtOrAfter(marked);
    return hit < m_Search.Count() && m_Search.Hit(hit) == selected ? hit + 1 : hit;
}

FindResult TreeFind::ResultFor(qsizetype hit) const
{
    using Way = FindResult::Way;
    const qsizetype count = m_Search.Count();
    if (count == 0) return {};
    const Way way = hit < 0 ? Way::FromEnd : hit < count ? Way::Straight : Way::FromStart;
    return {way, QStringLiteral("%1 of %2").arg((hit + count) % count + 1).arg(count)};
}

FindResult TreeFind::Place() const
{
    const TreeNodeRef marked = m_Tree->MarkedNode();
    const TreeNodeRef at = marked ? marked : m_Tree->SelectedNode();
    const qsizetype hit = m_Search.AtOrAfter(at);
    const qsizetype count = m_Search.Count();
    if (count == 0 || (hit < count && m_Search.Hit(hit) == at)) return ResultFor(hit);
    return {FindResult::Way::Straight, QStringLiteral("%1 found").arg(count)};
}

FindResult TreeFind::SoFar() const
{
    const qsizetype count = m_Search.Count();
    return {FindResult::Way::Straight,
            count > 0 ? QStringLiteral("%1 so far").arg(count) : QStringLiteral("Searching")};
}

void TreeFind::SearchFoundFirst()
{
    if (!m_IsTyping) return;
    m_Tree->MarkNode(m_Search.First());
    m_Bar->Say(SoFar());
}

void TreeFind::SearchDone()
{
    const bool isFirstMarked = std::exchange(m_IsTyping, false) && m_Tree->MarkedNode();
    const QList<bool> steps = std::exchange(m_WaitingSteps, {});
    m_Bar->Say(isFirstMarked ? ResultFor(m_Search.AtOrAfter(m_Tree->SelectedNode())) : Place());
    for (const bool backward : steps) m_Bar->Tell(GoToNext(backward));
}

void TreeFind::SearchAgain()
{
    const bool isWanted = m_Bar->isVisible() || !m_WaitingSteps.isEmpty();
    if (!isWanted || m_Bar->Text().isEmpty()) return;
    m_Search.Search(m_Bar->Text(), m_Tree->SelectedNode());
    if (m_Search.IsDone()) SearchDone();
}
