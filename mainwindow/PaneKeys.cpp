#include "mainwindow/PaneKeys.h"

#include <QApplication>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QShortcut>

PaneKeys::PaneKeys(QWidget* mainWindow, QWidget* tree, QMdiArea* children, QWidget* errors, QWidget* log)
    : QObject(mainWindow)
    , m_MainWindow(mainWindow)
    , m_Children(children)
    , m_Panes{tree, children, errors, log}
{
    AddKey(Qt::Key_F6, 1);
    AddKey(Qt::SHIFT | Qt::Key_F6, -1);
    const auto* systemMenu = new QShortcut(Qt::ALT | Qt::Key_Minus, mainWindow);
    connect(systemMenu, &QShortcut::activated, this, &PaneKeys::ShowSystemMenu);
    connect(qApp, &QApplication::focusChanged, this, &PaneKeys::CatchLostFocus, Qt::QueuedConnection);
}

void PaneKeys::AddKey(const QKeySequence& key, int step)
{
    const auto* shortcut = new QShortcut(key, m_MainWindow);
    connect(shortcut, &QShortcut::activated, this, [this, step] { Move(step); });
}

void PaneKeys::Move(int step)
{
    const auto holdsFocus = [](const QWidget* pane) {
        const QWidget* focus = QApplication::focusWidget();
        return focus && (pane == focus || pane->isAncestorOf(focus));
    };
    const auto count = m_Panes.size();
    auto pane = std::find_if(m_Panes.begin(), m_Panes.end(), holdsFocus) - m_Panes.begin();
    if (pane == count) pane = step > 0 ? -1 : count;
    for (qsizetype tried = 0; tried < count; ++tried) {
        pane = (pane + step + count) % count;
        if (QWidget* control = ControlOf(m_Panes[pane])) return control->setFocus(Qt::ShortcutFocusReason);
    }
}

/// From it the active window is moved, resized, maximised and minimised by keys.
void PaneKeys::ShowSystemMenu()
{
    QMdiSubWindow* child = m_Children->currentSubWindow();
    if (child && child->isVisible()) child->showSystemMenu();
}

void PaneKeys::CatchLostFocus()
{
    const QWidget* focus = QApplication::focusWidget();
    const bool isLost = !focus || focus == m_MainWindow || focus == m_Children || focus == m_Children->viewport();
    if (!isLost || !m_MainWindow->isActiveWindow()) return;
    if (QWidget* control = ControlOfActiveChild()) control->setFocus();
    else Move(1);
}

QWidget* PaneKeys::ControlOf(QWidget* pane) const
{
    if (!pane->isVisible()) return nullptr;
    return pane == m_Children ? ControlOfActiveChild() : pane;
}

/// The one that last had the focus, else the first.
QWidget* PaneKeys::ControlOfActiveChild() const
{
    const QMdiSubWindow* child = m_Children->currentSubWindow();
    if (!child || !child->widget() || !child->isVisible() || child->isMinimized()) return nullptr;
    QWidget* control = child->widget()->focusWidget();
    for (QWidget* next = control ? control : child->widget(); child->isAncestorOf(next);
         next = next->nextInFocusChain())
        if ((next->focusPolicy() & Qt::TabFocus) && next->isEnabled() && next->isVisible()) return next;
    return child->widget();
}
