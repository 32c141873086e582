#pragma once

#include "core/TreeNode.h"

struct ConsoleServices;
class LogPane;
class ObjectTreeModel;
class QMdiArea;
class QWidget;

/// What the windows know about the main window: the tree, the current node, the log pane and the status line.
class MainWindow
{
public:
    explicit MainWindow(ConsoleServices& services)
        : m_Services(services)
    {
    }
    virtual ~MainWindow();

    ConsoleServices& Services() const { return m_Services; }

    /// The node last clicked, or set by a window that changed the tree; may be null.
    TreeNodeRef m_CurrentNode;

    /// Parent for dialogs and message boxes.
    virtual QWidget* Widget() = 0;
    /// Where child windows live.
    virtual QMdiArea& ChildArea() = 0;
    virtual LogPane& Log() = 0;
    virtual ObjectTreeModel& Tree() = 0;
    /// The tree's selected node; selecting from code neither makes a node current nor counts as a mouse hit.
    virtual TreeNodeRef SelectedNode() const = 0;
    virtual void SelectNode(const TreeNodeRef& node) = 0;

    /// Panel 1 of the status bar.
    virtual void SetStatusText(const QString& text) = 0;
    /// Paints the log pane and panel 1 at once, so that they can be seen before a call that blocks.
    virtual void PaintProgress() = 0;
    /// Panels 2 and 3 follow `m_CurrentNode`.
    virtual void RefreshStatusBar() = 0;
    virtual void RefreshTlbar() = 0;
    virtual void RefreshMenuBar() = 0;

private:
    ConsoleServices& m_Services;
};
