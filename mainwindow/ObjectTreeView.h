#pragma once

#include "core/TreeNode.h"

#include <QTreeView>

/// The object tree as the operator works on it: tells what the mouse and the keyboard did to nodes; selecting from code
/// tells nothing.
class ObjectTreeView : public QTreeView
{
    Q_OBJECT

public:
    explicit ObjectTreeView(QWidget* parent = nullptr);

    TreeNodeRef SelectedNode() const;
    /// Selects the node and scrolls to it, its ancestors expanded. None, or a node that left the tree: nothing happens.
    void SelectNode(const TreeNodeRef& node);

Q_SIGNALS:
    /// A button was pressed anywhere on the tree.
    void MouseDown(Qt::MouseButton button);
    /// After MouseDown, when the press hit a node; `position` is on the screen.
    void NodeClick(const TreeNodeRef& node, const QPoint& position);
    /// The keyboard moved the selection to a node, or acts on it.
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
    QItemSelectionModel::SelectionFlags selectionCommand(const QModelIndex& index, const QEvent* event) const override;

private:
    /// Says the whole name where the pane is too narrow for it.
    void ShowToolTip(const QHelpEvent& event);
    TreeNodeRef NodeOf(const QModelIndex& index) const;
    TreeNodeRef NodeUnder(const QPoint& position) const;
};
