#include "mainwindow/AccessKeys.h"

#include <QAbstractButton>
#include <QApplication>
#include <QGroupBox>
#include <QKeyEvent>
#include <QLabel>
#include <QMdiSubWindow>
#include <QMenuBar>
#include <QTabBar>
#include <QTimer>

namespace {

bool IsKeyOf(const QString& caption, int key)
{
    return QKeySequence::mnemonic(caption) == QKeySequence(static_cast<int>(Qt::ALT) | key);
}

QWidget* ActiveChild()
{
    QWidget* widget = QApplication::focusWidget();
    while (widget && !qobject_cast<QMdiSubWindow*>(widget)) widget = widget->parentWidget();
    return widget;
}

} // namespace

AccessKeys::AccessKeys(QMenuBar* menuBar)
    : QObject(menuBar)
    , m_MenuBar(menuBar)
{
    qApp->installEventFilter(this);
}

bool AccessKeys::eventFilter(QObject*, QEvent* event)
{
    if (m_IsOut && (event->type() == QEvent::Shortcut || event->type() == QEvent::KeyPress)) PutMenuBarBack();
    if (event->type() == QEvent::ShortcutOverride && BelongsToChild(static_cast<QKeyEvent&>(*event))) TakeMenuBarOut();
    return false;
}

bool AccessKeys::BelongsToChild(const QKeyEvent& event)
{
    if (event.modifiers() != Qt::AltModifier) return false;
    const QWidget* child = ActiveChild();
    if (!child) return false;
    const auto controls = child->findChildren<QWidget*>();
    return std::any_of(controls.begin(), controls.end(), [&](const QWidget* control) {
        return control->isVisible() && control->isEnabled() && HasAccessKey(control, event.key());
    });
}

bool AccessKeys::HasAccessKey(const QWidget* control, int key)
{
    if (const auto* button = qobject_cast<const QAbstractButton*>(control)) return IsKeyOf(button->text(), key);
    if (const auto* label = qobject_cast<const QLabel*>(control)) return label->buddy() && IsKeyOf(label->text(), key);
    if (const auto* group = qobject_cast<const QGroupBox*>(control)) return IsKeyOf(group->title(), key);
    const auto* tabs = qobject_cast<const QTabBar*>(control);
    for (int tab = 0; tabs && tab < tabs->count(); ++tab) {
        if (IsKeyOf(tabs->tabText(tab), key)) return true;
    }
    return false;
}

void AccessKeys::TakeMenuBarOut()
{
    // For this one look-up the menu bar counts as disabled; nothing is told of it, so nothing is painted.
    m_IsOut = true;
    m_MenuBar->setAttribute(Qt::WA_Disabled, true);
    QTimer::singleShot(0, this, &AccessKeys::PutMenuBarBack);
}

void AccessKeys::PutMenuBarBack()
{
    if (std::exchange(m_IsOut, false)) m_MenuBar->setAttribute(Qt::WA_Disabled, false);
}
