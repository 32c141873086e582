#pragma once

#include <QPointer>
#include <QWidget>

/// Keeps ActiveEditBox at the text box used last, and its selection with it: a menu opened by key, or a button or grid
/// that takes the focus, would drop the selection that Cut and Copy work on. The text boxes of a window beside the
/// main window, such as the script tool's, are never a target: they may be out of sight.
class EditTarget : public QObject
{
    Q_OBJECT

public:
    explicit EditTarget(QWidget* mainWindow);

    /// ActiveEditBox becomes the text box that has the focus; anything else that has it changes nothing.
    void FollowFocus();

    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    /// `widget` when it is a text box of the console; or none.
    QWidget* EditBoxOf(QWidget* widget) const;
    bool IsOfConsole(const QWidget* widget) const;
    void FocusChanged(QWidget* before, QWidget* now);

    struct Selection
    {
        int Start = 0;
        int Length = 0;
        bool CaretAtStart = false;
    };
    QWidget* m_MainWindow;
    QPointer<QWidget> m_Left;
    Selection m_Selection;
};
