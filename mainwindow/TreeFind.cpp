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
    QObject::connect(&m_TreeHasChanged, &QTimer::timeout, bar, [this] { SayPlace(); });
}

QWidget* TreeFind::Control()
{
    return m_Tree;
}

void TreeFind::Leave()
{
    m_Tree->MarkNode({});
}

FindResult TreeFind::Typed(const QString& text)
{
    m_Search.SetText(text);
    const qsizetype hit = m_Search.AtOrAfter(m_Tree->SelectedNode());
    const qsizetype count = m_Search.Count();
    m_Tree->MarkNode(count > 0 ? m_Search.Hit(hit % count) : TreeNodeRef());
    return ResultFor(hit);
}

FindResult TreeFind::Find(const QString& text, bool backward)
{
    m_Search.SetText(text);
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

FindResult TreeFind::ResultFor(qsizetype hit)
{
    using Way = FindResult::Way;
    const qsizetype count = m_Search.Count();
    if (count == 0) return {};
    const Way way = hit < 0 ? Way::FromEnd : hit < count ? Way::Straight : Way::FromStart;
    return {way, QStringLiteral("%1 of %2").arg((hit + count) % count + 1).arg(count)};
}

void TreeFind::SayPlace()
{
    if (!m_Bar->isVisible() || m_Bar->Text().isEmpty()) return;
    m_Search.SetText(m_Bar->Text());
    const TreeNodeRef marked = m_Tree->MarkedNode();
    const TreeNodeRef at = marked ? marked : m_Tree->SelectedNode();
    const qsizetype hit = m_Search.AtOrAfter(at);
    const qsizetype count = m_Search.Count();
    if (count == 0 || (hit < count && m_Search.Hit(hit) == at)) m_Bar->Say(ResultFor(hit));
    else m_Bar->Say({FindResult::Way::Straight, QStringLiteral("%1 found").arg(count)});
}
