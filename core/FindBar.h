#pragma once

#include "ui_FindBar.h"

#include <QTextCursor>
#include <QTextDocument>

#include <functional>

/// Searches a text pane for a text, forwards or backwards, and wraps around at the ends.
class FindBar : public QWidget, private Ui::FindBar
{
    Q_OBJECT

public:
    explicit FindBar(QWidget* parent = nullptr);

    /// QPlainTextEdit and QTextEdit are alike, but have no base with a cursor.
    template <typename Pane>
    void SetPane(Pane* pane)
    {
        m_Pane = pane;
        m_Cursor = [pane] { return pane->textCursor(); };
        m_Select = [pane](const QTextCursor& cursor) {
            pane->setTextCursor(cursor);
            pane->ensureCursorVisible();
        };
    }
    /// Shows the bar with the pane's selection, if that lies within one line, ready to be overwritten.
    void Open();
    /// Hides the bar and gives the focus to the pane.
    void Close();
    /// Without a text to search for, these open the bar.
    void FindNext();
    void FindPrevious();

private:
    void txtFind_TextEdited();
    void Find(QTextDocument::FindFlags direction);
    /// From the cursor on; true when the text is there.
    bool Select(const QTextCursor& from, QTextDocument::FindFlags direction);

    QWidget* m_Pane = nullptr;
    std::function<QTextCursor()> m_Cursor;
    std::function<void(const QTextCursor&)> m_Select;
};
