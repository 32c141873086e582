#pragma once

#include <QObject>

class QKeyEvent;
class QMenuBar;
class QWidget;

/// Gives Alt+letter to the active child window where the menu bar has the same letter: Qt takes that as ambiguous, and
/// neither would act. A letter of a control that is disabled does nothing, so that a key pressed once too often never
/// opens a menu.
class AccessKeys : public QObject
{
    Q_OBJECT

public:
    explicit AccessKeys(QMenuBar* menuBar);

    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    enum class Owner
    {
        None,
        Disabled,
        Enabled
    };

    bool KeyComes(QEvent& event);
    /// The control of the child window that has the focus which answers to the key; one that is enabled goes first.
    static Owner OwnerIn(const QKeyEvent& event);
    static bool HasAccessKey(const QWidget* control, int key);
    void TakeMenuBarOut();
    void PutMenuBarBack();

    QMenuBar* m_MenuBar;
    bool m_IsOut = false;
    /// The key press that follows is of a disabled control.
    bool m_IsDead = false;
};
