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

#include <algorithm>
#include <iterator>

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
    const QList<QWidget*> owners = OwnersOf(static_cast<QKeyEvent&>(event));
    QList<QWidget*> enabled;
    std::ranges::copy_if(owners, std::back_inserter(enabled), &QWidget::isEnabled);
    m_IsDead = !owners.isEmpty() && enabled.size() != 1;
    if (enabled.size() == 1) TakeMenuBarOut();
    if (enabled.size() > 1) FocusNext(enabled);
    if (m_IsDead) event.accept(); // prevents the search for a shortcut
    return m_IsDead;
}

QList<QWidget*> AccessKeys::OwnersOf(const QKeyEvent& event)
{
    const QWidget* child = event.modifiers() == Qt::AltModifier ? ActiveChild() : nullptr;
    QList<QWidget*> owners;
    if (!child) return owners;
    std::ranges::copy_if(child->findChildren<QWidget*>(), std::back_inserter(owners), [&event](const QWidget* control) {
        return control->isVisible() && HasAccessKey(control, event.key());
    });
    return owners;
}

/// From anywhere else the first one is next. Qt would go on from the key's last press, whichever window that was in.
void AccessKeys::FocusNext(const QList<QWidget*>& controls)
{
    const qsizetype current = controls.indexOf(QApplication::focusWidget());
    controls[(current + 1) % controls.size()]->setFocus(Qt::ShortcutFocusReason);
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
