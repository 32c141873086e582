#include "mainwindow/LargeTreeView.h"

#include "mainwindow/SpokenTree.h"

#include <QPainter>
#include <QScrollBar>

#include <algorithm>

namespace {

TreeNode& NodeOf(const QModelIndex& index)
{
    return *static_cast<TreeNode*>(index.internalPointer());
}

} // namespace

LargeTreeView::LargeTreeView(QWidget* parent)
    : QAbstractItemView(parent)
{
    setSelectionMode(SingleSelection);
    setSelectionBehavior(SelectRows);
    SpokenTree::Announce();
}

void LargeTreeView::setModel(QAbstractItemModel* model)
{
    // Knows of the tree's changes before the view does.
    m_Rows = std::make_unique<OpenRows>(*static_cast<ObjectTreeModel*>(model));
    QAbstractItemView::setModel(model);
    connect(model, &QAbstractItemModel::rowsRemoved, this, &LargeTreeView::Relay);
    Relay();
}

void LargeTreeView::reset()
{
    QAbstractItemView::reset();
    Relay();
}

void LargeTreeView::rowsInserted(const QModelIndex& parent, int first, int last)
{
    QAbstractItemView::rowsInserted(parent, first, last);
    Relay();
}

/// Rows or their places are not what they were.
void LargeTreeView::Relay()
{
    updateGeometries();
    viewport()->update();
}

void LargeTreeView::doItemsLayout()
{
    m_RowHeight = 0; // font or style may have changed
    QAbstractItemView::doItemsLayout();
}

bool LargeTreeView::IsExpanded(const QModelIndex& index) const
{
    return index.isValid() && m_Rows->IsOpen(NodeOf(index));
}

void LargeTreeView::Expand(const QModelIndex& index)
{
    if (!index.isValid() || IsItem(NodeOf(index)) || IsExpanded(index)) return;
    m_Rows->Open(NodeOf(index));
    Relay();
    TellExpanded(index, true);
}

void LargeTreeView::Collapse(const QModelIndex& index)
{
    if (!IsExpanded(index)) return;
    m_Rows->Close(NodeOf(index));
    Relay();
    TellExpanded(index, false);
}

void LargeTreeView::ExpandAllBelow(const QModelIndex& index)
{
    Expand(index);
    std::vector<TreeNode*> nodes = {&NodeOf(index)};
    for (std::size_t at = 0; at < nodes.size(); ++at) {
        for (const TreeNodeRef& child : nodes[at]->Children()) {
            if (IsItem(*child)) continue;
            m_Rows->Open(*child);
            nodes.push_back(child.get());
        }
    }
    Relay();
}

void LargeTreeView::Toggle(const QModelIndex& index)
{
    if (IsExpanded(index)) Collapse(index);
    else Expand(index);
}

int LargeTreeView::Indentation() const
{
    return style()->pixelMetric(QStyle::PM_TreeViewIndentation, nullptr, this);
}

int LargeTreeView::RowCount() const
{
    return m_Rows ? m_Rows->Count() : 0;
}

int LargeTreeView::RowOf(const QModelIndex& index) const
{
    return index.isValid() ? m_Rows->RowOf(NodeOf(index)) : -1;
}

QModelIndex LargeTreeView::IndexOfRow(int row) const
{
    TreeNode* const node = m_Rows ? m_Rows->NodeAt(row) : nullptr;
    return node ? Tree().IndexOf(TreeNodeRef(node)) : QModelIndex();
}

int LargeTreeView::RowAround(const QModelIndex& index) const
{
    int row = -1;
    for (QModelIndex at = index; at.isValid() && row < 0; at = at.parent()) row = RowOf(at);
    return row;
}

// Places

int LargeTreeView::RowHeight() const
{
    if (m_RowHeight == 0 && RowCount() > 0) m_RowHeight = std::max(1, sizeHintForIndex(IndexOfRow(0)).height());
    return std::max(1, m_RowHeight);
}

int LargeTreeView::FirstRow() const
{
    return verticalScrollBar()->value();
}

/// Those that are seen as a whole.
int LargeTreeView::RowsOnPage() const
{
    return std::max(1, viewport()->height() / RowHeight());
}

int LargeTreeView::verticalOffset() const
{
    return FirstRow() * RowHeight();
}

QRect LargeTreeView::Mirrored(const QRect& rect) const
{
    return QStyle::visualRect(layoutDirection(), viewport()->rect(), rect);
}

QRect LargeTreeView::RowRect(int row) const
{
    return {0, (row - FirstRow()) * RowHeight(), viewport()->width(), RowHeight()};
}

QRect LargeTreeView::BranchesRect(int row, const QModelIndex& index) const
{
    int depth = 1;
    for (QModelIndex above = index.parent(); above.isValid(); above = above.parent()) ++depth;
    QRect rect = RowRect(row);
    rect.setWidth(depth * Indentation());
    return Mirrored(rect);
}

QRect LargeTreeView::visualRect(const QModelIndex& index) const
{
    const int row = RowOf(index);
    if (row < 0) return {};
    QRect rect = RowRect(row);
    const int branches = BranchesRect(row, index).width();
    rect.setLeft(std::min(branches, rect.right() + 1));
    return Mirrored(rect);
}

QModelIndex LargeTreeView::indexAt(const QPoint& place) const
{
    return place.y() < 0 ? QModelIndex() : IndexOfRow(FirstRow() + place.y() / RowHeight());
}

QModelIndex LargeTreeView::BranchAt(const QPoint& place) const
{
    const QModelIndex index = indexAt(place);
    if (!index.isValid() || !model()->hasChildren(index)) return {};
    QRect own = Mirrored(BranchesRect(RowOf(index), index));
    own.setLeft(own.right() + 1 - Indentation());
    return Mirrored(own).contains(place) ? index : QModelIndex();
}

void LargeTreeView::updateGeometries()
{
    const int page = RowsOnPage();
    verticalScrollBar()->setSingleStep(1);
    verticalScrollBar()->setPageStep(page);
    verticalScrollBar()->setRange(0, std::max(0, RowCount() - page));
    QAbstractItemView::updateGeometries();
}

void LargeTreeView::scrollTo(const QModelIndex& index, ScrollHint hint)
{
    if (!index.isValid()) return;
    for (QModelIndex above = index.parent(); above.isValid() && m_OpensWhenScrolling; above = above.parent())
        Expand(above);
    const int row = RowOf(index);
    if (row < 0) return;
    const int last = row - RowsOnPage() + 1; // so far the page may be scrolled up
    const auto place = [&] {
        switch (hint) {
        case PositionAtTop: return row;
        case PositionAtBottom: return last;
        case PositionAtCenter: return (row + last) / 2;
        case EnsureVisible: break;
        }
        return std::clamp(FirstRow(), last, row);
    };
    verticalScrollBar()->setValue(place());
}

// Picture

void LargeTreeView::paintEvent(QPaintEvent* event)
{
    if (RowCount() == 0) return;
    QPainter painter(viewport());
    QStyleOptionViewItem option;
    initViewItemOption(&option);
    option.viewItemPosition = QStyleOptionViewItem::OnlyOne;
    const int last = std::min(RowCount() - 1, FirstRow() + event->rect().bottom() / RowHeight());
    for (int row = FirstRow() + event->rect().top() / RowHeight(); row <= last; ++row) {
        option.rect = RowRect(row);
        DrawRow(&painter, option, IndexOfRow(row));
    }
}

/// The branches' background is as the style wants it for a row; the name's is drawn with the name, over the whole rest.
void LargeTreeView::DrawRow(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const
{
    QStyleOptionViewItem row = option;
    row.index = index;
    row.state.setFlag(QStyle::State_Selected, selectionModel()->isSelected(index));
    row.state.setFlag(QStyle::State_HasFocus, index == currentIndex() && hasFocus());
    row.state.setFlag(QStyle::State_MouseOver, index == m_Hovered);
    QStyleOptionViewItem branches = row;
    branches.rect = BranchesRect(RowOf(index), index);
    row.rect = visualRect(index);
    QStyleOptionViewItem rest = row;
    rest.state.setFlag(QStyle::State_Selected, false);
    for (const QStyleOptionViewItem* background : {&branches, &rest})
        style()->drawPrimitive(QStyle::PE_PanelItemViewRow, background, painter, this);
    DrawBranches(painter, branches, index);
    row.showDecorationSelected = true;
    itemDelegateForIndex(index)->paint(painter, row, index);
}

/// From the node's own branch outwards, the lines that lead from the nodes above it to what follows them.
void LargeTreeView::DrawBranches(QPainter* painter, QStyleOptionViewItem option, const QModelIndex& index) const
{
    const bool isHovered = option.state.testFlag(QStyle::State_MouseOver) && option.showDecorationSelected;
    const QStyle::State always =
        (option.state & (QStyle::State_Enabled | QStyle::State_Active | QStyle::State_Selected)) |
        (isHovered ? QStyle::State_MouseOver : QStyle::State_None);
    const auto sibling = [&](const QModelIndex& node) {
        return node.row() + 1 < model()->rowCount(node.parent()) ? QStyle::State_Sibling : QStyle::State_None;
    };
    const QRect branches = Mirrored(option.rect);
    const int width = Indentation();
    option.state = always | QStyle::State_Item | sibling(index);
    if (model()->hasChildren(index)) option.state |= QStyle::State_Children;
    if (IsExpanded(index)) option.state |= QStyle::State_Open;
    QModelIndex node = index;
    for (int left = branches.right() + 1 - width; left >= branches.left(); left -= width) {
        option.rect = Mirrored({left, branches.top(), width, branches.height()});
        style()->drawPrimitive(QStyle::PE_IndicatorBranch, &option, painter, this);
        node = node.parent();
        option.state = always | sibling(node);
    }
}

// Selection

void LargeTreeView::setSelection(const QRect& rect, QItemSelectionModel::SelectionFlags command)
{
    const QModelIndex index = indexAt(rect.bottomRight());
    if (index.isValid()) selectionModel()->select(index, command);
    else if (command.testFlag(QItemSelectionModel::Clear)) selectionModel()->clear();
}

QRegion LargeTreeView::visualRegionForSelection(const QItemSelection& selection) const
{
    QRegion region;
    for (int row = FirstRow(); row <= FirstRow() + RowsOnPage(); ++row)
        if (selection.contains(IndexOfRow(row))) region += RowRect(row);
    return region;
}

void LargeTreeView::currentChanged(const QModelIndex& current, const QModelIndex& previous)
{
    QAbstractItemView::currentChanged(current, previous);
    // The base draws the names again; their rows' branches may be part of the selection.
    for (const QModelIndex& index : {current, previous})
        if (const int row = RowOf(index); row >= 0) viewport()->update(RowRect(row));
    if (current.isValid() && hasFocus()) SpokenTree::Tell(*this, QAccessible::Focus, RowOf(current));
}

void LargeTreeView::TellExpanded(const QModelIndex& index, bool isExpanded)
{
    SpokenTree::TellExpanded(*this, RowOf(index), isExpanded);
}
