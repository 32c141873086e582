#pragma once

#include <QList>
#include <QObject>

class QKeyEvent;
class QMenuBar;
class QWidget;

/// Gives Alt+letter to the active child window when the menu bar uses the same letter; Qt would treat the key as
/// ambiguous and do nothing. A letter that several controls share takes the focus from one to the next. The letter of a
/// disabled control is swallowed, so that one key press too many never opens a menu.
class AccessKeys : public QObject
{
    Q_OBJECT

public:
    explicit AccessKeys(QMenuBar* menuBar);

    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    bool KeyComes(QEvent& event);
    /// The controls of the focused child window that answer to the key, disabled ones too.
    static QList<QWidget*> OwnersOf(const QKeyEvent& event);
    static void FocusNext(const QList<QWidget*>& controls);
    static bool HasAccessKey(const QWidget* control, int key);
    void TakeMenuBarOut();
    void PutMenuBarBack();

    QMenuBar* m_MenuBar;
    bool m_IsOut = false;
    /// The next key press belongs to a disabled control, or has moved the focus.
    bool m_IsDead = false;
};
