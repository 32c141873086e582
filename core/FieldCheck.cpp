#include "core/FieldCheck.h"

#include "core/modMain.h"

#include <QAbstractButton>
#include <QApplication>
#include <QContextMenuEvent>
#include <QDialog>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTabBar>
#include <QTabWidget>
#include <QTimer>

namespace {

/// Whether pressing this control does something even though the focus stays where it is.
bool ActsWithoutFocus(const QWidget* control, const QMouseEvent& event)
{
    if (event.button() != Qt::LeftButton || !control->isEnabled()) return false;
    const auto* tabs = qobject_cast<const QTabBar*>(control);
    if (!tabs) return qobject_cast<const QAbstractButton*>(control);
    const int tab = tabs->tabAt(event.position().toPoint());
    return tab >= 0 && tab != tabs->currentIndex();
}

/// The button that Enter in a field of this window presses.
const QPushButton* DefaultButton(const QWidget* field)
{
    const auto* dialog = qobject_cast<const QDialog*>(field->window());
    if (!dialog) return nullptr;
    for (const QPushButton* button : dialog->findChildren<QPushButton*>())
        if (button->isDefault() && button->isVisible()) return button;
    return nullptr;
}

bool TurnsPages(const QWidget* field, const QKeyEvent& event)
{
    const bool tab = event.key() == Qt::Key_Tab || event.key() == Qt::Key_Backtab;
    if (!tab || !(event.modifiers() & Qt::ControlModifier)) return false;
    for (const QWidget* widget = field; widget; widget = widget->parentWidget())
        if (qobject_cast<const QTabWidget*>(widget)) return true;
    return false;
}

/// Nobody else gets the event: neither the control nor its parents, which would get an ignored event.
bool Consumed(QEvent& event)
{
    event.accept();
    return true;
}

} // namespace

FieldCheck::FieldCheck(QWidget* window)
    : QObject(window)
    , m_Window(window)
{
    connect(qApp, &QApplication::focusChanged, this, &FieldCheck::FollowFocus);
}

FieldCheck::~FieldCheck() = default;

void FieldCheck::Add(QLineEdit* field, Check check)
{
    m_Checks.insert(field, std::move(check));
    connect(field, &QObject::destroyed, this, [this](const QObject* gone) { m_Checks.remove(gone); });
    FollowFocus();
}

void FieldCheck::Exempt(QWidget* control)
{
    m_Exempt.append(control);
}

/// Watches all events, but only while there is a field to check or a click to swallow.
void FieldCheck::FollowFocus()
{
    qApp->removeEventFilter(this);
    if (FieldAtStake() || m_Swallow != Swallow::Nothing) qApp->installEventFilter(this);
}

bool FieldCheck::IsExempt(const QWidget* control) const
{
    return std::any_of(m_Exempt.begin(), m_Exempt.end(), [control](const QPointer<QWidget>& exempt) {
        return exempt && (exempt == control || exempt->isAncestorOf(control));
    });
}

/// Whether moving to `control` leaves `field` for another control of this window that is not exempt.
bool FieldCheck::IsOtherControl(const QWidget* control, const QLineEdit* field) const
{
    return control && m_Window && m_Window->isAncestorOf(control) && control != field &&
           !field->isAncestorOf(control) && !IsExempt(control);
}

/// The field to check before anything else happens in the window; null when there is none.
QLineEdit* FieldCheck::FieldAtStake() const
{
    QWidget* focus = QApplication::focusWidget();
    QLineEdit* field = focus && IsExempt(focus) ? m_Pending.data() : qobject_cast<QLineEdit*>(focus);
    return m_Checks.contains(field) && field->isEnabled() && field->isVisible() ? field : nullptr;
}

/// False when the field was refused (`whenRefused` then says what becomes of the rest of a mouse press) or has gone.
bool FieldCheck::MayLeave(QLineEdit* field, Swallow whenRefused)
{
    const QPointer<FieldCheck> self(this);
    const QPointer<QLineEdit> stillThere(field);
    const bool accepted = RunCheck(field);
    if (!self || !stillThere) return false;
    m_Pending = nullptr;
    if (accepted) return true;
    field->setFocus(Qt::OtherFocusReason);
    field->selectAll();
    SwallowPress(whenRefused);
    return false;
}

/// The press that moved the focus is delivered before the event loop runs again, or not at all.
void FieldCheck::SwallowPress(Swallow swallow)
{
    m_Swallow = swallow;
    // After a message box the window may not be active again yet.
    FollowFocus();
    if (swallow == Swallow::NextPress)
        QTimer::singleShot(0, this, [this] {
            if (m_Swallow == Swallow::NextPress) m_Swallow = Swallow::Nothing;
        });
}

bool FieldCheck::RunCheck(QLineEdit* field)
{
    // A check may show a message box, and anything may be deleted while that is open.
    const QPointer<FieldCheck> self(this);
    const Check check = m_Checks.value(field);
    bool accepted = false;
    m_Checking = true;
    modMain::ReportErrors([&] { accepted = check(); });
    if (self) m_Checking = false;
    return accepted;
}

bool FieldCheck::eventFilter(QObject* watched, QEvent* event)
{
    if (m_Checking || !watched->isWidgetType()) return false;
    const QPointer<QObject> receiver(watched);
    return Filter(watched, event) || !receiver;
}

bool FieldCheck::Filter(QObject* watched, QEvent* event)
{
    auto* control = static_cast<QWidget*>(watched);
    switch (event->type()) {
    case QEvent::FocusOut: return FocusLeaves(control, *static_cast<QFocusEvent*>(event));
    case QEvent::MouseButtonPress:
    case QEvent::MouseButtonDblClick: return MousePressed(control, *static_cast<QMouseEvent*>(event));
    case QEvent::MouseButtonRelease:
    case QEvent::ContextMenu: return MouseContinues(*event);
    case QEvent::Wheel: return WheelTurned(control, *event);
    case QEvent::Shortcut: return ShortcutPressed(control);
    case QEvent::KeyPress: return KeyPressed(control, *static_cast<QKeyEvent*>(event));
    default: return false;
    }
}

/// When the old widget learns of it, the focus is already in its new place.
bool FieldCheck::FocusLeaves(QWidget* control, const QFocusEvent& event)
{
    QLineEdit* field = IsExempt(control) ? m_Pending.data() : qobject_cast<QLineEdit*>(control);
    const QWidget* target = QApplication::focusWidget();
    if (!m_Checks.contains(field) || !field->isEnabled() || !field->isVisible()) return false;
    if (target && IsExempt(target)) m_Pending = field;
    if (!IsOtherControl(target, field)) return false;
    const Qt::FocusReason reason = event.reason();
    const bool byMouse = reason == Qt::MouseFocusReason;
    if (!byMouse && reason != Qt::TabFocusReason && reason != Qt::BacktabFocusReason) return false;
    const bool leavesField = control == field;
    if (MayLeave(field, byMouse ? Swallow::NextPress : Swallow::Nothing)) return false;
    // It has the focus again, and never really lost it.
    return leavesField;
}

bool FieldCheck::MousePressed(QWidget* control, QMouseEvent& event)
{
    const Swallow swallow = std::exchange(m_Swallow, Swallow::Nothing);
    if (swallow == Swallow::NextPress) {
        m_Swallow = Swallow::RestOfPress;
        return Consumed(event);
    }
    QLineEdit* field = FieldAtStake();
    const bool asks = field && IsOtherControl(control, field) && ActsWithoutFocus(control, event);
    return asks && !MayLeave(field, Swallow::RestOfPress) && Consumed(event);
}

bool FieldCheck::MouseContinues(QEvent& event)
{
    if (m_Swallow != Swallow::RestOfPress) return false;
    if (event.type() == QEvent::MouseButtonRelease) m_Swallow = Swallow::Nothing;
    return Consumed(event);
}

/// The wheel may take the focus like a click, or turn pages without taking it.
bool FieldCheck::WheelTurned(QWidget* control, QEvent& event)
{
    if (std::exchange(m_Swallow, Swallow::Nothing) == Swallow::NextPress) return Consumed(event);
    QLineEdit* field = FieldAtStake();
    const bool asks = field && IsOtherControl(control, field) && qobject_cast<QTabBar*>(control);
    return asks && !MayLeave(field) && Consumed(event);
}

bool FieldCheck::ShortcutPressed(QWidget* control)
{
    QLineEdit* field = FieldAtStake();
    if (const auto* label = qobject_cast<QLabel*>(control)) control = label->buddy();
    return field && IsOtherControl(control, field) && !MayLeave(field);
}

bool FieldCheck::KeyPressed(QWidget* control, const QKeyEvent& event)
{
    QLineEdit* field = FieldAtStake();
    if (!field || control != field) return false;
    const bool enter = event.key() == Qt::Key_Enter || event.key() == Qt::Key_Return;
    const bool leaves = enter ? IsOtherControl(DefaultButton(field), field) : TurnsPages(field, event);
    return leaves && !MayLeave(field);
}
