#pragma once

#include <QHash>
#include <QObject>
#include <QPointer>

#include <functional>

class QFocusEvent;
class QKeyEvent;
class QLineEdit;
class QMouseEvent;

/// Checks the fields of one window when they lose the focus. A refused field keeps the focus with its whole text
/// selected, and the action that would have moved the focus does not happen: the click, the tab page, Alt+letter,
/// Enter. Nothing is checked when another window becomes active, on pop-ups, when a control is disabled, on the way to
/// an exempt control (a Cancel button) or when the window closes.
class FieldCheck : public QObject
{
    Q_OBJECT

public:
    /// Returns true to accept the field; may rewrite its text. May show a message box, must not destroy the window. An
    /// exception is logged, and the field is then refused.
    using Check = std::function<bool()>;

    explicit FieldCheck(QWidget* window);
    ~FieldCheck() override;

    void Add(QLineEdit* field, Check check);
    /// Moving to this control runs no check; moving on from it to another one does.
    void Exempt(QWidget* control);

    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    enum class Swallow
    {
        Nothing,
        NextPress,
        RestOfPress
    };

    void FollowFocus();
    bool IsExempt(const QWidget* control) const;
    bool IsOtherControl(const QWidget* control, const QLineEdit* field) const;
    QLineEdit* FieldAtStake() const;
    bool MayLeave(QLineEdit* field, Swallow whenRefused = Swallow::Nothing);
    bool RunCheck(QLineEdit* field);
    void SwallowPress(Swallow swallow);

    bool Filter(QObject* watched, QEvent* event);
    bool FocusLeaves(QWidget* control, const QFocusEvent& event);
    bool MousePressed(QWidget* control, QMouseEvent& event);
    bool MouseContinues(QEvent& event);
    bool WheelTurned(QWidget* control, QEvent& event);
    bool ShortcutPressed(QWidget* control);
    bool KeyPressed(QWidget* control, const QKeyEvent& event);

    QPointer<QWidget> m_Window;
    QHash<const QObject*, Check> m_Checks;
    QList<QPointer<QWidget>> m_Exempt;
    /// The field that was left for an exempt control without a check.
    QPointer<QLineEdit> m_Pending;
    Swallow m_Swallow = Swallow::Nothing;
    bool m_Checking = false;
};
