#pragma once

#include "core/LogPane.h"
#include "core/MainWindow.h"
#include "core/ObjectTreeModel.h"

#include <QMdiArea>
#include <QStringList>
#include <QWidget>

/// Stands for the main window in tests of a single window: a real log pane, tree model and child area, without menus.
/// Announces itself to modMain while it lives and resets the application-wide state at both ends.
class FakeMainWindow : public MainWindow
{
public:
    explicit FakeMainWindow(ConsoleServices& services);
    ~FakeMainWindow() override;

    QWidget* Widget() override { return &m_Widget; }
    QMdiArea& ChildArea() override { return *m_Area; }
    LogPane& Log() override { return *m_Log; }
    ObjectTreeModel& Tree() override { return m_Tree; }
    TreeNodeRef SelectedNode() const override { return m_Selected; }
    void SelectNode(const TreeNodeRef& node) override { m_Selected = node; }
    void SetStatusText(const QString& text) override { m_StatusTexts << text; }
    void PaintProgress() override
    {
        ++m_Paints;
        m_PaintedStatus = Status();
    }
    void RefreshStatusBar() override { ++m_StatusBarRefreshes; }
    void RefreshTlbar() override {}
    void RefreshMenuBar() override {}

    /// Builds the engine node with a controller "PLC1", its items, and the history node, and returns the engine node.
    TreeNodeRef BuildTree(const QStringList& itemNames);
    QString Status() const { return m_StatusTexts.value(m_StatusTexts.size() - 1); }

    QStringList m_StatusTexts;
    int m_Paints = 0;
    QString m_PaintedStatus;
    int m_StatusBarRefreshes = 0;

private:
    QWidget m_Widget;
    QMdiArea* m_Area;
    LogPane* m_Log;
    ObjectTreeModel m_Tree;
    TreeNodeRef m_Selected;
};
