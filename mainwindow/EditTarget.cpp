#include "mainwindow/EditTarget.h"

#include "core/modFields.h"
#include "core/modMain.h"

#include <QApplication>
#include <QFocusEvent>
#include <QLineEdit>

EditTarget::EditTarget(QWidget* mainWindow)
    : QObject(mainWindow)
    , m_MainWindow(mainWindow)
{
    qApp->installEventFilter(this);
    connect(qApp, &QApplication::focusChanged, this, &EditTarget::FocusChanged);
}

void EditTarget::FollowFocus()
{
    if (QWidget* box = EditBoxOf(QApplication::focusWidget())) modMain::ActiveEditBox = box;
}

QWidget* EditTarget::EditBoxOf(QWidget* widget) const
{
    return IsOfConsole(widget) && modMain::IsEditBox(widget) ? widget : nullptr;
}

/// Whether it is in the main window or in one of its dialogs.
bool EditTarget::IsOfConsole(const QWidget* widget) const
{
    while (widget && widget != m_MainWindow) widget = widget->parentWidget();
    return widget;
}

bool EditTarget::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() != QEvent::FocusOut || !watched->isWidgetType()) return false;
    const auto* box = qobject_cast<QLineEdit*>(EditBoxOf(static_cast<QWidget*>(watched)));
    if (!box) return false;
    m_Left = static_cast<QWidget*>(watched);
    m_Selection = {box->selectionStart(), box->selectionLength(), box->cursorPosition() == box->selectionStart()};
    return false;
}

void EditTarget::FocusChanged(QWidget* before, QWidget* now)
{
    auto* box = before && before == m_Left ? qobject_cast<QLineEdit*>(EditBoxOf(before)) : nullptr;
    if (EditBoxOf(now)) {
        // Only one text box at a time shows a selection that the commands would use.
        auto* kept = qobject_cast<QLineEdit*>(modMain::ActiveEditBox.data());
        if (kept && kept != EditBoxOf(now) && !kept->hasFocus()) kept->deselect();
        return;
    }
    if (!box || before->hasFocus() || box->hasSelectedText() || m_Selection.Length == 0) return;
    modMain::ActiveEditBox = box;
    const auto [start, length, caretAtStart] = m_Selection;
    box->setSelection(caretAtStart ? start + length : start, caretAtStart ? -length : length);
}
