#pragma once

#include "ui_FindBar.h"

class QPlainTextEdit;

/// Searches an editor for a text, forwards or backwards, and wraps around at the ends.
class FindBar : public QWidget, private Ui::FindBar
{
    Q_OBJECT

public:
    explicit FindBar(QWidget* parent = nullptr);

    void SetEditor(QPlainTextEdit* editor) { m_Editor = editor; }
    /// Shows the bar with the editor's selection, if that lies within one line, ready to be overwritten.
    void Open();
    /// Hides the bar and gives the focus to the editor.
    void Close();
    /// Without a text to search for, these open the bar.
    void FindNext();
    void FindPrevious();

private:
    void txtFind_TextEdited();
    void Find(QTextDocument::FindFlags direction);
    bool Select(QTextDocument::FindFlags direction);

    QPlainTextEdit* m_Editor = nullptr;
};
