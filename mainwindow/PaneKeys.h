#pragma once

#include <QKeySequence>
#include <QObject>

class QMdiArea;
class QWidget;

/// F6 and Shift+F6 move the focus from pane to pane: tree, active child window, mark of errors, log. Tab stays inside a
/// child window. When the last child window closes, the tree gets the focus. Alt+- opens the active child window's system
/// menu.
class PaneKeys : public QObject
{
    Q_OBJECT

public:
    PaneKeys(QWidget* mainWindow, QWidget* tree, QMdiArea* children, QWidget* errors, QWidget* log);

private:
    void AddKey(const QKeySequence& key, int step);
    void Move(int step);
    void ShowSystemMenu();
    void CatchLostFocus();
    /// The control of the pane that takes the focus; null when the pane has none.
    QWidget* ControlOf(QWidget* pane) const;
    QWidget* ControlOfActiveChild() const;

    QWidget* m_MainWindow;
    QMdiArea* m_Children;
    QList<QWidget*> m_Panes;
};
