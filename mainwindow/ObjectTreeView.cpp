#include "mainwindow/ObjectTreeView.h"

#include "core/CellLook.h"
#include "core/DisplayText.h"
#include "core/ObjectTreeModel.h"

#include <QApplication>
#include <QContextMenuEvent>
#include <QDrag>
#include <QKeyEvent>
#include <QMimeData>
#include <QPainter>
#include <QStyledItemDelegate>
#include <QToolTip>

namespace {

constexpr int RestMs = 700;

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
    : LargeTreeView(parent)
{
    setItemDelegate(new NodeDelegate(this));
    setEditTriggers(NoEditTriggers);
    viewport()->setMouseTracking(true); // To know when the mouse rests.
    m_HasRested.setSingleShot(true);
    connect(&m_HasRested, &QTimer::timeout, this, &ObjectTreeView::SayOfNode);
}

TreeNodeRef ObjectTreeView::SelectedNode() const
{
    return NodeOf(currentIndex());
}

void ObjectTreeView::SelectNode(const TreeNodeRef& node)
{
    const QModelIndex index = Tree().IndexOf(node);
    if (!index.isValid()) return;
    setCurrentIndex(index);
    scrollTo(index);
}

void ObjectTreeView::SetDimmed(bool dimmed)
{
    if (std::exchange(m_Dimmed, dimmed) != dimmed) viewport()->update();
}

void ObjectTreeView::GoTo(const TreeNodeRef& node)
{
    SelectNode(node);
    Q_EMIT NodeKey(node);
}

void ObjectTreeView::MarkNode(const TreeNodeRef& node)
{
    m_Marked = Tree().IndexOf(node);
    if (m_Marked.isValid()) scrollTo(m_Marked);
    viewport()->update();
}

void ObjectTreeView::currentChanged(const QModelIndex& current, const QModelIndex& previous)
{
    if (m_Marked.isValid()) MarkNode({});
    LargeTreeView::currentChanged(current, previous);
}

void ObjectTreeView::DrawRow(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const
{
    if (index != m_Marked) return LargeTreeView::DrawRow(painter, option, index);
    QColor colour = option.palette.color(QPalette::Highlight);
    const QRect box(QPoint(visualRect(index).left(), option.rect.top()), option.rect.bottomRight());
    painter->save();
    painter->setPen(colour);
    colour.setAlphaF(0.3F);
    painter->setBrush(colour);
    painter->drawRect(box.adjusted(0, 0, -1, -1));
    painter->restore();
    LargeTreeView::DrawRow(painter, option, index);
}

void ObjectTreeView::mousePressEvent(QMouseEvent* event)
{
    Q_EMIT MouseDown(event->button());
    LargeTreeView::mousePressEvent(event);
    m_PressedAt = event->position().toPoint();
    m_Pressed = event->button() == Qt::LeftButton ? NodeUnder(m_PressedAt) : TreeNodeRef();
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
    if (event->buttons() == Qt::NoButton) return LargeTreeView::mouseMoveEvent(event);
    const bool isFar =
        (event->position().toPoint() - m_PressedAt).manhattanLength() >= QApplication::startDragDistance();
    if (event->buttons() == Qt::LeftButton && isFar) DragPressed();
}

/// Takes an item's name to another window or program, such as a trend.
void ObjectTreeView::DragPressed()
{
    const TreeNodeRef node = std::exchange(m_Pressed, {});
    if (!node || !IsItem(*node) || !node->IsInTree()) return;
    auto* const drag = new QDrag(this);
    drag->setMimeData(model()->mimeData({Tree().IndexOf(node)}));
    drag->exec(Qt::CopyAction);
}

void ObjectTreeView::keyPressEvent(QKeyEvent* event)
{
    const QPersistentModelIndex before = currentIndex();
    const bool isEnter = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
    if (!isEnter) LargeTreeView::keyPressEvent(event);
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
    switch (event->type()) {
    case QEvent::ToolTip: ToolTipAsked(static_cast<QHelpEvent*>(event)->pos()); return true;
    case QEvent::MouseMove: m_SinceMoved.start(); [[fallthrough]];
    case QEvent::Leave:
    case QEvent::MouseButtonPress:
    case QEvent::Wheel: m_HasRested.stop(); break;
    default: break;
    }
    return LargeTreeView::viewportEvent(event);
}

/// Comes after a rest, but at once while another tip is up.
void ObjectTreeView::ToolTipAsked(const QPoint& place)
{
    m_ToolTipPlace = place;
    const qint64 rested = m_SinceMoved.isValid() ? m_SinceMoved.elapsed() : 0;
    if (rested >= RestMs) return SayOfNode();
    ShowToolTip({});
    m_HasRested.start(static_cast<int>(RestMs - rested));
}

void ObjectTreeView::SayOfNode()
{
    const TreeNodeRef node = NodeOf(indexAt(m_ToolTipPlace));
    ShowToolTip(node ? m_SayOfNode(*node) : QString());
}

void ObjectTreeView::ShowToolTip(const QString& saidOfNode)
{
    const QModelIndex index = indexAt(m_ToolTipPlace);
    const QRect box = visualRect(index);
    QStringList lines = {saidOfNode};
    if (index.isValid() && sizeHintForIndex(index).width() > box.width()) lines.prepend(NodeOf(index)->Text());
    lines.removeAll(QString());
    QToolTip::showText(viewport()->mapToGlobal(m_ToolTipPlace), ToolTipHtml(lines.join(u'\n')), viewport(), box);
}

QItemSelectionModel::SelectionFlags ObjectTreeView::selectionCommand(const QModelIndex& index, const QEvent*) const
{
    // The current node is always selected; Ctrl+click does not deselect it.
    return index.isValid() ? QItemSelectionModel::ClearAndSelect : QItemSelectionModel::NoUpdate;
}

TreeNodeRef ObjectTreeView::NodeOf(const QModelIndex& index) const
{
    return index.isValid() ? Tree().NodeAt(index) : TreeNodeRef();
}

TreeNodeRef ObjectTreeView::NodeUnder(const QPoint& position) const
{
    // Not where the node is opened and closed: the rest of its row belongs to it, and a press there selects it.
    return BranchAt(position).isValid() ? TreeNodeRef() : NodeOf(indexAt(position));
}
