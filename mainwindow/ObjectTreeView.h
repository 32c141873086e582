#pragma once

#include "mainwindow/LargeTreeView.h"

#include <QElapsedTimer>
#include <QTimer>

#include <functional>

/// The object tree as the operator uses it: signals what mouse and keyboard do to nodes; selecting from code signals
/// nothing.
class ObjectTreeView : public LargeTreeView
{
    Q_OBJECT

public:
    explicit ObjectTreeView(QWidget* parent = nullptr);

    TreeNodeRef SelectedNode() const;
    /// Selects the node, expands its ancestors and scrolls to it. Does nothing for null or a node that has left the
    /// tree.
    void SelectNode(const TreeNodeRef& node);
    /// Dims all nodes; the selection stays as it is.
    void SetDimmed(bool dimmed);
    bool IsDimmed() const { return m_Dimmed; }
    /// The same as an operator's key does it.
    void GoTo(const TreeNodeRef& node);
    /// Shows the node without selecting it, until the selection moves; null marks none. Expands its ancestors and
    /// scrolls to it.
    void MarkNode(const TreeNodeRef& node);
    TreeNodeRef MarkedNode() const { return NodeOf(m_Marked); }
    /// What a tool tip says of a node besides its name; asked for when the mouse has rested on it for 0.7 s.
    void SetSayOfNode(std::function<QString(const TreeNode&)> say) { m_SayOfNode = std::move(say); }

Q_SIGNALS:
    /// A button was pressed anywhere on the tree.
    void MouseDown(Qt::MouseButton button);
    /// Follows MouseDown when the press was on a node; `position` is on the screen.
    void NodeClick(const TreeNodeRef& node, const QPoint& position);
    /// The keyboard has moved the selection to a node or acts on it.
    void NodeKey(const TreeNodeRef& node);
    /// A double-click anywhere on the tree, or Enter on a node.
    void DblClick();
    /// The menu key was pressed on a node.
    void NodeMenuKey(const TreeNodeRef& node, const QPoint& position);

protected:
    void mousePressEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;
    bool viewportEvent(QEvent* event) override;
    void currentChanged(const QModelIndex& current, const QModelIndex& previous) override;
    void DrawRow(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override;
    QItemSelectionModel::SelectionFlags selectionCommand(const QModelIndex& index, const QEvent* event) const override;

private:
    /// Shows the whole name when the pane is too narrow for it, and once the mouse has rested what there is to say.
    void ToolTipAsked(const QPoint& place);
    void ShowToolTip(const QString& saidOfNode);
    void SayOfNode();
    void DragPressed();
    TreeNodeRef NodeOf(const QModelIndex& index) const;
    TreeNodeRef NodeUnder(const QPoint& position) const;

    bool m_Dimmed = false;
    QPersistentModelIndex m_Marked;
    std::function<QString(const TreeNode&)> m_SayOfNode = [](const TreeNode&) { return QString(); };
    QPoint m_PressedAt;
    TreeNodeRef m_Pressed; ///< the item that may be dragged
    QElapsedTimer m_SinceMoved;
    QTimer m_HasRested;
    QPoint m_ToolTipPlace;
};
