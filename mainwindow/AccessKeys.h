#pragma once

#include <QObject>

class QKeyEvent;
class QMenuBar;
class QWidget;

/// Gives Alt+letter to the active child window where the menu bar has the same letter: Qt takes that as ambiguous, and neither would act.
class AccessKeys : public QObject
{
    Q_OBJECT

public:
    explicit AccessKeys(QMenuBar* menuBar);

    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    /// Whether a control of the child window that has the focus answers to the key.
    static bool BelongsToChild(const QKeyEvent& event);
    static bool HasAccessKey(const QWidget* control, int key);
    void TakeMenuBarOut();
    void PutMenuBarBack();

    QMenuBar* m_MenuBar;
    bool m_IsOut = false;
};
