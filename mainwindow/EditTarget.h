#pragma once

#include <QPointer>
#include <QWidget>

/// Keeps the text box used last as ActiveEditBox, together with its selection: a menu opened by key, or a button or
/// grid that takes the focus, would otherwise drop the selection that Cut and Copy need. Text boxes of a window beside
/// the main window, such as the script tool's, are never a target: they may be out of sight.
class EditTarget : public QObject
{
    Q_OBJECT

public:
    explicit EditTarget(QWidget* mainWindow);

    /// ActiveEditBox becomes the text box that has the focus; if another widget has it, nothing changes.
    void FollowFocus();

    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    /// `widget` when it is a text box of the console, else null.
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
