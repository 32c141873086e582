#pragma once

#include <QObject>

class QKeyEvent;
class QMenuBar;
class QWidget;

/// Gives Alt+letter to the active child window when the menu bar uses the same letter; Qt would treat the key as
/// ambiguous and do nothing. The letter of a disabled control is swallowed, so that one key press too many never opens
/// a menu.
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
    /// The control of the focused child window that answers to the key; enabled controls come first.
    static Owner OwnerIn(const QKeyEvent& event);
    static bool HasAccessKey(const QWidget* control, int key);
    void TakeMenuBarOut();
    void PutMenuBarBack();

    QMenuBar* m_MenuBar;
    bool m_IsOut = false;
    /// The next key press belongs to a disabled control.
    bool m_IsDead = false;
};
