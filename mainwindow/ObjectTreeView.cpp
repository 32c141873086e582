#include "mainwindow/ObjectTreeView.h"

#include "core/CellLook.h"
#include "core/DisplayText.h"
#include "core/ObjectTreeModel.h"

#include <QContextMenuEvent>
#include <QKeyEvent>
#include <QStyledItemDelegate>
#include <QToolTip>

namespace {

class NodeDelegate : public QStyledItemDelegate
{
public:
    using QStyledItemDelegate::QStyledItemDelegate;

protected:
    void initStyleOption(QStyleOptionViewItem* option, const QModelIndex& index) const override
    {
        QStyledItemDelegate::initStyleOption(option, index);
        if (static_cast<const ObjectTreeView*>(parent())->IsDimmed()) CellLook::Dim(*option);
    }
};

} // namespace

ObjectTreeView::ObjectTreeView(QWidget* parent)
    : QTreeView(parent)
{
    setItemDelegate(new NodeDelegate(this));
    setHeaderHidden(true);
    setUniformRowHeights(true);
    setEditTriggers(NoEditTriggers);
    setExpandsOnDoubleClick(false); // A double-click opens the node's window.
}

TreeNodeRef ObjectTreeView::SelectedNode() const
{
    return NodeOf(currentIndex());
}

void ObjectTreeView::SelectNode(const TreeNodeRef& node)
{
    const QModelIndex index = static_cast<ObjectTreeModel*>(model())->IndexOf(node);
    if (!index.isValid()) return;
    setCurrentIndex(index);
    scrollTo(index);
}

void ObjectTreeView::SetDimmed(bool dimmed)
{
    if (std::exchange(m_Dimmed, dimmed) != dimmed) viewport()->update();
}

void ObjectTreeView::mousePressEvent(QMouseEvent* event)
{
    Q_EMIT MouseDown(event->button());
    QTreeView::mousePressEvent(event);
    if (const TreeNodeRef node = NodeUnder(event->position().toPoint())) {
        Q_EMIT NodeClick(node, event->globalPosition().toPoint());
    }
}

void ObjectTreeView::mouseDoubleClickEvent(QMouseEvent* event)
{
    // The second press of a double-click counts like the first: it may be on another node.
    mousePressEvent(event);
    if (event->button() == Qt::LeftButton) Q_EMIT DblClick();
}

void ObjectTreeView::mouseMoveEvent(QMouseEvent* event)
{
    // Dragging would move the selection away from the node that was clicked.
    if (event->buttons() == Qt::NoButton) QTreeView::mouseMoveEvent(event);
}

void ObjectTreeView::keyPressEvent(QKeyEvent* event)
{
    const QPersistentModelIndex before = currentIndex();
    const bool isEnter = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
    if (!isEnter) QTreeView::keyPressEvent(event);
    const TreeNodeRef node = SelectedNode();
    if (!node || (!isEnter && before == currentIndex())) return;
    Q_EMIT NodeKey(node);
    if (isEnter) Q_EMIT DblClick();
}

void ObjectTreeView::contextMenuEvent(QContextMenuEvent* event)
{
    event->accept();
    const TreeNodeRef node = SelectedNode();
    // The mouse press has already shown it.
    if (event->reason() == QContextMenuEvent::Mouse || !node) return;
    scrollTo(currentIndex());
    Q_EMIT NodeMenuKey(node, viewport()->mapToGlobal(visualRect(currentIndex()).center()));
}

bool ObjectTreeView::viewportEvent(QEvent* event)
{
    if (event->type() != QEvent::ToolTip) return QTreeView::viewportEvent(event);
    ShowToolTip(static_cast<QHelpEvent&>(*event));
    return true;
}

void ObjectTreeView::ShowToolTip(const QHelpEvent& event)
{
    const QModelIndex index = indexAt(event.pos());
    const bool isShortened = index.isValid() && sizeHintForIndex(index).width() > visualRect(index).width();
    QToolTip::showText(event.globalPos(), isShortened ? ToolTipHtml(NodeOf(index)->Text()) : QString(), this);
}

QItemSelectionModel::SelectionFlags ObjectTreeView::selectionCommand(const QModelIndex& index, const QEvent*) const
{
    // The current node is always selected; Ctrl+click does not deselect it.
    return index.isValid() ? QItemSelectionModel::ClearAndSelect : QItemSelectionModel::NoUpdate;
}

TreeNodeRef ObjectTreeView::NodeOf(const QModelIndex& index) const
{
    return index.isValid() ? static_cast<ObjectTreeModel*>(model())->NodeAt(index) : TreeNodeRef();
}

TreeNodeRef ObjectTreeView::NodeUnder(const QPoint& position) const
{
    const QModelIndex index = indexAt(position);
    // Only the box itself: the space to its left belongs to the row, and a press there selects the row.
    const int left = visualRect(index).left();
    const bool isOnExpander = position.x() < left && position.x() >= left - indentation();
    return isOnExpander && model()->hasChildren(index) ? TreeNodeRef() : NodeOf(index);
}
