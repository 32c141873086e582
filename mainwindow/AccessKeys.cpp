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
    if (event->type() == QEvent::ShortcutOverride) return KeyComes(*event);
    return event->type() == QEvent::KeyPress && std::exchange(m_IsDead, false);
}

bool AccessKeys::KeyComes(QEvent& event)
{
    const Owner owner = OwnerIn(static_cast<QKeyEvent&>(event));
    m_IsDead = owner == Owner::Disabled;
    if (owner == Owner::Enabled) TakeMenuBarOut();
    if (m_IsDead) event.accept(); // prevents the search for a shortcut
    return m_IsDead;
}

AccessKeys::Owner AccessKeys::OwnerIn(const QKeyEvent& event)
{
    const QWidget* child = event.modifiers() == Qt::AltModifier ? ActiveChild() : nullptr;
    if (!child) return Owner::None;
    Owner owner = Owner::None;
    for (const QWidget* control : child->findChildren<QWidget*>()) {
        if (!control->isVisible() || !HasAccessKey(control, event.key())) continue;
        if (control->isEnabled()) return Owner::Enabled;
        owner = Owner::Disabled;
    }
    return owner;
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
    // The menu bar counts as disabled for this one look-up. It is not notified, so nothing is repainted.
    m_IsOut = true;
    m_MenuBar->setAttribute(Qt::WA_Disabled, true);
    QTimer::singleShot(0, this, &AccessKeys::PutMenuBarBack);
}

void AccessKeys::PutMenuBarBack()
{
    if (std::exchange(m_IsOut, false)) m_MenuBar->setAttribute(Qt::WA_Disabled, false);
}
